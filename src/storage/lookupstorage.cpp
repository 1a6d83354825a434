// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "lookupstorage.h"

#include "dynamicmapstorage.h"
#include "qtsettingsinistorage.h"
#include "staticmapreader.h"

#include <typeinfo>

namespace tamsel {

QStringView LookupKey::full() const
{
    if (m_full.isEmpty()) { // it never is once it has been built: there is the "/"
        m_full.reserve(m_group.size() + 1 + m_key.size());
        m_full.append(m_group.cbegin(), m_group.size());
        m_full.append(u'/');
        m_full.append(m_key.cbegin(), m_key.size());
    }
    return {m_full.cbegin(), m_full.cend()};
}

// Every read asks this of every layer, and a dynamic_cast costs as much as the rest of the read. The
// exact class is enough to know: the three classes are hidden in the library, so each has one
// type_info. A class derived from one of them may have changed value() and is asked through its slots.
const LookupStorage *toLookupStorage(const AbstractStorage &storage)
{
    const std::type_info *type = &typeid(storage);
    if (type != &typeid(DynamicMapStorage) && type != &typeid(StaticMapReader)
        && type != &typeid(QtSettingsIniStorage)) {
        return nullptr;
    }
    return static_cast<const LookupStorage *>(&storage);
}

} // namespace tamsel

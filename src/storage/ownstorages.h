// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_OWNSTORAGES_H
#define TAMSEL_OWNSTORAGES_H

#include "dynamicmapstorage.h"
#include "qtsettingsinistorage.h"
#include "staticmapreader.h"

#include <typeinfo>

namespace tamsel {

// `storage`, if it is one of the library's own; null for any other AbstractStorage.
//
// Every read calls this for every layer, and a dynamic_cast would cost as much as the rest of the read.
// Comparing the exact class is enough: the three classes are hidden in the library, so each has one
// type_info. A class derived from one of them may override value(), so its virtual functions are called.
inline const LookupStorage *toLookupStorage(const AbstractStorage &storage)
{
    const std::type_info *type = &typeid(storage);
    if (type != &typeid(DynamicMapStorage) && type != &typeid(StaticMapReader)
        && type != &typeid(QtSettingsIniStorage)) {
        return nullptr;
    }
    // NOLINTNEXTLINE(*-static-cast-downcast): see above
    return static_cast<const LookupStorage *>(&storage);
}

} // namespace tamsel

#endif // TAMSEL_OWNSTORAGES_H

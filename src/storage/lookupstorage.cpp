// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "lookupstorage.h"

namespace tamsel {

QStringView LookupKey::full() const
{
    if (m_full.isEmpty()) { // not built yet: the built text contains at least "/"
        m_full.append(m_group.cbegin(), m_group.size());
        m_full.append(u'/');
        m_full.append(m_key.cbegin(), m_key.size());
    }
    return {m_full.cbegin(), m_full.size()};
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "lookupstorage.h"

#include <algorithm>
#include <iterator>

namespace tamsel {

void LookupKey::build() const
{
    const qsizetype size = m_group.size() + 1 + m_key.size();
    char16_t *text = m_short.data();
    if (static_cast<std::size_t>(size) > m_short.size()) {
        m_long.reset(new char16_t[static_cast<std::size_t>(size)]);
        text = m_long.get();
    }
    char16_t *const slash = std::copy_n(QStringView(m_group).utf16(), m_group.size(), text);
    *slash = u'/';
    std::copy_n(QStringView(m_key).utf16(), m_key.size(), std::next(slash));
    m_size = size;
}

} // namespace tamsel

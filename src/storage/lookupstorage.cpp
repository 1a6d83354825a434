// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "lookupstorage.h"

#include <algorithm>
#include <iterator>

namespace tamsel {

// NOLINTNEXTLINE(*-member-init): m_short needs no other content than the text
FullKey::FullKey(const QString &group, const QString &key) : m_size(group.size() + 1 + key.size())
{
    char16_t *text = m_short.data();
    if (static_cast<std::size_t>(m_size) > m_short.size()) {
        m_long.reset(new char16_t[static_cast<std::size_t>(m_size)]);
        text = m_long.get();
    }
    char16_t *const slash = std::copy_n(QStringView(group).utf16(), group.size(), text);
    *slash = u'/';
    std::copy_n(QStringView(key).utf16(), key.size(), std::next(slash));
}

} // namespace tamsel

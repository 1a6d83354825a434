// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/origin.h>

#include <tamsel/configurationmanager.h>

#include <algorithm>

namespace tamsel::host {

std::optional<SettingsType> originOf(const ConfigurationManager &settings, const QString &group,
                                     const QString &key)
{
    const auto origin
            = std::find_if(storagePriority.cbegin(), storagePriority.cend(),
                           [&](SettingsType type) { return settings.contains(group, key, type); });
    return origin == storagePriority.cend() ? std::nullopt : std::optional(*origin);
}

} // namespace tamsel::host

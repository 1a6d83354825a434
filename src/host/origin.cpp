// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/origin.h>

#include <tamsel/configurationmanager.h>

namespace tamsel::host {

std::optional<SettingsType> originOf(const ConfigurationManager &settings, const QString &group,
                                     const QString &key)
{
    for (const SettingsType type : storagePriority) {
        if (settings.contains(group, key, type))
            return type;
    }
    return std::nullopt;
}

} // namespace tamsel::host

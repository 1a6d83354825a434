// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/settingstype.h>

namespace tamsel {

// Built at load: users see a plain list, and none of our other files reads it while loading.
const QList<SettingsType> storagePriority{
        SettingsType::Runtime, // 0, the highest precedence
        SettingsType::Rdm, // 1
        SettingsType::FeatureKeys, // 2
        SettingsType::SystemProperties, // 3
        SettingsType::CommandLineArgs, // 4
        SettingsType::CustomConfPersistent, // 5
        SettingsType::SelviDb, // 6
        SettingsType::RavonaConfDefault, // 7, the lowest
};

int priorityOf(SettingsType type) noexcept
{
    return static_cast<int>(storagePriority.indexOf(type));
}

} // namespace tamsel

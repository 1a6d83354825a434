// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/settingstype.h>

namespace tamsel {

// Built at load: users see a plain list, and none of our other files reads it while loading.
const QList<SettingsType> storagePriority{
        SettingsType::Runtime,         SettingsType::Rdm,
        SettingsType::FeatureKeys,     SettingsType::SystemProperties,
        SettingsType::CommandLineArgs, SettingsType::CustomConfPersistent,
        SettingsType::SelviDb,         SettingsType::RavonaConfDefault,
};

int priorityOf(SettingsType type) noexcept
{
    return static_cast<int>(storagePriority.indexOf(type));
}

} // namespace tamsel

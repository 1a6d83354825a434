// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/settingstype.h>

#include <algorithm>
#include <array>

namespace tamsel {

namespace {

// constexpr, so that priorityOf() works before the list below is built: in the constructors of static
// objects of a host that links the library statically.
constexpr std::array byPriority{
        SettingsType::Runtime, // 0, the highest precedence
        SettingsType::Rdm, // 1
        SettingsType::FeatureKeys, // 2
        SettingsType::SystemProperties, // 3
        SettingsType::CommandLineArgs, // 4
        SettingsType::CustomConfPersistent, // 5
        SettingsType::SelviDb, // 6
        SettingsType::RavonaConfDefault, // 7, the lowest
};

} // namespace

const QList<SettingsType> storagePriority(byPriority.cbegin(), byPriority.cend());

int priorityOf(SettingsType type) noexcept
{
    const auto *const found = std::find(byPriority.cbegin(), byPriority.cend(), type);
    return found != byPriority.cend() ? static_cast<int>(found - byPriority.cbegin()) : -1;
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_LAYERS_H
#define TAMSEL_TESTS_LAYERS_H

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QMetaEnum>
#include <QtCore/QString>

namespace tamsel::tests {

// Short names of the layers.
inline constexpr auto CommandLineArgs = SettingsType::CommandLineArgs;
inline constexpr auto CustomConfPersistent = SettingsType::CustomConfPersistent;
inline constexpr auto Rdm = SettingsType::Rdm;
inline constexpr auto RavonaConfDefault = SettingsType::RavonaConfDefault;
inline constexpr auto SystemProperties = SettingsType::SystemProperties;
inline constexpr auto Runtime = SettingsType::Runtime;
inline constexpr auto SelviDb = SettingsType::SelviDb;
inline constexpr auto FeatureKeys = SettingsType::FeatureKeys;

// The layers that take their contents from the map given to initStorage(), and refuse writes.
inline const QList<SettingsType> mapLayers{CommandLineArgs, Rdm, FeatureKeys};
// The layers that start empty.
inline const QList<SettingsType> memoryLayers{SystemProperties, Runtime};
// The layers with a file.
inline const QList<SettingsType> fileLayers{CustomConfPersistent, SelviDb, RavonaConfDefault};
inline const QList<SettingsType> writableLayers = memoryLayers + fileLayers;

// The key of a type in its enumeration, also for the names of data rows. Null for an unknown type.
inline const char *keyOf(SettingsType type)
{
    const auto number = static_cast<quint8>(type);
    if (static_cast<SettingsType>(number) != type)
        return nullptr;
    // valueToKey() takes an int in older Qt, a quint64 in newer: a quint8 becomes either.
    return QMetaEnum::fromType<SettingsType>().valueToKey(number);
}

inline QString nameOf(SettingsType type)
{
    return QLatin1StringView(keyOf(type));
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_LAYERS_H

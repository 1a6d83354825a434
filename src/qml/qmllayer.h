// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef QMLLAYER_H
#define QMLLAYER_H

#include <tamsel/settingstype.h>

#include <QtCore/QObject>
#include <QtQml/qqmlregistration.h>

// The layers as QML writes them: Tamsel.Runtime.
namespace tamsel::qml {
Q_NAMESPACE
QML_NAMED_ELEMENT(Tamsel)

// SettingsType again: the QML tools know the types of this module's own headers only.
enum class Layer {
    CommandLineArgs = static_cast<int>(SettingsType::CommandLineArgs),
    CustomConfPersistent = static_cast<int>(SettingsType::CustomConfPersistent),
    Rdm = static_cast<int>(SettingsType::Rdm),
    RavonaConfDefault = static_cast<int>(SettingsType::RavonaConfDefault),
    SystemProperties = static_cast<int>(SettingsType::SystemProperties),
    Runtime = static_cast<int>(SettingsType::Runtime),
    SelviDb = static_cast<int>(SettingsType::SelviDb),
    FeatureKeys = static_cast<int>(SettingsType::FeatureKeys),
};
Q_ENUM_NS(Layer)

} // namespace tamsel::qml

#endif // QMLLAYER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settingsbox.h"

#include "../settop/hostvalues.h"

#include <tamsel/qml/qmlhost.h>

using tamsel::SettingsType;

SettingsBox::SettingsBox(const QString &storage, const QString &assets,
                         const QVariantMap &commandLine)
{
    m_settings.setPersistentStoragePath(storage);
    m_settings.setAssetsPrefix(assets);
    // From the highest precedence to the lowest.
    m_settings.initStorage(SettingsType::Runtime);
    m_settings.initStorage(SettingsType::Rdm, rdmValues());
    m_settings.initStorage(SettingsType::FeatureKeys, featureKeys());
    m_settings.initStorage(SettingsType::SystemProperties);
    m_settings.initStorage(SettingsType::CommandLineArgs, commandLine);
    m_settings.initStorage(SettingsType::CustomConfPersistent);
    m_settings.initStorage(SettingsType::SelviDb);
    m_settings.initStorage(SettingsType::RavonaConfDefault);
    provisionDatabase(m_settings);
    setSystemProperties(m_settings);
    setRuntimeValues(m_settings);

    tamsel::setQmlConfigManager(&m_settings);
    tamsel::qml::setQmlChangeNotifier(&m_notifier);
    tamsel::qml::setQmlSettingsCatalogue(&m_catalogue);
}

SettingsBox::~SettingsBox()
{
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
    tamsel::qml::setQmlChangeNotifier(nullptr);
    tamsel::setQmlConfigManager(nullptr);
}

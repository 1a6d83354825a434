// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTINGSBOX_H
#define SETTINGSBOX_H

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/qtlogger.h>
#include <tamsel/host/settingscatalogue.h>

// The host of the page: all eight layers, with the values of settop, lent to the QML module. It outlives
// the engine.
class SettingsBox
{
public:
    // Both directories end with "/".
    SettingsBox(const QString &storage, const QString &assets, const QVariantMap &commandLine);
    ~SettingsBox();

    tamsel::ConfigurationManager &settings() { return m_settings; }

private:
    Q_DISABLE_COPY_MOVE(SettingsBox)

    tamsel::host::QtLogger m_logger;
    tamsel::ConfigurationManager m_settings{&m_logger};
    // Both are made before the first layer.
    tamsel::host::ChangeNotifier m_notifier{&m_settings};
    tamsel::host::SettingsCatalogue m_catalogue{&m_settings};
};

#endif // SETTINGSBOX_H

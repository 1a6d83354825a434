// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The companion library in a program outside this tree. docs/host.md shows, and install_documents runs,
// one that does more.

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/origin.h>
#include <tamsel/host/qtlogger.h>
#include <tamsel/host/setting.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>

using tamsel::SettingsType;

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    tamsel::host::QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    tamsel::host::ChangeNotifier notifier(&settings);
    settings.initStorage(SettingsType::Runtime);
    const tamsel::host::Setting<int> volume({"player", "volume", 20}, &notifier);
    volume.setValue(7, SettingsType::Runtime);
    // The type information is the library's, not a copy of our own.
    tamsel::ILogger *interface = &logger;
    const bool isRight = volume.value() == 7
            && tamsel::host::originOf(settings, "player", "volume") == SettingsType::Runtime
            && dynamic_cast<tamsel::host::QtLogger *>(interface) == &logger;
    if (!isRight)
        qCritical() << volume.value() << volume.origin().has_value()
                    << settings.value("player", "volume");
    return isRight ? 0 : 1;
}

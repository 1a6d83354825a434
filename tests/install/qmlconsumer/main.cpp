// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Shows a setting, follows it and writes it.

#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>
#ifdef LINKED
#    include <tamsel/host/changenotifier.h>
#    include <tamsel/qml/qmlhost.h>
#endif

#include <QtCore/QCoreApplication>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <memory>

namespace {

class QuietLogger final : public tamsel::ILogger
{
public:
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QuietLogger logger;
    tamsel::ConfigurationManager settings(&logger);
#ifdef LINKED
    tamsel::host::ChangeNotifier notifier(&settings);
    tamsel::qml::setQmlChangeNotifier(&notifier);
#endif
    settings.initStorage(tamsel::SettingsType::Runtime);
    tamsel::setQmlConfigManager(&settings);

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
            "import Tamsel\nSetting { group: \"player\"; key: \"volume\"; defaultValue: 5 }",
            QUrl());
    const std::unique_ptr<QObject> setting(component.create());
    if (!setting)
        qFatal("%s", qPrintable(component.errorString()));
    if (setting->property("value") != 5)
        return 1;
    settings.setValue("player", "volume", 7, tamsel::SettingsType::Runtime);
    if (setting->property("value") != 7)
        return 2;
    setting->setProperty("value", 8);
    return settings.value("player", "volume") == 8 ? 0 : 3;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Uses each part of the companion library once, as a host does, and says what is not as it should be.

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/origin.h>
#include <tamsel/host/qtlogger.h>
#include <tamsel/host/setting.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>

#include <cstdio>

namespace {

int failures = 0;

void check(bool passed, const char *what)
{
    if (passed)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    ++failures;
}

#define CHECK(condition) check(condition, #condition)

QStringList logged;

void useLogger()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &context, const QString &text) {
        logged.append(context.category + (": " + text));
    });
    tamsel::host::QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    settings.initStorage(tamsel::SettingsType::Runtime);
    qInstallMessageHandler(nullptr);
    CHECK(logged == QStringList("tamsel: Storage: Runtime initialized"));
    // The type information is the library's, not a copy of our own.
    tamsel::ILogger *interface = &logger;
    CHECK(dynamic_cast<tamsel::host::QtLogger *>(interface) == &logger);
}

void useNotifier()
{
    using tamsel::SettingsType;
    tamsel::host::QtLogger logger("quiet");
    QLoggingCategory::setFilterRules("quiet.*=false");
    tamsel::ConfigurationManager settings(&logger);
    tamsel::host::ChangeNotifier notifier(&settings);
    settings.initStorage(SettingsType::Runtime);
    QObject context;
    QList<tamsel::host::Change> changes;
    tamsel::host::Subscription subscription
            = notifier.subscribe("ui", "lang", &context, [&](const tamsel::host::Change &change) {
                  changes.append(change);
              });
    settings.setValue("ui", "lang", "en", SettingsType::Runtime);
    subscription.drop();
    settings.setValue("ui", "lang", "de", SettingsType::Runtime);
    CHECK(changes.size() == 1 && changes.first().value.toString() == "en"
          && changes.first().origin == SettingsType::Runtime);
    CHECK(tamsel::host::originOf(settings, "ui", "lang") == SettingsType::Runtime);
    CHECK(!tamsel::host::originOf(settings, "ui", "theme"));

    const tamsel::host::Setting<int> volume({"player", "volume", 20}, &notifier);
    CHECK(volume.value() == 20);
    volume.setValue(7, SettingsType::Runtime);
    CHECK(volume.value() == 7 && volume.origin() == SettingsType::Runtime);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    useLogger();
    useNotifier();
    return failures;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Uses each part of the library once, as a host does, and says what is not as it should be. To be
// run with the arguments "--log-level 4", and compiled with the version that the package gives.

// A host's logging library; its header may well come first.
namespace logging {
enum Level : int { Critical, Error, Warning, Info, Debug, Trace };
} // namespace logging

#include <tamsel/abstractstorage.h>
#include <tamsel/commandlineargs.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>
#include <tamsel/tamselversion.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <cstring>

using tamsel::SettingsType;

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

class KeptLog : public tamsel::ILogger
{
public:
    void error(const QString &message) override { lines.append("error: " + message); }
    void warning(const QString &message) override { lines.append("warning: " + message); }
    void info(const QString &message) override { lines.append("info: " + message); }
    void debug(const QString &message) override { lines.append("debug: " + message); }

    QStringList lines;
};

class Handler : public tamsel::IConfigurationChangeHandler
{
public:
    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        changes.append(QVariant::fromValue(type).toString() + ' ' + group + '/' + key + " = "
                       + value.toString());
    }

    QStringList changes;
};

// A layer of the host's own, which needs the base's symbols.
class Constant : public tamsel::AbstractStorage
{
public:
    using AbstractStorage::AbstractStorage;

    bool isAvailable() const override { return true; }
    bool contains(const QString &, const QString &) const override { return true; }
    QVariant value(const QString &, const QString &) const override { return 1; }
    tamsel::KeyList keys() const override { return {}; }
};

void useManager(const QString &directory)
{
    KeptLog logger;
    Handler handler;
    {
        tamsel::ConfigurationManager settings(&logger);
        settings.setPersistentStoragePath(directory + '/');
        settings.appendConfigurationHandler(&handler);
        tamsel::setQmlConfigManager(&settings);
        CHECK(tamsel::qmlConfigManager() == &settings);
        tamsel::setQmlConfigManager(nullptr);

        settings.initStorage(SettingsType::CustomConfPersistent);
        settings.initStorage(SettingsType::CommandLineArgs, tamsel::commandLineArgs::parse());
        settings.setValue("ui", "lang", "en", SettingsType::CustomConfPersistent);
        CHECK(settings.value("ui", "lang", "ru").toString() == "en");
        CHECK(settings.startupScreenDirPath() == directory + "/startup_screen/");

        const tamsel::LogsConfigWrapper logs(&settings);
        CHECK(logs.level() == logging::Debug);
        CHECK(logs.jsonLengthLimit() == -1);
    }
    CHECK(QFile::exists(directory + "/custom.conf"));
    CHECK(handler.changes
          == QStringList(
                  {"CommandLineArgs Logging/level = 4", "CustomConfPersistent ui/lang = en"}));
    CHECK(logger.lines
          == QStringList({"info: Storage: CustomConfPersistent initialized",
                          "info: Storage: CommandLineArgs initialized",
                          "debug: Top value changed CommandLineArgs: Logging/level = '4'",
                          "debug: Top value changed CustomConfPersistent: ui/lang = 'en'"}));
}

void useBaseOfLayers()
{
    KeptLog logger;
    Constant layer(SettingsType::Rdm, nullptr, &logger);
    layer.setValue("ui", "lang", "en");
    CHECK(logger.lines == QStringList("error: The storage doesn't support writing!"));
    // The type information is the library's, not a copy of our own.
    tamsel::ILogger *interface = layer.logger();
    CHECK(dynamic_cast<KeptLog *>(interface) == &logger);
}

void useSettingsType()
{
    CHECK(tamsel::storagePriority.size() == 8);
    CHECK(tamsel::priorityOf(SettingsType::RavonaConfDefault) == 7);
    CHECK(tamsel::staticMetaObject.enumeratorCount() == 1);
    CHECK(QMetaType::fromType<SettingsType>().metaObject() == &tamsel::staticMetaObject);
}

#if TAMSEL_VERSION < TAMSEL_VERSION_CHECK(0, 1, 0) \
        || TAMSEL_VERSION \
                >= TAMSEL_VERSION_CHECK(TAMSEL_VERSION_MAJOR, TAMSEL_VERSION_MINOR + 1, 0)
#    error "The version cannot be compared by the preprocessor"
#endif

void useVersion()
{
    CHECK(std::strcmp(TAMSEL_VERSION_STRING, PACKAGE_VERSION) == 0);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    useManager(directory.path());
    useBaseOfLayers();
    useSettingsType();
    useVersion();
    return failures;
}

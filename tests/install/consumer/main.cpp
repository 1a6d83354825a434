// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What only a program outside shows: the headers compile and link, the type information is the
// library's, and the version is the package's. To be run with the arguments "--log-level 4", and
// compiled with the version that the package gives.

// A host's logging library; its header may well come first.
namespace logging {
enum Level : int { Critical, Error, Warning, Info, Debug, Trace };
} // namespace logging

#include <tamsel/abstractstorage.h>
#include <tamsel/commandlineargs.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>
#include <tamsel/tamselversion.h>

#include <QtCore/QCoreApplication>

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

} // namespace

#if TAMSEL_VERSION < TAMSEL_VERSION_CHECK(0, 1, 0) \
        || TAMSEL_VERSION \
                >= TAMSEL_VERSION_CHECK(TAMSEL_VERSION_MAJOR, TAMSEL_VERSION_MINOR + 1, 0)
#    error "The version cannot be compared by the preprocessor"
#endif

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    CHECK(std::strcmp(TAMSEL_VERSION_STRING, PACKAGE_VERSION) == 0);

    KeptLog logger;
    tamsel::ConfigurationManager settings(&logger);
    settings.initStorage(SettingsType::CommandLineArgs, tamsel::commandLineArgs::parse());
    const tamsel::LogsConfigWrapper logs(&settings);
    CHECK(logs.level() == logging::Debug);
    CHECK(logger.lines
          == QStringList({"info: Storage: CommandLineArgs initialized",
                          "debug: Top value changed CommandLineArgs: Logging/level = '4'"}));

    // The type information is the library's, not a copy of our own.
    const Constant layer(SettingsType::Rdm, nullptr, &logger);
    tamsel::ILogger *interface = layer.logger();
    CHECK(dynamic_cast<KeptLog *>(interface) == &logger);
    CHECK(QMetaType::fromType<SettingsType>().metaObject() == &tamsel::staticMetaObject);
    return failures;
}

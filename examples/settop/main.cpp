// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A host of libtamsel: all eight layers, a logger, a change handler and the command line.

#include "changeprinter.h"
#include "directories.h"
#include "format.h"
#include "hostvalues.h"
#include "settingstable.h"
#include "settoplogger.h"
#include "snapshotwriter.h"
#include "tour.h"

#include <tamsel/commandlineargs.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/host/settingscatalogue.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <csignal>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

int fail(const QString &reason)
{
    QTextStream(stderr) << "settop: " << reason << '\n';
    return 1;
}

void createLayers(tamsel::ConfigurationManager &settings, const QVariantMap &commandLine)
{
    // Intentional: the layers that may hold the log level come first, so that it filters the
    // messages about the others. Otherwise a host creates its layers from the highest precedence to
    // the lowest.
    settings.initStorage(SettingsType::CommandLineArgs, commandLine);
    settings.initStorage(SettingsType::CustomConfPersistent);
    settings.initStorage(SettingsType::SelviDb);
    settings.initStorage(SettingsType::RavonaConfDefault);

    settings.initStorage(SettingsType::FeatureKeys, featureKeys());
    settings.initStorage(SettingsType::Rdm, rdmValues());
    settings.initStorage(SettingsType::SystemProperties);
    settings.initStorage(SettingsType::Runtime);

    provisionDatabase(settings);
    setSystemProperties(settings);
    setRuntimeValues(settings);
}

// To the library a missing or damaged file is not an error: its layer holds fewer settings.
void warnAboutFiles(const tamsel::ConfigurationManager &settings, const QString &defaults,
                    SettopLogger &logger)
{
    if (!QFile::exists(defaults))
        logger.warning(u"There is no file %1"_s.arg(defaults));
    for (const SettingsType layer : {SettingsType::CustomConfPersistent, SettingsType::SelviDb,
                                     SettingsType::RavonaConfDefault}) {
        if (!settings.storageAvailable(layer))
            logger.warning(u"The file of %1 cannot be read"_s.arg(layerName(layer)));
    }
}

// With SETTOP_SNAPSHOT, settop keeps running, as a real host does. It writes a snapshot for each
// SIGUSR1 until it is asked to end.
class Stay
{
public:
    // Everything is borrowed. Signals that come before wait() are kept.
    Stay(const tamsel::ConfigurationManager &settings,
         const tamsel::host::SettingsCatalogue &catalogue, const QString &assets,
         const QString &fileName)
        : m_fileName(fileName), m_watcher([&, this](int number) {
              if (number != SIGUSR1) {
                  QCoreApplication::quit();
                  return;
              }
              const QString problem = writeSnapshot(settings, catalogue, assets, m_fileName);
              if (problem.isEmpty())
                  QTextStream(stdout) << "Snapshot written to " << m_fileName << Qt::endl;
              else
                  fail(problem);
          })
    {
    }

    void wait() const
    {
        QTextStream(stdout) << "\nRunning: kill -USR1 " << QCoreApplication::applicationPid()
                            << " writes " << m_fileName << ", kill -TERM goes on" << Qt::endl;
        QCoreApplication::exec();
    }

private:
    const QString m_fileName;
    const SignalWatcher m_watcher;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"settop"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(SETTOP_VERSION));

    const QVariantMap commandLine = tamsel::commandLineArgs::parse(); // exits if an option is bad
    const QStringList directories = positionalArguments(QCoreApplication::arguments());
    if (directories.size() > 2)
        return fail(u"too many arguments: at most STORAGE_DIR and ASSETS_DIR are expected"_s);
    if (directories.contains(QString()))
        return fail(u"the name of a directory is empty"_s);
    const QString storage = directories.value(0, u"settop-storage"_s);
    const QString assets = directories.value(1, QStringLiteral(SETTOP_ASSETS_DIR));
    if (const QString problem = prepareStorage(storage); !problem.isEmpty())
        return fail(problem);

    QTextStream out(stdout);
    SettopLogger logger; // outlives the manager, which borrows it
    tamsel::ConfigurationManager settings(&logger);
    logger.takeLevelFrom(&settings);
    const tamsel::host::SettingsCatalogue catalogue(&settings); // before the first layer
    settings.setPersistentStoragePath(asPrefix(storage));
    const QString assetsPrefix = asPrefix(assets);
    settings.setAssetsPrefix(assetsPrefix);
    std::optional<Stay> stay;
    if (const QString fileName = qEnvironmentVariable("SETTOP_SNAPSHOT"); !fileName.isEmpty())
        stay.emplace(settings, catalogue, assetsPrefix, fileName);
    const ChangePrinter changes(&settings, &out);

    out << "Changes while the layers arrive" << Qt::endl;
    createLayers(settings, commandLine);
    warnAboutFiles(settings, assetsPrefix + "ravona.conf"_L1, logger);

    out << "\nEffective settings" << Qt::endl;
    printTable(out, settings);

    if (stay)
        stay->wait();

    out << "\nChanges at run time" << Qt::endl;
    changeSettings(settings, changes, out);

    if (!settings.contains(u"ui"_s, u"lang"_s, SettingsType::CustomConfPersistent))
        return fail(u"the language could not be kept in %1custom.conf"_s.arg(asPrefix(storage)));
    out << "\nKept for the next run: ui/lang = '" << valueText(settings.value(u"ui"_s, u"lang"_s))
        << "' in " << asPrefix(storage) << "custom.conf" << Qt::endl;
    return 0;
}

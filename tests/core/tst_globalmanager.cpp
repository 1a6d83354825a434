// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A manager that is a static object of the host. Built twice: in the one linked with the static
// library, its constructor runs before the static objects of the library are there, and its destructor
// after they are gone.

#include "recording.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

class Host
{
public:
    Host()
    {
        manager.setPersistentStoragePath(folder.path() + u'/');
        // From below, so that a wrong rank leaves the layers in a wrong order.
        for (const auto type : {SettingsType::CustomConfPersistent, SettingsType::CommandLineArgs,
                                SettingsType::Rdm, SettingsType::Runtime}) {
            manager.initStorage(type, {{u"g"_s, QVariantMap{{u"k"_s, int(type)}}}});
        }
        manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::CustomConfPersistent);
        manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::Runtime);
        manager.setValue(u"Logging"_s, u"level"_s, u"debug"_s, SettingsType::Runtime);
        LogsConfigWrapper(&manager).setJsonLengthLimit(7, SettingsType::Runtime);
        for (int number = -1; number <= 8; ++number)
            ranks.append(priorityOf(SettingsType(number)));
        levels = LogsConfigWrapper::stringLevelToIntLevel();
        level = LogsConfigWrapper(&manager).level();
        minLevel = LogsConfigWrapper::minLevel();
        maxLevel = LogsConfigWrapper::maxLevel();
    }

    ~Host()
    {
        if (LogsConfigWrapper(&manager).level() != logging::Level(4)
            || manager.value(u"g"_s, u"other"_s, 6) != QVariant(6))
            qFatal("the manager is no longer usable in a destructor");
    }

    const QTemporaryDir folder;
    Journal journal;
    RecordingLogger logger{&journal};
    ConfigurationManager manager{&logger};
    QList<int> ranks;
    QHash<QString, int> levels;
    logging::Level level = logging::Level(-1);
    int minLevel = -1;
    int maxLevel = -1;
};

Host host;

} // namespace

class tst_GlobalManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theTablesAreThereInItsConstructor();
    void theLayersAreInOrder();
    void theLayersAreNamed();
};

void tst_GlobalManager::theTablesAreThereInItsConstructor()
{
    QCOMPARE(host.ranks, QList<int>({-1, 4, 5, 1, 7, 3, 0, 6, 2, -1}));
    QCOMPARE(host.levels.size(), 6);
    QCOMPARE(host.levels, LogsConfigWrapper::stringLevelToIntLevel());
    QCOMPARE(&LogsConfigWrapper::stringLevelToIntLevel(),
             &LogsConfigWrapper::stringLevelToIntLevel()); // the one table
    QCOMPARE(int(host.level), 4);
    QCOMPARE(host.minLevel, 0);
    QCOMPARE(host.maxLevel, 5);
}

void tst_GlobalManager::theLayersAreInOrder()
{
    QList<int> origins;
    for (const auto type : {SettingsType::Runtime, SettingsType::Rdm, SettingsType::CommandLineArgs,
                            SettingsType::CustomConfPersistent}) {
        origins.append(host.manager.value(u"g"_s, u"k"_s).toInt());
        host.manager.clearStorage(type);
    }
    QCOMPARE(origins, QList<int>({5, 2, 0, 1}));

    // For the destructor.
    host.manager.initStorage(SettingsType::CustomConfPersistent);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"Logging"_s, u"level"_s, u"debug"_s, SettingsType::Runtime);
}

void tst_GlobalManager::theLayersAreNamed()
{
    const QStringList expected{
            u"info: Storage: CustomConfPersistent initialized"_s,
            u"info: Storage: CommandLineArgs initialized"_s,
            u"debug: Top value changed CommandLineArgs: g/k = '0'"_s,
            u"info: Storage: Rdm initialized"_s,
            u"info: Top value changed Rdm: g/k = '2'"_s,
            u"info: Storage: Runtime initialized"_s,
            u"debug: Top value changed Runtime: g/k = '5'"_s,
            u"debug: Top value changed Runtime: Logging/level = 'debug'"_s,
            u"debug: Top value changed Runtime: Logging/jsonLengthLimit = '7'"_s};
    const QStringList lines = host.journal.take();
    QCOMPARE(lines.first(expected.size()), expected);
}

QTEST_GUILESS_MAIN(tst_GlobalManager)
#include "tst_globalmanager.moc"

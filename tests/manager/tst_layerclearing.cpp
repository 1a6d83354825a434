// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "datarows.h"
#include "testhost.h"

#include <tamsel/abstractstorage.h>

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

QString cleared(SettingsType type)
{
    return "info: Storage: "_L1 % QLatin1StringView(keyOf(type)) % " cleared"_L1;
}

} // namespace

class tst_LayerClearing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clearingAMissingLayerIsAWarning_data();
    void clearingAMissingLayerIsAWarning();
    void clearingAnUnknownTypeWarnsWithoutAName_data();
    void clearingAnUnknownTypeWarnsWithoutAName();
    void clearingAnEmptyLayerOnlyLogsIt_data();
    void clearingAnEmptyLayerOnlyLogsIt();
    void aClearedLayerIsGone_data();
    void aClearedLayerIsGone();
    void otherLayersStay_data();
    void otherLayersStay();
    void aLayerCreatedAgainIsNew_data();
    void aLayerCreatedAgainIsNew();

    void pairsThatNobodyElseHoldsAreReportedOneByOne_data();
    void pairsThatNobodyElseHoldsAreReportedOneByOne();
    void pairsAreReportedInTheOrderOfTheLayer();
    void theLayerBelowIsUncoveredAsText_data();
    void theLayerBelowIsUncoveredAsText();
    void hiddenPairsAreNotReported();
    void everyPairIsDecidedOnItsOwn();
    void pairsThatAFileListsTwiceAreReportedTwice();
    void userTextIsLoggedAsItIs();

    void theFileIsWrittenBeforeTheClearingIsLogged_data();
    void theFileIsWrittenBeforeTheClearingIsLogged();
};

void tst_LayerClearing::clearingAMissingLayerIsAWarning_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::clearingAMissingLayerIsAWarning()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (other != type)
            host.prepare(other, u"g"_s, {{u"k"_s, 1}});
    }
    const QStringList warning{u"warning: Unable to remove storage %1. Storage does not exist"_s.arg(
            QLatin1StringView(keyOf(type)))};
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(), warning);

    host.prepare(type);
    host.manager.clearStorage(type);
    host.journal.take();
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(), warning);
}

void tst_LayerClearing::clearingAnUnknownTypeWarnsWithoutAName_data()
{
    addUnknownTypeRows();
}

void tst_LayerClearing::clearingAnUnknownTypeWarnsWithoutAName()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other, u"g"_s, {{u"k"_s, 1}});
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(u"warning: Unable to remove storage . Storage does not exist"_s));
    for (const SettingsType other : storagePriority)
        QVERIFY2(host.manager.contains(u"g"_s, u"k"_s, other), keyOf(other));
}

void tst_LayerClearing::clearingAnEmptyLayerOnlyLogsIt_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::clearingAnEmptyLayerOnlyLogsIt()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type);
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(), QStringList(cleared(type)));
}

void tst_LayerClearing::aClearedLayerIsGone_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::aClearedLayerIsGone()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"k"_s, 1}});
    host.manager.clearStorage(type);
    host.journal.take();
    QVERIFY(!host.manager.storageAvailable(type));
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s, type));
    host.manager.setValue(u"g"_s, u"k"_s, 2, type);
    host.manager.removeValue(u"g"_s, u"k"_s, type);
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayerClearing::otherLayersStay_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::otherLayersStay()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other, u"g"_s, {{u"k"_s, 1}});
    host.manager.clearStorage(type);
    for (const SettingsType other : storagePriority)
        QCOMPARE(host.manager.contains(u"g"_s, u"k"_s, other), other != type);
}

void tst_LayerClearing::aLayerCreatedAgainIsNew_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::aLayerCreatedAgainIsNew()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type);
    host.manager.clearStorage(type);
    host.journal.take();
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(u"info: Storage: %1 initialized"_s.arg(QLatin1StringView(keyOf(type)))));
}

void tst_LayerClearing::pairsThatNobodyElseHoldsAreReportedOneByOne_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerClearing::pairsThatNobodyElseHoldsAreReportedOneByOne()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(cleared(type))
                     + changeLine(type, u"Parameter removed from all storages: g:a"_s)
                     + QStringList({u"handler: %1 g/a = invalid"_s.arg(name),
                                    u"second: %1 g/a = invalid"_s.arg(name)})
                     + changeLine(type, u"Parameter removed from all storages: g:b"_s)
                     + QStringList({u"handler: %1 g/b = invalid"_s.arg(name),
                                    u"second: %1 g/b = invalid"_s.arg(name)}));
}

void tst_LayerClearing::pairsAreReportedInTheOrderOfTheLayer()
{
    TestHost host;
    host.prepare(SettingsType::Runtime);
    const KeyList pairs{{u"b"_s, u"y"_s}, {u"a"_s, u"z"_s}, {u"b"_s, u"X"_s}, {u"B"_s, u"k"_s}};
    for (const auto &[group, key] : pairs)
        host.manager.setValue(group, key, 1, SettingsType::Runtime);
    host.journal.take();
    host.manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Runtime cleared"_s,
                          u"debug: Parameter removed from all storages: B:k"_s,
                          u"handler: Runtime B/k = invalid"_s,
                          u"debug: Parameter removed from all storages: a:z"_s,
                          u"handler: Runtime a/z = invalid"_s,
                          u"debug: Parameter removed from all storages: b:X"_s,
                          u"handler: Runtime b/X = invalid"_s,
                          u"debug: Parameter removed from all storages: b:y"_s,
                          u"handler: Runtime b/y = invalid"_s}));
}

void tst_LayerClearing::theLayerBelowIsUncoveredAsText_data()
{
    addTypeRows(storagePriority.first(storagePriority.size() - 1)); // nothing is below the last
}

void tst_LayerClearing::theLayerBelowIsUncoveredAsText()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(SettingsType::RavonaConfDefault, u"g"_s, {{u"k"_s, 5}});
    host.prepare(type, u"g"_s, {{u"k"_s, 6}});
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(cleared(type))
                     + changeLine(type, u"Top value changed RavonaConfDefault: g/k = '5'"_s)
                     + QStringList(u"handler: RavonaConfDefault g/k = QString(5)"_s));
}

void tst_LayerClearing::hiddenPairsAreNotReported()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, 1}, {u"b"_s, QVariant()}});
    host.prepare(SettingsType::SelviDb, u"g"_s, {{u"a"_s, 2}, {u"b"_s, 2}});
    host.manager.clearStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: SelviDb cleared"_s));
}

void tst_LayerClearing::everyPairIsDecidedOnItsOwn()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"hidden"_s, 1}});
    host.prepare(SettingsType::SystemProperties, u"g"_s,
                 {{u"alone"_s, 2}, {u"covering"_s, 2}, {u"hidden"_s, 2}});
    host.prepare(SettingsType::SelviDb, u"g"_s, {{u"covering"_s, 0.5}, {u"hidden"_s, 0.5}});
    host.manager.clearStorage(SettingsType::SystemProperties);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: SystemProperties cleared"_s,
                          u"info: Parameter removed from all storages: g:alone"_s,
                          u"handler: SystemProperties g/alone = invalid"_s,
                          u"info: Top value changed SelviDb: g/covering = '0.5'"_s,
                          u"handler: SelviDb g/covering = QString(0.5)"_s}));
}

void tst_LayerClearing::pairsThatAFileListsTwiceAreReportedTwice()
{
    // Kept as it is: a/x/c and a/y/c are both listed as (a, c).
    TestHost host;
    QVERIFY(writeFile(host.filePath(SettingsType::SelviDb), "[a]\nx\\c=1\ny\\c=3\n"));
    host.prepare(SettingsType::SelviDb);
    host.manager.clearStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: SelviDb cleared"_s,
                          u"debug: Parameter removed from all storages: a:c"_s,
                          u"handler: SelviDb a/c = invalid"_s,
                          u"debug: Parameter removed from all storages: a:c"_s,
                          u"handler: SelviDb a/c = invalid"_s}));
}

void tst_LayerClearing::userTextIsLoggedAsItIs()
{
    TestHost host;
    host.prepare(SettingsType::SystemProperties, u"%1"_s, {{u"%2"_s, u"%3 %4"_s}});
    host.prepare(SettingsType::Rdm, u"%1"_s, {{u"%2"_s, 1}, {u"%3"_s, 1}});
    host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm cleared"_s,
                          u"info: Top value changed SystemProperties: %1/%2 = '%3 %4'"_s,
                          u"handler: SystemProperties %1/%2 = QString(%3 %4)"_s,
                          u"info: Parameter removed from all storages: %1:%3"_s,
                          u"handler: Rdm %1/%3 = invalid"_s}));
}

void tst_LayerClearing::theFileIsWrittenBeforeTheClearingIsLogged_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerClearing::theFileIsWrittenBeforeTheClearingIsLogged()
{
    class FileLogger final : public ILogger
    {
    public:
        void error(const QString &) override { }
        void warning(const QString &) override { }
        void info(const QString &message) override
        {
            lines.append(message % ": "_L1 % QLatin1StringView(readFile(path)));
        }
        void debug(const QString &) override { }

        QString path;
        QStringList lines;
    } logger;
    QFETCH(const SettingsType, type);
    const TestHost host;
    logger.path = host.filePath(type);
    ConfigurationManager manager(&logger);
    manager.setPersistentStoragePath(host.manager.persistentStoragePath());
    manager.setAssetsPrefix(host.assetsPrefix());
    manager.initStorage(type);
    manager.setValue(u"g"_s, u"a"_s, 1, type);
    manager.clearStorage(type);
    const QString name = QLatin1StringView(keyOf(type));
    QCOMPARE(logger.lines,
             QStringList({u"Storage: %1 initialized: "_s.arg(name),
                          u"Storage: %1 cleared: [g]\na=1\n"_s.arg(name)}));
}

QTEST_GUILESS_MAIN(tst_LayerClearing)
#include "tst_layerclearing.moc"

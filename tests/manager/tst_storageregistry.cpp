// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The layers that there are, their order, and what creating one tells. Replacing and clearing have
// tests of their own.

#include "datarows.h"
#include "testhost.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <algorithm>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

/*! The files below the host's folder, as paths in it. */
QStringList filesOf(const TestHost &host)
{
    QStringList files;
    QDirIterator it(host.folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(QDir(host.folder.path()).relativeFilePath(it.next()));
    files.sort();
    return files;
}

QString initialized(SettingsType type)
{
    return "info: Storage: "_L1 % QLatin1StringView(keyOf(type)) % " initialized"_L1;
}

/*! The names of the layers in \a types in the order in which they answer for one pair. */
QStringList answeringOrder(const QList<SettingsType> &types)
{
    TestHost host;
    for (const SettingsType type : types)
        host.prepare(type, u"g"_s, {{u"k"_s, QLatin1StringView(keyOf(type))}});
    QStringList names;
    for (auto i = types.size(); i > 0; --i) {
        names.append(host.manager.value(u"g"_s, u"k"_s, u"no layer"_s).toString());
        for (const SettingsType type : types) {
            if (names.last() == QLatin1StringView(keyOf(type)))
                host.manager.clearStorage(type);
        }
    }
    return names;
}

} // namespace

class tst_StorageRegistry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLayerIsOfItsKind_data();
    void everyLayerIsOfItsKind();
    void fileNamesAreAppendedToThePathsAsTheyAre_data();
    void fileNamesAreAppendedToThePathsAsTheyAre();
    void otherLayersThanTheMapsIgnoreTheInitialValues_data();
    void otherLayersThanTheMapsIgnoreTheInitialValues();
    void initialValuesMayBeLeftOut_data();
    void initialValuesMayBeLeftOut();
    void creatingAnUnknownTypeIsIgnored_data();
    void creatingAnUnknownTypeIsIgnored();

    void layersAnswerByPrecedenceHoweverTheyWereCreated_data();
    void layersAnswerByPrecedenceHoweverTheyWereCreated();
    void aLayerCreatedAgainIsBackAtItsRank();

    void aLayerWithoutPairsOnlyLogsItsCreation_data();
    void aLayerWithoutPairsOnlyLogsItsCreation();
    void oneNewPairIsReportedOnItsOwn_data();
    void oneNewPairIsReportedOnItsOwn();
    void severalNewPairsAreLoggedInOneLine_data();
    void severalNewPairsAreLoggedInOneLine();
    void pairsAreReportedInTheOrderOfTheLayer_data();
    void pairsAreReportedInTheOrderOfTheLayer();
    void allHandlersHearOfAPairBeforeTheNextPairIsTold();
    void anEntryThatIsNoGroupIsNotReported();

    void hiddenPairsAreNotReported_data();
    void hiddenPairsAreNotReported();
    void aPairThatALowerLayerHoldsIsReported_data();
    void aPairThatALowerLayerHoldsIsReported();
    void anInvalidValueAboveHidesANewPair();
    void aSingleInvalidValueIsNotReported();
    void amongSeveralAnInvalidValueIsReported();

    void valuesAreLoggedAsText_data();
    void valuesAreLoggedAsText();
    void userTextIsLoggedAsItIs_data();
    void userTextIsLoggedAsItIs();

    void pairsThatAFileListsTwiceAreReportedTwice();
    void aPairThatAFileOnlyListsIsReportedAsRemoved();
    void aFileThatCannotBeReadMakesALayerAllTheSame_data();
    void aFileThatCannotBeReadMakesALayerAllTheSame();
};

void tst_StorageRegistry::everyLayerIsOfItsKind_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<bool>("takesTheMap");
    QTest::addColumn<QStringList>("writing");
    QTest::addColumn<QStringList>("files");
    const QStringList refused{u"error: The storage doesn't support writing!"_s};
    const QStringList none;
    QTest::newRow("CommandLineArgs") << SettingsType::CommandLineArgs << true << refused << none;
    QTest::newRow("CustomConfPersistent")
            << SettingsType::CustomConfPersistent << false
            << QStringList({u"debug: Top value changed CustomConfPersistent: g/new = '2'"_s,
                            u"handler: CustomConfPersistent g/new = int(2)"_s})
            << QStringList(u"first/persistent/custom.conf"_s);
    QTest::newRow("Rdm") << SettingsType::Rdm << true << refused << none;
    QTest::newRow("RavonaConfDefault")
            << SettingsType::RavonaConfDefault << false
            << QStringList(u"handler: RavonaConfDefault g/new = int(2)"_s)
            << QStringList(u"first/assets/ravona.conf"_s);
    QTest::newRow("SystemProperties")
            << SettingsType::SystemProperties << false
            << QStringList({u"info: Top value changed SystemProperties: g/new = '2'"_s,
                            u"handler: SystemProperties g/new = int(2)"_s})
            << none;
    QTest::newRow("Runtime") << SettingsType::Runtime << false
                             << QStringList({u"debug: Top value changed Runtime: g/new = '2'"_s,
                                             u"handler: Runtime g/new = int(2)"_s})
                             << none;
    QTest::newRow("SelviDb") << SettingsType::SelviDb << false
                             << QStringList({u"debug: Top value changed SelviDb: g/new = '2'"_s,
                                             u"handler: SelviDb g/new = int(2)"_s})
                             << QStringList(u"first/persistent/selvi.db"_s);
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys << true << refused << none;
}

void tst_StorageRegistry::everyLayerIsOfItsKind()
{
    QFETCH(const SettingsType, type);
    QFETCH(const bool, takesTheMap);
    QFETCH(const QStringList, writing);
    QFETCH(const QStringList, files);
    TestHost host;
    host.manager.initStorage(type, groupMap(u"g"_s, {{u"from the map"_s, 1}}));
    QCOMPARE(host.manager.contains(u"g"_s, u"from the map"_s, type), takesTheMap);

    host.journal.take();
    host.manager.setValue(u"g"_s, u"new"_s, 2, type);
    QCOMPARE(host.journal.take(), writing);
    host.manager.clearStorage(type);
    QCOMPARE(filesOf(host), files);
    for (const QString &file : files)
        QCOMPARE(readFile(host.folder.filePath(file)), "[g]\nnew=2\n");
}

void tst_StorageRegistry::fileNamesAreAppendedToThePathsAsTheyAre_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("file");
    const auto custom = SettingsType::CustomConfPersistent;
    QTest::newRow("custom.conf") << custom << u"/data/"_s << u"data/custom.conf"_s;
    QTest::newRow("custom.conf, no slash") << custom << u"/data"_s << u"datacustom.conf"_s;
    const auto selvi = SettingsType::SelviDb;
    QTest::newRow("selvi.db") << selvi << u"/data/"_s << u"data/selvi.db"_s;
    QTest::newRow("selvi.db, no slash") << selvi << u"/data"_s << u"dataselvi.db"_s;
    const auto ravona = SettingsType::RavonaConfDefault;
    QTest::newRow("ravona.conf") << ravona << u"/share/"_s << u"share/ravona.conf"_s;
    QTest::newRow("ravona.conf, no slash") << ravona << u"/share"_s << u"shareravona.conf"_s;
}

void tst_StorageRegistry::fileNamesAreAppendedToThePathsAsTheyAre()
{
    QFETCH(const SettingsType, type);
    QFETCH(const QString, path);
    QFETCH(const QString, file);
    TestHost host;
    const bool isAsset = type == SettingsType::RavonaConfDefault;
    const QString other = host.folder.path() + "/other/"_L1;
    host.manager.setAssetsPrefix(isAsset ? host.folder.path() + path : other);
    host.manager.setPersistentStoragePath(isAsset ? other : host.folder.path() + path);
    host.manager.initStorage(type);
    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    host.manager.clearStorage(type);
    QCOMPARE(filesOf(host), QStringList(file));
}

void tst_StorageRegistry::otherLayersThanTheMapsIgnoreTheInitialValues_data()
{
    addTypeRows(memoryLayers + fileLayers);
}

void tst_StorageRegistry::otherLayersThanTheMapsIgnoreTheInitialValues()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.manager.initStorage(type, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    QCOMPARE(host.journal.take(), QStringList(initialized(type)));
    QVERIFY(!host.manager.contains(u"g"_s, u"a"_s));
    QVERIFY(!host.manager.contains(u"g"_s, u"b"_s));
    QVERIFY(host.manager.storageAvailable(type));
}

void tst_StorageRegistry::initialValuesMayBeLeftOut_data()
{
    addTypeRows(storagePriority);
}

void tst_StorageRegistry::initialValuesMayBeLeftOut()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(), QStringList(initialized(type)));
    QVERIFY(host.manager.storageAvailable(type));
}

void tst_StorageRegistry::creatingAnUnknownTypeIsIgnored_data()
{
    addUnknownTypeRows();
}

void tst_StorageRegistry::creatingAnUnknownTypeIsIgnored()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (int i = 0; i < 2; ++i) {
        host.manager.initStorage(type, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
        QCOMPARE(host.journal.take(), QStringList());
        QVERIFY(!host.manager.contains(u"g"_s, u"a"_s));
        QVERIFY(!host.manager.storageAvailable(type));
        QCOMPARE(filesOf(host), QStringList());
    }
}

void tst_StorageRegistry::layersAnswerByPrecedenceHoweverTheyWereCreated_data()
{
    QTest::addColumn<QList<SettingsType>>("created");
    for (const SettingsType first : storagePriority) {
        for (const SettingsType second : storagePriority) {
            if (first != second) {
                QTest::addRow("%s, then %s", keyOf(first), keyOf(second))
                        << QList<SettingsType>{first, second};
            }
        }
    }
    QTest::newRow("four from below") << QList<SettingsType>{
            SettingsType::RavonaConfDefault, SettingsType::CustomConfPersistent,
            SettingsType::Runtime, SettingsType::Rdm};
    QList<SettingsType> all = storagePriority;
    QTest::newRow("all from above") << all;
    std::reverse(all.begin(), all.end());
    QTest::newRow("all from below") << all;
    std::sort(all.begin(), all.end());
    QTest::newRow("all by number") << all;
    QRandomGenerator random(20260117); // any seed will do; the same rows in every run
    for (int i = 1; i <= 30; ++i) {
        std::shuffle(all.begin(), all.end(), random);
        QTest::addRow("all, shuffled %d times", i) << all;
    }
}

void tst_StorageRegistry::layersAnswerByPrecedenceHoweverTheyWereCreated()
{
    QFETCH(const QList<SettingsType>, created);
    QStringList expected;
    for (const char *name : {"Runtime", "Rdm", "FeatureKeys", "SystemProperties", "CommandLineArgs",
                             "CustomConfPersistent", "SelviDb", "RavonaConfDefault"}) {
        const auto isNamed = [name](SettingsType type) { return qstrcmp(keyOf(type), name) == 0; };
        if (std::any_of(created.cbegin(), created.cend(), isNamed))
            expected.append(QLatin1StringView(name));
    }
    QCOMPARE(answeringOrder(created), expected);
}

void tst_StorageRegistry::aLayerCreatedAgainIsBackAtItsRank()
{
    TestHost host;
    for (const SettingsType type :
         {SettingsType::Runtime, SettingsType::Rdm, SettingsType::SelviDb})
        host.prepare(type, u"g"_s, {{u"k"_s, QLatin1StringView(keyOf(type))}});
    host.manager.clearStorage(SettingsType::Rdm);
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"k"_s, u"Rdm again"_s}});
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(u"Runtime"_s));
    host.manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(u"Rdm again"_s));
}

void tst_StorageRegistry::aLayerWithoutPairsOnlyLogsItsCreation_data()
{
    addTypeRows(storagePriority);
}

void tst_StorageRegistry::aLayerWithoutPairsOnlyLogsItsCreation()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (other != type)
            host.prepare(other, u"g"_s, {{u"k"_s, 1}});
    }
    host.manager.initStorage(type, {});
    QCOMPARE(host.journal.take(), QStringList(initialized(type)));
}

void tst_StorageRegistry::oneNewPairIsReportedOnItsOwn_data()
{
    addTypeRows(mapLayers + fileLayers);
}

void tst_StorageRegistry::oneNewPairIsReportedOnItsOwn()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.init(type, {{u"a"_s, u"1"_s}});
    QCOMPARE(host.journal.take(),
             QStringList(initialized(type))
                     + changeLine(type, u"Top value changed %1: g/a = '1'"_s.arg(name))
                     + QStringList(u"handler: %1 g/a = QString(1)"_s.arg(name)));
}

void tst_StorageRegistry::severalNewPairsAreLoggedInOneLine_data()
{
    addTypeRows(mapLayers + fileLayers);
}

void tst_StorageRegistry::severalNewPairsAreLoggedInOneLine()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.init(type, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u""_s}});
    const QString line = u"Top values changed: %1: { g/a = '1', g/b = '2', g/c = '' }"_s.arg(name);
    QCOMPARE(host.journal.take(),
             QStringList(initialized(type)) + changeLine(type, line)
                     + QStringList({u"handler: %1 g/a = QString(1)"_s.arg(name),
                                    u"handler: %1 g/b = QString(2)"_s.arg(name),
                                    u"handler: %1 g/c = QString()"_s.arg(name)}));
}

void tst_StorageRegistry::pairsAreReportedInTheOrderOfTheLayer_data()
{
    addTypeRows({SettingsType::CommandLineArgs, SettingsType::SelviDb});
}

void tst_StorageRegistry::pairsAreReportedInTheOrderOfTheLayer()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    if (fileLayers.contains(type)) {
        QVERIFY(writeFile(host.filePath(type), "[b]\nz=1\nB=2\na=3\n[A]\nk=4\n"));
    }
    host.manager.initStorage(
            type,
            {{u"b"_s, QVariantMap{{u"z"_s, u"1"_s}, {u"B"_s, u"2"_s}, {u"a"_s, u"3"_s}}},
             {u"A"_s, QVariantMap{{u"k"_s, u"4"_s}}}});
    const QString line
            = u"Top values changed: %1: { A/k = '4', b/B = '2', b/a = '3', b/z = '1' }"_s;
    QCOMPARE(host.journal.take(),
             QStringList({initialized(type), "debug: "_L1 + line.arg(name),
                          u"handler: %1 A/k = QString(4)"_s.arg(name),
                          u"handler: %1 b/B = QString(2)"_s.arg(name),
                          u"handler: %1 b/a = QString(3)"_s.arg(name),
                          u"handler: %1 b/z = QString(1)"_s.arg(name)}));
}

void tst_StorageRegistry::allHandlersHearOfAPairBeforeTheNextPairIsTold()
{
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.init(SettingsType::Rdm, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"handler: Rdm g/a = QString(1)"_s, u"second: Rdm g/a = QString(1)"_s,
                          u"handler: Rdm g/b = QString(2)"_s, u"second: Rdm g/b = QString(2)"_s}));
}

void tst_StorageRegistry::anEntryThatIsNoGroupIsNotReported()
{
    TestHost host;
    host.manager.initStorage(SettingsType::Rdm,
                             {{u"Logging"_s, 5}, {u"g"_s, QVariantMap{{u"a"_s, 1}}}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top value changed Rdm: g/a = '1'"_s,
                          u"handler: Rdm g/a = int(1)"_s}));
}

void tst_StorageRegistry::hiddenPairsAreNotReported_data()
{
    QTest::addColumn<QVariantMap>("runtime");
    QTest::addColumn<QStringList>("reported");
    const QVariant value = u"Runtime's"_s;
    QTest::newRow("all hidden") << QVariantMap{{u"a"_s, value}, {u"b"_s, value}, {u"c"_s, value}}
                                << QStringList();
    QTest::newRow("all hidden by equal values")
            << QVariantMap{{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"3"_s}} << QStringList();
    QTest::newRow("one left") << QVariantMap{{u"a"_s, value}, {u"c"_s, value}}
                              << QStringList(
                                         {u"debug: Top value changed CommandLineArgs: g/b = '2'"_s,
                                          u"handler: CommandLineArgs g/b = QString(2)"_s});
    QTest::newRow("two left")
            << QVariantMap{{u"b"_s, value}}
            << QStringList(
                       {u"debug: Top values changed: CommandLineArgs: { g/a = '1', g/c = '3' }"_s,
                        u"handler: CommandLineArgs g/a = QString(1)"_s,
                        u"handler: CommandLineArgs g/c = QString(3)"_s});
}

void tst_StorageRegistry::hiddenPairsAreNotReported()
{
    QFETCH(const QVariantMap, runtime);
    QFETCH(const QStringList, reported);
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, runtime);
    host.init(SettingsType::CommandLineArgs,
              {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"3"_s}});
    QCOMPARE(host.journal.take(),
             QStringList(u"info: Storage: CommandLineArgs initialized"_s) + reported);
}

void tst_StorageRegistry::aPairThatALowerLayerHoldsIsReported_data()
{
    QTest::addColumn<QString>("lower");
    QTest::newRow("with another value") << u"ru"_s;
    QTest::newRow("with the same value") << u"en"_s;
}

void tst_StorageRegistry::aPairThatALowerLayerHoldsIsReported()
{
    QFETCH(const QString, lower);
    TestHost host;
    host.prepare(SettingsType::SystemProperties, u"g"_s, {{u"lang"_s, lower}});
    host.init(SettingsType::Rdm, {{u"lang"_s, u"en"_s}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top value changed Rdm: g/lang = 'en'"_s,
                          u"handler: Rdm g/lang = QString(en)"_s}));
}

void tst_StorageRegistry::anInvalidValueAboveHidesANewPair()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, QVariant()}});
    host.init(SettingsType::Rdm, {{u"a"_s, u"1"_s}});
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm initialized"_s));
}

void tst_StorageRegistry::aSingleInvalidValueIsNotReported()
{
    // Kept as it is: a single pair takes the road of a change, on which an invalid value is a
    // removal, and the layer itself still holds the pair.
    TestHost host;
    host.prepare(SettingsType::RavonaConfDefault, u"g"_s, {{u"a"_s, u"default"_s}});
    host.init(SettingsType::Rdm, {{u"a"_s, QVariant()}});
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm initialized"_s));
    QVERIFY(!host.manager.value(u"g"_s, u"a"_s).isValid());
}

void tst_StorageRegistry::amongSeveralAnInvalidValueIsReported()
{
    TestHost host;
    host.init(SettingsType::Rdm, {{u"a"_s, QVariant()}, {u"b"_s, u"2"_s}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '', g/b = '2' }"_s,
                          u"handler: Rdm g/a = invalid"_s, u"handler: Rdm g/b = QString(2)"_s}));
}

void tst_StorageRegistry::valuesAreLoggedAsText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("heard");
    QTest::newRow("number") << QVariant(-5) << u"-5"_s << u"int(-5)"_s;
    QTest::newRow("fraction") << QVariant(0.5) << u"0.5"_s << u"double(0.5)"_s;
    QTest::newRow("truth") << QVariant(true) << u"true"_s << u"bool(true)"_s;
    QTest::newRow("bytes") << QVariant(QByteArray("xyz")) << u"xyz"_s << u"QByteArray(xyz)"_s;
    QTest::newRow("null text") << QVariant(QString()) << u""_s << u"QString()"_s;
    QTest::newRow("layer") << QVariant::fromValue(SettingsType::Rdm) << u"Rdm"_s
                           << u"tamsel::SettingsType(Rdm)"_s;
    QTest::newRow("map, which has no text")
            << QVariant(QVariantMap{{u"x"_s, 1}}) << u""_s << u"QVariantMap()"_s;
    QTest::newRow("list, which has no text")
            << QVariant(QVariantList{1, 2}) << u""_s << u"QVariantList()"_s;
}

void tst_StorageRegistry::valuesAreLoggedAsText()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, text);
    QFETCH(const QString, heard);
    TestHost one;
    one.init(SettingsType::Rdm, {{u"a"_s, value}});
    QCOMPARE(one.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top value changed Rdm: g/a = '%1'"_s.arg(text),
                          u"handler: Rdm g/a = %1"_s.arg(heard)}));
    TestHost several;
    several.init(SettingsType::Rdm, {{u"a"_s, value}, {u"b"_s, value}});
    QCOMPARE(several.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '%1', g/b = '%1' }"_s.arg(text),
                          u"handler: Rdm g/a = %1"_s.arg(heard),
                          u"handler: Rdm g/b = %1"_s.arg(heard)}));
}

void tst_StorageRegistry::userTextIsLoggedAsItIs_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("place markers") << u"%1"_s << u"%2%3"_s << u"%4 %L1 %99"_s;
    QTest::newRow("percent signs") << u"%"_s << u"%%"_s << u"100%n"_s;
    QTest::newRow("the line's own signs") << u"{ a/b"_s << u"= 'c',"_s << u"' }"_s;
    QTest::newRow("commas at the end") << u","_s << u",,"_s << u"',"_s;
    QTest::newRow("empty") << u""_s << u""_s << u""_s;
    QTest::newRow("not Latin") << u"группа"_s << u"鍵"_s << u"\U0001F4FA"_s;
    QTest::newRow("line ends") << u"a\nb"_s << u"c\r\nd"_s << u"e\n"_s;
    QTest::newRow("a zero") << u"a\0b"_s << u"\0"_s << u"c\0"_s;
}

void tst_StorageRegistry::userTextIsLoggedAsItIs()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QString, value);
    const QString other = key + 'z'_L1; // sorts behind the key
    TestHost one;
    one.manager.initStorage(SettingsType::Rdm, groupMap(group, {{key, value}}));
    QCOMPARE(one.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          "info: Top value changed Rdm: "_L1 % group % '/'_L1 % key % " = '"_L1
                                  % value % '\''_L1,
                          "handler: Rdm "_L1 % group % '/'_L1 % key % " = QString("_L1 % value
                                  % ')'_L1}));
    TestHost several;
    several.manager.initStorage(SettingsType::Rdm, groupMap(group, {{key, value}, {other, value}}));
    QCOMPARE(several.journal.take(),
             QStringList(
                     {u"info: Storage: Rdm initialized"_s,
                      "info: Top values changed: Rdm: { "_L1 % group % '/'_L1 % key % " = '"_L1
                              % value % "', "_L1 % group % '/'_L1 % other % " = '"_L1 % value
                              % "' }"_L1,
                      "handler: Rdm "_L1 % group % '/'_L1 % key % " = QString("_L1 % value % ')'_L1,
                      "handler: Rdm "_L1 % group % '/'_L1 % other % " = QString("_L1 % value
                              % ')'_L1}));
}

void tst_StorageRegistry::pairsThatAFileListsTwiceAreReportedTwice()
{
    // Kept as it is: a/x/c and a/y/c are both listed as (a, c), a pair that the layer cannot read.
    TestHost host;
    QVERIFY(writeFile(host.filePath(SettingsType::SelviDb), "[a]\nx\\c=1\nb=2\ny\\c=3\n"));
    host.manager.initStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(),
             QStringList(
                     {u"info: Storage: SelviDb initialized"_s,
                      u"debug: Top values changed: SelviDb: { a/b = '2', a/c = '', a/c = '' }"_s,
                      u"handler: SelviDb a/b = QString(2)"_s, u"handler: SelviDb a/c = invalid"_s,
                      u"handler: SelviDb a/c = invalid"_s}));
}

void tst_StorageRegistry::aPairThatAFileOnlyListsIsReportedAsRemoved()
{
    TestHost host;
    QVERIFY(writeFile(host.filePath(SettingsType::SelviDb), "[a]\nx\\c=1\n"));
    host.manager.initStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: SelviDb initialized"_s,
                          u"debug: Parameter removed from all storages: a:c"_s,
                          u"handler: SelviDb a/c = invalid"_s}));
}

void tst_StorageRegistry::aFileThatCannotBeReadMakesALayerAllTheSame_data()
{
    addTypeRows(fileLayers);
}

void tst_StorageRegistry::aFileThatCannotBeReadMakesALayerAllTheSame()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    QVERIFY(QDir().mkdir(host.filePath(type))); // a folder has the name of the file
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(), QStringList(initialized(type)));
    QVERIFY(!host.manager.storageAvailable(type));

    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    QCOMPARE(host.journal.take(),
             QStringList(u"error: unable to write value 1 (g/k) to %1, file is not writable"_s.arg(
                     host.filePath(type))));
    host.manager.initStorage(type);
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: %1 reinitialized"_s.arg(name),
                          u"info: Storage: %1 cleared"_s.arg(name)}));
}

QTEST_GUILESS_MAIN(tst_StorageRegistry)
#include "tst_storageregistry.moc"

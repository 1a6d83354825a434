// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "datarows.h"
#include "testhost.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

QString reinitialized(SettingsType type)
{
    return "info: Storage: "_L1 % QLatin1StringView(keyOf(type)) % " reinitialized"_L1;
}

/*! Entries "key 00001" and so on, all with the value \a value. */
QVariantMap numberedEntries(int count, const QVariant &value)
{
    QVariantMap entries;
    for (int i = 1; i <= count; ++i)
        entries.insert(u"key %1"_s.arg(i, 5, 10, '0'_L1), value);
    return entries;
}

} // namespace

class tst_LayerReplacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void equalContentsOnlyLogTheReplacement_data();
    void equalContentsOnlyLogTheReplacement();
    void emptyContentsOnlyLogTheReplacement_data();
    void emptyContentsOnlyLogTheReplacement();
    void oneChangedValueIsReportedOnItsOwn_data();
    void oneChangedValueIsReportedOnItsOwn();
    void severalChangedValuesAreLoggedInOneLine_data();
    void severalChangedValuesAreLoggedInOneLine();
    void oneNewPairIsReportedOnItsOwn();
    void lostPairsAreReportedOneByOne_data();
    void lostPairsAreReportedOneByOne();
    void lostPairsComeInTheOrderOfTheOldLayer();
    void lostPairsComeBeforeChangedAndNewOnes();
    void allHandlersHearOfAPairBeforeTheNextPairIsTold();

    void changedMeansNotEqualAsVariants_data();
    void changedMeansNotEqualAsVariants();
    void anEqualValueIsReplacedInSilence();
    void aSingleValueThatTurnsInvalidIsNotReported();
    void amongSeveralAValueThatTurnsInvalidIsReported();
    void aValueThatTurnsValidIsReported();

    void aHiddenPairOnItsOwnIsNotReported_data();
    void aHiddenPairOnItsOwnIsNotReported();
    void aHiddenPairIsReportedWithAnother_data();
    void aHiddenPairIsReportedWithAnother();
    void hiddenPairsAreReportedTogether();
    void aLostPairThatIsHiddenIsNotReported();
    void aLostPairUncoversTheLayerBelowAsText();
    void aPairThatALowerLayerHoldsTooStaysUnchanged();

    void theNewLayerAnswersAtTheSameRank_data();
    void theNewLayerAnswersAtTheSameRank();
    void handlersFindTheNewLayerInPlace();
    void userTextIsLoggedAsItIs();

    void layersInMemoryStartEmptyAgain_data();
    void layersInMemoryStartEmptyAgain();
    void aFileLayerFindsItsUnsavedValuesAgain_data();
    void aFileLayerFindsItsUnsavedValuesAgain();
    void aFileChangedFromOutsideIsReadAgainInSilence_data();
    void aFileChangedFromOutsideIsReadAgainInSilence();
    void theOldFileIsWrittenWhenTheReplacementIsOver_data();
    void theOldFileIsWrittenWhenTheReplacementIsOver();
    void pairsThatAFileListsTwiceAreReportedTwiceAgain();
    void pairsThatAFileListsTwiceAreLostTwice();

    void manyPairsAreReplaced();
};

void tst_LayerReplacement::equalContentsOnlyLogTheReplacement_data()
{
    addTypeRows(mapLayers + fileLayers);
}

void tst_LayerReplacement::equalContentsOnlyLogTheReplacement()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    const QVariantMap entries{{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}};
    host.init(type, entries);
    host.journal.take();
    host.moveTo(u"second"_s);
    host.init(type, entries);
    QCOMPARE(host.journal.take(), QStringList(reinitialized(type)));
}

void tst_LayerReplacement::emptyContentsOnlyLogTheReplacement_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerReplacement::emptyContentsOnlyLogTheReplacement()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.manager.initStorage(type);
    host.journal.take();
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(), QStringList(reinitialized(type)));
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(), QStringList(reinitialized(type)));
}

void tst_LayerReplacement::oneChangedValueIsReportedOnItsOwn_data()
{
    addTypeRows(mapLayers + fileLayers);
}

void tst_LayerReplacement::oneChangedValueIsReportedOnItsOwn()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.init(type, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"3"_s}});
    host.journal.take();
    host.moveTo(u"second"_s);
    host.init(type, {{u"a"_s, u"1"_s}, {u"b"_s, u"changed"_s}, {u"c"_s, u"3"_s}});
    QCOMPARE(host.journal.take(),
             QStringList(reinitialized(type))
                     + changeLine(type, u"Top value changed %1: g/b = 'changed'"_s.arg(name))
                     + QStringList(u"handler: %1 g/b = QString(changed)"_s.arg(name)));
}

void tst_LayerReplacement::severalChangedValuesAreLoggedInOneLine_data()
{
    addTypeRows(mapLayers + fileLayers);
}

void tst_LayerReplacement::severalChangedValuesAreLoggedInOneLine()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.init(type, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"3"_s}});
    host.journal.take();
    host.moveTo(u"second"_s);
    host.init(type, {{u"a"_s, u"one"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"three"_s}});
    const QString line = u"Top values changed: %1: { g/a = 'one', g/c = 'three' }"_s.arg(name);
    QCOMPARE(host.journal.take(),
             QStringList(reinitialized(type)) + changeLine(type, line)
                     + QStringList({u"handler: %1 g/a = QString(one)"_s.arg(name),
                                    u"handler: %1 g/c = QString(three)"_s.arg(name)}));
}

void tst_LayerReplacement::oneNewPairIsReportedOnItsOwn()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top value changed Rdm: g/b = '2'"_s,
                          u"handler: Rdm g/b = int(2)"_s}));
}

void tst_LayerReplacement::lostPairsAreReportedOneByOne_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerReplacement::lostPairsAreReportedOneByOne()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.moveTo(u"second"_s);
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(reinitialized(type))
                     + changeLine(type, u"Parameter removed from all storages: g:a"_s)
                     + QStringList(u"handler: %1 g/a = invalid"_s.arg(name))
                     + changeLine(type, u"Parameter removed from all storages: g:b"_s)
                     + QStringList(u"handler: %1 g/b = invalid"_s.arg(name)));
}

void tst_LayerReplacement::lostPairsComeInTheOrderOfTheOldLayer()
{
    TestHost host;
    host.manager.initStorage(SettingsType::FeatureKeys,
                             {{u"b"_s, QVariantMap{{u"y"_s, 1}, {u"X"_s, 2}}},
                              {u"a"_s, QVariantMap{{u"z"_s, 3}}},
                              {u"B"_s, QVariantMap{{u"k"_s, 4}, {u"kept"_s, 5}}}});
    host.journal.take();
    host.manager.initStorage(SettingsType::FeatureKeys, groupMap(u"B"_s, {{u"kept"_s, 5}}));
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: FeatureKeys reinitialized"_s,
                          u"handler: FeatureKeys B/k = invalid"_s,
                          u"handler: FeatureKeys a/z = invalid"_s,
                          u"handler: FeatureKeys b/X = invalid"_s,
                          u"handler: FeatureKeys b/y = invalid"_s}));
}

void tst_LayerReplacement::lostPairsComeBeforeChangedAndNewOnes()
{
    TestHost host;
    host.prepare(SettingsType::SelviDb, u"g"_s, {{u"lost z"_s, u"below"_s}});
    host.prepare(SettingsType::Rdm, u"g"_s,
                 {{u"changed"_s, 1}, {u"kept"_s, 2}, {u"lost a"_s, 3}, {u"lost z"_s, 4}});
    host.init(SettingsType::Rdm, {{u"changed"_s, 10}, {u"kept"_s, 2}, {u"new"_s, 5}});
    QCOMPARE(
            host.journal.take(),
            QStringList({u"info: Storage: Rdm reinitialized"_s,
                         u"info: Parameter removed from all storages: g:lost a"_s,
                         u"handler: Rdm g/lost a = invalid"_s,
                         u"info: Top value changed SelviDb: g/lost z = 'below'"_s,
                         u"handler: SelviDb g/lost z = QString(below)"_s,
                         u"info: Top values changed: Rdm: { g/changed = '10', g/new = '5' }"_s,
                         u"handler: Rdm g/changed = int(10)"_s, u"handler: Rdm g/new = int(5)"_s}));
}

void tst_LayerReplacement::allHandlersHearOfAPairBeforeTheNextPairIsTold()
{
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(SettingsType::FeatureKeys, u"g"_s, {{u"x"_s, 1}, {u"y"_s, 1}});
    host.init(SettingsType::FeatureKeys, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: FeatureKeys reinitialized"_s,
                          u"handler: FeatureKeys g/x = invalid"_s,
                          u"second: FeatureKeys g/x = invalid"_s,
                          u"handler: FeatureKeys g/y = invalid"_s,
                          u"second: FeatureKeys g/y = invalid"_s,
                          u"handler: FeatureKeys g/a = int(1)"_s,
                          u"second: FeatureKeys g/a = int(1)"_s,
                          u"handler: FeatureKeys g/b = int(2)"_s,
                          u"second: FeatureKeys g/b = int(2)"_s}));
}

void tst_LayerReplacement::changedMeansNotEqualAsVariants_data()
{
    QTest::addColumn<QVariant>("before");
    QTest::addColumn<QVariant>("after");
    QTest::addColumn<QString>("heard"); // empty: equal
    const QVariantMap map{{u"x"_s, QVariantList{1, 2}}};
    const QVariantMap otherMap{{u"x"_s, QVariantList{1, 3}}};
    QTest::newRow("the same number") << QVariant(1) << QVariant(1) << QString();
    QTest::newRow("another number") << QVariant(1) << QVariant(2) << u"int(2)"_s;
    QTest::newRow("the same number as a fraction") << QVariant(1) << QVariant(1.0) << QString();
    QTest::newRow("another fraction") << QVariant(1) << QVariant(1.5) << u"double(1.5)"_s;
    QTest::newRow("the same text") << QVariant(u"a"_s) << QVariant(u"a"_s) << QString();
    QTest::newRow("another case") << QVariant(u"a"_s) << QVariant(u"A"_s) << u"QString(A)"_s;
    QTest::newRow("the same text as bytes")
            << QVariant(u"a"_s) << QVariant(QByteArray("a")) << u"QByteArray(a)"_s;
    QTest::newRow("an empty text for a null one")
            << QVariant(QString()) << QVariant(u""_s) << QString();
    QTest::newRow("a null text for nothing") << QVariant() << QVariant(QString()) << u"QString()"_s;
    QTest::newRow("nothing for nothing") << QVariant() << QVariant() << QString();
    QTest::newRow("an equal map") << QVariant(map) << QVariant(map) << QString();
    QTest::newRow("another map, with the same text")
            << QVariant(map) << QVariant(otherMap) << u"QVariantMap()"_s;
}

void tst_LayerReplacement::changedMeansNotEqualAsVariants()
{
    QFETCH(const QVariant, before);
    QFETCH(const QVariant, after);
    QFETCH(const QString, heard);
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"k"_s, before}});
    host.init(SettingsType::Rdm, {{u"k"_s, after}});
    QStringList expected{u"info: Storage: Rdm reinitialized"_s};
    if (!heard.isEmpty()) {
        expected.append("info: Top value changed Rdm: g/k = '"_L1 % after.toString() % '\''_L1);
        expected.append("handler: Rdm g/k = "_L1 + heard);
    }
    QCOMPARE(host.journal.take(), expected);
}

void tst_LayerReplacement::anEqualValueIsReplacedInSilence()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"k"_s, 1}});
    host.init(SettingsType::Rdm, {{u"k"_s, 1.0}});
    QCOMPARE(describe(host.manager.value(u"g"_s, u"k"_s)), u"double(1)"_s);
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm reinitialized"_s));
}

void tst_LayerReplacement::aSingleValueThatTurnsInvalidIsNotReported()
{
    // Kept as it is, as for a new layer with a single invalid value.
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    host.init(SettingsType::Rdm, {{u"a"_s, QVariant()}});
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm reinitialized"_s));
    QVERIFY(!host.manager.value(u"g"_s, u"a"_s).isValid());
}

void tst_LayerReplacement::amongSeveralAValueThatTurnsInvalidIsReported()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 1}});
    host.init(SettingsType::Rdm, {{u"a"_s, QVariant()}, {u"b"_s, 2}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '', g/b = '2' }"_s,
                          u"handler: Rdm g/a = invalid"_s, u"handler: Rdm g/b = int(2)"_s}));
}

void tst_LayerReplacement::aValueThatTurnsValidIsReported()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, QVariant()}});
    host.init(SettingsType::Rdm, {{u"a"_s, 1}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top value changed Rdm: g/a = '1'"_s,
                          u"handler: Rdm g/a = int(1)"_s}));
}

void tst_LayerReplacement::aHiddenPairOnItsOwnIsNotReported_data()
{
    QTest::addColumn<QVariantMap>("before");
    QTest::newRow("unchanged") << QVariantMap{{u"a"_s, 1}, {u"b"_s, 2}};
    QTest::newRow("changed") << QVariantMap{{u"a"_s, 10}, {u"b"_s, 2}};
    QTest::newRow("new") << QVariantMap{{u"b"_s, 2}};
}

void tst_LayerReplacement::aHiddenPairOnItsOwnIsNotReported()
{
    QFETCH(const QVariantMap, before);
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, u"above"_s}});
    host.prepare(SettingsType::Rdm, u"g"_s, before);
    host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm reinitialized"_s));
}

void tst_LayerReplacement::aHiddenPairIsReportedWithAnother_data()
{
    aHiddenPairOnItsOwnIsNotReported_data();
}

void tst_LayerReplacement::aHiddenPairIsReportedWithAnother()
{
    // Kept as it is: what a higher layer hides is left out when a layer is created, but not here.
    QFETCH(const QVariantMap, before);
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, u"above"_s}});
    host.prepare(SettingsType::Rdm, u"g"_s, before);
    host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, u"changed"_s}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = 'changed' }"_s,
                          u"handler: Rdm g/a = int(1)"_s,
                          u"handler: Rdm g/b = QString(changed)"_s}));
    QCOMPARE(host.manager.value(u"g"_s, u"a"_s), QVariant(u"above"_s));
}

void tst_LayerReplacement::hiddenPairsAreReportedTogether()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, u"above"_s}, {u"b"_s, u"above"_s}});
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}});
    host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"handler: Rdm g/a = int(1)"_s, u"handler: Rdm g/b = int(2)"_s}));
}

void tst_LayerReplacement::aLostPairThatIsHiddenIsNotReported()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"a"_s, u"above"_s}});
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    host.manager.initStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm reinitialized"_s));
}

void tst_LayerReplacement::aLostPairUncoversTheLayerBelowAsText()
{
    TestHost host;
    host.prepare(SettingsType::RavonaConfDefault, u"g"_s, {{u"a"_s, 5}});
    host.prepare(SettingsType::SystemProperties, u"g"_s, {{u"a"_s, true}});
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    host.manager.initStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top value changed SystemProperties: g/a = 'true'"_s,
                          u"handler: SystemProperties g/a = QString(true)"_s}));
}

void tst_LayerReplacement::aPairThatALowerLayerHoldsTooStaysUnchanged()
{
    TestHost host;
    host.prepare(SettingsType::RavonaConfDefault, u"g"_s, {{u"a"_s, 5}});
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    host.init(SettingsType::Rdm, {{u"a"_s, 1}});
    QCOMPARE(host.journal.take(), QStringList(u"info: Storage: Rdm reinitialized"_s));
}

void tst_LayerReplacement::theNewLayerAnswersAtTheSameRank_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerReplacement::theNewLayerAnswersAtTheSameRank()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType each : storagePriority)
        host.prepare(each, u"g"_s, {{u"k"_s, QLatin1StringView(keyOf(each))}});
    host.moveTo(u"second"_s);
    host.prepare(type, u"g"_s, {{u"k"_s, u"replaced"_s}});

    for (const SettingsType each : storagePriority) {
        const QString answer = host.manager.value(u"g"_s, u"k"_s).toString();
        QCOMPARE(answer, each == type ? u"replaced"_s : QString(QLatin1StringView(keyOf(each))));
        host.manager.clearStorage(each);
    }
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
}

void tst_LayerReplacement::handlersFindTheNewLayerInPlace()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"lost"_s, 1}, {u"changed"_s, 1}, {u"kept"_s, 1}});
    host.handler.reaction
            = [&host](SettingsType, const QString &, const QString &, const QVariant &) {
                  for (const QString &key : {u"changed"_s, u"kept"_s, u"lost"_s})
                      host.journal.add(describe(host.manager.value(u"g"_s, key)));
              };
    host.init(SettingsType::Rdm, {{u"changed"_s, 2}, {u"kept"_s, 1}});
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Parameter removed from all storages: g:lost"_s,
                          u"handler: Rdm g/lost = invalid"_s, u"int(2)"_s, u"int(1)"_s,
                          u"invalid"_s, u"info: Top value changed Rdm: g/changed = '2'"_s,
                          u"handler: Rdm g/changed = int(2)"_s, u"int(2)"_s, u"int(1)"_s,
                          u"invalid"_s}));
}

void tst_LayerReplacement::userTextIsLoggedAsItIs()
{
    TestHost host;
    host.prepare(SettingsType::SystemProperties, u"%1"_s, {{u"%2"_s, u"%3 %4"_s}});
    host.prepare(SettingsType::Rdm, u"%1"_s, {{u"%2"_s, 1}, {u"%3"_s, 1}});
    host.manager.initStorage(SettingsType::Rdm,
                             groupMap(u"%%1"_s, {{u"%L1"_s, u"%2"_s}, {u"%n"_s, u"%%"_s}}));
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top value changed SystemProperties: %1/%2 = '%3 %4'"_s,
                          u"handler: SystemProperties %1/%2 = QString(%3 %4)"_s,
                          u"info: Parameter removed from all storages: %1:%3"_s,
                          u"handler: Rdm %1/%3 = invalid"_s,
                          u"info: Top values changed: Rdm: { %%1/%L1 = '%2', %%1/%n = '%%' }"_s,
                          u"handler: Rdm %%1/%L1 = QString(%2)"_s,
                          u"handler: Rdm %%1/%n = QString(%%)"_s}));
}

void tst_LayerReplacement::layersInMemoryStartEmptyAgain_data()
{
    addTypeRows(memoryLayers);
}

void tst_LayerReplacement::layersInMemoryStartEmptyAgain()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}});
    host.manager.initStorage(type, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    QCOMPARE(host.journal.take(),
             QStringList(reinitialized(type))
                     + changeLine(type, u"Parameter removed from all storages: g:a"_s)
                     + QStringList(u"handler: %1 g/a = invalid"_s.arg(name)));
    QVERIFY(!host.manager.contains(u"g"_s, u"a"_s));
    QVERIFY(!host.manager.contains(u"g"_s, u"b"_s));
}

void tst_LayerReplacement::aFileLayerFindsItsUnsavedValuesAgain_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerReplacement::aFileLayerFindsItsUnsavedValuesAgain()
{
    // The old layer and the new one are on one file, and QSettings shares the contents of a file.
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    QVERIFY(readFile(host.filePath(type)).isNull());
    host.manager.initStorage(type);
    QCOMPARE(host.journal.take(), QStringList(reinitialized(type)));
    QCOMPARE(host.manager.value(u"g"_s, u"a"_s), QVariant(1));
    QCOMPARE(host.manager.value(u"g"_s, u"b"_s), QVariant(2));
}

void tst_LayerReplacement::aFileChangedFromOutsideIsReadAgainInSilence_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerReplacement::aFileChangedFromOutsideIsReadAgainInSilence()
{
    // Kept as it is: the old layer shows the new contents too, so the two do not differ.
    QFETCH(const SettingsType, type);
    TestHost host;
    host.init(type, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}});
    host.journal.take();
    host.init(type, {{u"a"_s, u"changed"_s}, {u"c"_s, u"3"_s}});
    QCOMPARE(host.journal.take(), QStringList(reinitialized(type)));
    QCOMPARE(host.manager.value(u"g"_s, u"a"_s), QVariant(u"changed"_s));
    QVERIFY(!host.manager.contains(u"g"_s, u"b"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"c"_s), QVariant(u"3"_s));
}

void tst_LayerReplacement::theOldFileIsWrittenWhenTheReplacementIsOver_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerReplacement::theOldFileIsWrittenWhenTheReplacementIsOver()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    const QString oldFile = host.filePath(type);
    int calls = 0;
    host.handler.reaction = [&](SettingsType, const QString &, const QString &, const QVariant &) {
        ++calls;
        QVERIFY(readFile(oldFile).isNull());
    };
    host.moveTo(u"second"_s);
    host.init(type, {{u"c"_s, u"3"_s}, {u"d"_s, u"4"_s}});
    QCOMPARE(calls, 4);
    QCOMPARE(readFile(oldFile), "[g]\na=1\nb=2\n");
}

void tst_LayerReplacement::pairsThatAFileListsTwiceAreReportedTwiceAgain()
{
    // Kept as it is: a/x/c and a/y/c are both listed as (a, c), which no layer can read, so that
    // equal contents count as changed.
    TestHost host;
    QVERIFY(writeFile(host.filePath(SettingsType::SelviDb), "[a]\nb=2\nx\\c=1\ny\\c=3\n"));
    host.manager.initStorage(SettingsType::SelviDb);
    host.journal.take();
    host.manager.initStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: SelviDb reinitialized"_s,
                          u"debug: Top values changed: SelviDb: { a/c = '', a/c = '' }"_s,
                          u"handler: SelviDb a/c = invalid"_s,
                          u"handler: SelviDb a/c = invalid"_s}));
}

void tst_LayerReplacement::pairsThatAFileListsTwiceAreLostTwice()
{
    TestHost host;
    QVERIFY(writeFile(host.filePath(SettingsType::SelviDb), "[a]\nx\\c=1\ny\\b=2\ny\\c=3\n"));
    host.manager.initStorage(SettingsType::SelviDb);
    host.journal.take();
    host.moveTo(u"second"_s);
    host.manager.initStorage(SettingsType::SelviDb);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: SelviDb reinitialized"_s,
                          u"debug: Parameter removed from all storages: a:c"_s,
                          u"handler: SelviDb a/c = invalid"_s,
                          u"debug: Parameter removed from all storages: a:b"_s,
                          u"handler: SelviDb a/b = invalid"_s,
                          u"debug: Parameter removed from all storages: a:c"_s,
                          u"handler: SelviDb a/c = invalid"_s}));
}

void tst_LayerReplacement::manyPairsAreReplaced()
{
    const int count = 20000;
    TestHost host;
    host.prepare(SettingsType::FeatureKeys, u"g"_s, numberedEntries(count, 1));

    QVariantMap entries = numberedEntries(count, 1);
    entries.insert(u"key 10000"_s, 2);
    host.init(SettingsType::FeatureKeys, entries);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: FeatureKeys reinitialized"_s,
                          u"handler: FeatureKeys g/key 10000 = int(2)"_s}));

    host.manager.initStorage(SettingsType::FeatureKeys, groupMap(u"h"_s, entries));
    const QStringList lines = host.journal.take();
    QCOMPARE(lines.size(), 1 + 2 * count);
    QCOMPARE(lines.at(1), u"handler: FeatureKeys g/key 00001 = invalid"_s);
    QCOMPARE(lines.at(count), u"handler: FeatureKeys g/key 20000 = invalid"_s);
    QCOMPARE(lines.at(count + 1), u"handler: FeatureKeys h/key 00001 = int(1)"_s);
    QCOMPARE(lines.last(), u"handler: FeatureKeys h/key 20000 = int(1)"_s);
}

QTEST_GUILESS_MAIN(tst_LayerReplacement)
#include "tst_layerreplacement.moc"

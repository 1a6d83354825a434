// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "datarows.h"
#include "testhost.h"

#include <QtTest/QTest>

#include <stdexcept>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

/*! Rows for every two layers, the lower one being among \a lowers. */
void addLayerPairRows(const QList<SettingsType> &lowers)
{
    QTest::addColumn<SettingsType>("upper");
    QTest::addColumn<SettingsType>("lower");
    for (const SettingsType upper : storagePriority) {
        for (const SettingsType lower : storagePriority.mid(priorityOf(upper) + 1)) {
            if (lowers.contains(lower))
                QTest::addRow("%s over %s", keyOf(upper), keyOf(lower)) << upper << lower;
        }
    }
}

/*! The line of a change message with the operation \a operation, or none if that is empty. */
QStringList loggedWith(const QString &operation, const QString &message)
{
    return operation.isEmpty() ? QStringList() : QStringList(operation % ": "_L1 % message);
}

} // namespace

class tst_ChangePropagation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aHandlerAppendedTwiceIsCalledOnce();
    void aHandlerAppendedTwiceKeepsItsPlace();
    void aHandlerAppendedTwiceIsGoneWhenRemovedOnce();
    void removingAHandlerThatIsNotRegisteredFailsInSilence();
    void handlersAreCalledInTheOrderOfTheirAppending();
    void removingAHandlerKeepsTheOrderOfTheOthers_data();
    void removingAHandlerKeepsTheOrderOfTheOthers();
    void aHandlerAppendedAgainComesLast();
    void aNullHandlerIsStoredLikeAnyOther();
    void oneHandlerServesTwoManagers();
    void withoutHandlersChangesAreOnlyLogged();

    void everyLayerLogsItsChangesWithItsOwnOperation_data();
    void everyLayerLogsItsChangesWithItsOwnOperation();
    void aChangeInTheAnsweringLayerIsReported_data();
    void aChangeInTheAnsweringLayerIsReported();
    void aChangeBelowTheAnsweringLayerIsSilent_data();
    void aChangeBelowTheAnsweringLayerIsSilent();
    void aRemovalBelowTheAnsweringLayerIsSilent_data();
    void aRemovalBelowTheAnsweringLayerIsSilent();
    void aRemovalUncoversTheLayerBelow_data();
    void aRemovalUncoversTheLayerBelow();
    void aRemovalUncoversTheUppermostOfTheLayersBelow();
    void anUncoveredValueIsPassedOnAsText_data();
    void anUncoveredValueIsPassedOnAsText();
    void theLastRemovalIsReportedWithAnInvalidValue_data();
    void theLastRemovalIsReportedWithAnInvalidValue();

    void aValueReachesTheHandlersWithItsType_data();
    void aValueReachesTheHandlersWithItsType();
    void writingAnEqualValueTellsNobody_data();
    void writingAnEqualValueTellsNobody();
    void writingAnInvalidValueTellsNobody_data();
    void writingAnInvalidValueTellsNobody();
    void replacingAnInvalidValueIsReported_data();
    void replacingAnInvalidValueIsReported();
    void userTextIsLoggedAsItIs();

    void laterHandlersGetTheValueThatWasWritten_data();
    void laterHandlersGetTheValueThatWasWritten();
    void whatAHandlerThrowsReachesTheWriter_data();
    void whatAHandlerThrowsReachesTheWriter();
    void whatAHandlerThrowsEndsTheReportOfALayer();
};

void tst_ChangePropagation::aHandlerAppendedTwiceIsCalledOnce()
{
    TestHost host; // appends its handler
    QVERIFY(host.manager.appendConfigurationHandler(&host.handler));
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"handler: Runtime g/k = int(1)"_s}));
}

void tst_ChangePropagation::aHandlerAppendedTwiceKeepsItsPlace()
{
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    QVERIFY(host.manager.appendConfigurationHandler(&second));
    QVERIFY(host.manager.appendConfigurationHandler(&host.handler));
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"handler: Runtime g/k = int(1)"_s, u"second: Runtime g/k = int(1)"_s}));
}

void tst_ChangePropagation::aHandlerAppendedTwiceIsGoneWhenRemovedOnce()
{
    TestHost host;
    host.manager.appendConfigurationHandler(&host.handler);
    QVERIFY(host.manager.removeConfigurationHandler(&host.handler));
    QVERIFY(!host.manager.removeConfigurationHandler(&host.handler));
    QCOMPARE(host.journal.take(), QStringList());
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    QCOMPARE(host.journal.take(), QStringList(u"debug: Top value changed Runtime: g/k = '1'"_s));
}

void tst_ChangePropagation::removingAHandlerThatIsNotRegisteredFailsInSilence()
{
    TestHost host;
    RecordingHandler stranger(&host.journal, u"stranger"_s);
    QVERIFY(!host.manager.removeConfigurationHandler(&stranger));
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(host.manager.removeConfigurationHandler(&host.handler)); // the others stay
}

void tst_ChangePropagation::handlersAreCalledInTheOrderOfTheirAppending()
{
    TestHost host;
    RecordingHandler b(&host.journal, u"b"_s);
    RecordingHandler a(&host.journal, u"a"_s);
    RecordingHandler c(&host.journal, u"c"_s);
    for (RecordingHandler *handler : {&c, &a, &b})
        host.manager.appendConfigurationHandler(handler);
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"handler: Runtime g/k = int(1)"_s, u"c: Runtime g/k = int(1)"_s,
                          u"a: Runtime g/k = int(1)"_s, u"b: Runtime g/k = int(1)"_s,
                          u"debug: Parameter removed from all storages: g:k"_s,
                          u"handler: Runtime g/k = invalid"_s, u"c: Runtime g/k = invalid"_s,
                          u"a: Runtime g/k = invalid"_s, u"b: Runtime g/k = invalid"_s}));
}

void tst_ChangePropagation::removingAHandlerKeepsTheOrderOfTheOthers_data()
{
    QTest::addColumn<int>("removed");
    QTest::addColumn<QStringList>("called");
    QTest::newRow("the first") << 0
                               << QStringList({u"1: Runtime g/k = int(1)"_s,
                                               u"2: Runtime g/k = int(1)"_s});
    QTest::newRow("the middle one")
            << 1 << QStringList({u"0: Runtime g/k = int(1)"_s, u"2: Runtime g/k = int(1)"_s});
    QTest::newRow("the last") << 2
                              << QStringList({u"0: Runtime g/k = int(1)"_s,
                                              u"1: Runtime g/k = int(1)"_s});
}

void tst_ChangePropagation::removingAHandlerKeepsTheOrderOfTheOthers()
{
    QFETCH(const int, removed);
    QFETCH(const QStringList, called);
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    RecordingHandler handlers[]
            = {RecordingHandler(&host.journal, u"0"_s), RecordingHandler(&host.journal, u"1"_s),
               RecordingHandler(&host.journal, u"2"_s)};
    for (RecordingHandler &handler : handlers)
        host.manager.appendConfigurationHandler(&handler);
    QVERIFY(host.manager.removeConfigurationHandler(&handlers[removed]));
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList(u"debug: Top value changed Runtime: g/k = '1'"_s) + called);
}

void tst_ChangePropagation::aHandlerAppendedAgainComesLast()
{
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    QVERIFY(host.manager.removeConfigurationHandler(&host.handler));
    QVERIFY(host.manager.appendConfigurationHandler(&host.handler));
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"second: Runtime g/k = int(1)"_s, u"handler: Runtime g/k = int(1)"_s}));
}

void tst_ChangePropagation::aNullHandlerIsStoredLikeAnyOther()
{
    TestHost host;
    QVERIFY(!host.manager.removeConfigurationHandler(nullptr));
    QVERIFY(host.manager.appendConfigurationHandler(nullptr));
    QVERIFY(host.manager.appendConfigurationHandler(nullptr));
    QVERIFY(host.manager.removeConfigurationHandler(nullptr));
    QVERIFY(!host.manager.removeConfigurationHandler(nullptr));
}

void tst_ChangePropagation::oneHandlerServesTwoManagers()
{
    TestHost host;
    ConfigurationManager other(&host.logger);
    other.appendConfigurationHandler(&host.handler);
    host.prepare(SettingsType::Runtime);
    other.initStorage(SettingsType::Runtime);
    host.journal.take();
    QVERIFY(host.manager.removeConfigurationHandler(&host.handler));
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    other.setValue(u"g"_s, u"k"_s, 2, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"debug: Top value changed Runtime: g/k = '2'"_s,
                          u"handler: Runtime g/k = int(2)"_s}));
}

void tst_ChangePropagation::withoutHandlersChangesAreOnlyLogged()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"info: Storage: Rdm cleared"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"info: Parameter removed from all storages: g:b"_s}));
}

void tst_ChangePropagation::everyLayerLogsItsChangesWithItsOwnOperation_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("operation");
    QTest::newRow("CommandLineArgs") << SettingsType::CommandLineArgs << u"debug"_s;
    QTest::newRow("CustomConfPersistent") << SettingsType::CustomConfPersistent << u"debug"_s;
    QTest::newRow("Rdm") << SettingsType::Rdm << u"info"_s;
    QTest::newRow("RavonaConfDefault") << SettingsType::RavonaConfDefault << QString();
    QTest::newRow("SystemProperties") << SettingsType::SystemProperties << u"info"_s;
    QTest::newRow("Runtime") << SettingsType::Runtime << u"debug"_s;
    QTest::newRow("SelviDb") << SettingsType::SelviDb << u"debug"_s;
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys << QString();
}

void tst_ChangePropagation::everyLayerLogsItsChangesWithItsOwnOperation()
{
    QFETCH(const SettingsType, type);
    QFETCH(const QString, operation);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.manager.initStorage(type, groupMap(u"g"_s, {{u"k"_s, 1}}));
    if (!mapLayers.contains(type))
        host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList(u"info: Storage: %1 initialized"_s.arg(name))
                     + loggedWith(operation, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList({u"handler: %1 g/k = int(1)"_s.arg(name),
                                    u"info: Storage: %1 cleared"_s.arg(name)})
                     + loggedWith(operation, u"Parameter removed from all storages: g:k"_s)
                     + QStringList(u"handler: %1 g/k = invalid"_s.arg(name)));
}

void tst_ChangePropagation::aChangeInTheAnsweringLayerIsReported_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::aChangeInTheAnsweringLayerIsReported()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (priorityOf(other) > priorityOf(type))
            host.prepare(other, u"g"_s, {{u"k"_s, 0}});
        else
            host.prepare(other);
    }
    host.manager.setValue(u"g"_s, u"k"_s, 1, type); // a new pair
    host.manager.setValue(u"g"_s, u"k"_s, 2, type); // a new value
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList(u"handler: %1 g/k = int(1)"_s.arg(name))
                     + changeLine(type, u"Top value changed %1: g/k = '2'"_s.arg(name))
                     + QStringList(u"handler: %1 g/k = int(2)"_s.arg(name)));
}

void tst_ChangePropagation::aChangeBelowTheAnsweringLayerIsSilent_data()
{
    addLayerPairRows(writableLayers);
}

void tst_ChangePropagation::aChangeBelowTheAnsweringLayerIsSilent()
{
    QFETCH(const SettingsType, upper);
    QFETCH(const SettingsType, lower);
    TestHost host;
    host.prepare(upper, u"g"_s, {{u"k"_s, 1}});
    host.prepare(lower);
    host.manager.setValue(u"g"_s, u"k"_s, 2, lower); // a new pair
    host.manager.setValue(u"g"_s, u"k"_s, 3, lower); // a new value
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s, lower));
}

void tst_ChangePropagation::aRemovalBelowTheAnsweringLayerIsSilent_data()
{
    addLayerPairRows(writableLayers);
}

void tst_ChangePropagation::aRemovalBelowTheAnsweringLayerIsSilent()
{
    QFETCH(const SettingsType, upper);
    QFETCH(const SettingsType, lower);
    TestHost host;
    host.prepare(upper, u"g"_s, {{u"k"_s, 1}});
    host.prepare(lower, u"g"_s, {{u"k"_s, 2}});
    host.manager.removeValue(u"g"_s, u"k"_s, lower);
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s, lower));
}

void tst_ChangePropagation::aRemovalUncoversTheLayerBelow_data()
{
    addLayerPairRows(storagePriority);
}

void tst_ChangePropagation::aRemovalUncoversTheLayerBelow()
{
    // The line names the layer below, but is logged as a change of the layer that lost the pair.
    QFETCH(const SettingsType, upper);
    QFETCH(const SettingsType, lower);
    const QString name = QLatin1StringView(keyOf(lower));
    TestHost host;
    host.prepare(upper, u"g"_s, {{u"k"_s, 6}});
    host.prepare(lower, u"g"_s, {{u"k"_s, 5}});
    if (mapLayers.contains(upper)) {
        host.manager.initStorage(upper);
        QCOMPARE(host.journal.take(),
                 QStringList(
                         u"info: Storage: %1 reinitialized"_s.arg(QLatin1StringView(keyOf(upper))))
                         + changeLine(upper, u"Top value changed %1: g/k = '5'"_s.arg(name))
                         + QStringList(u"handler: %1 g/k = QString(5)"_s.arg(name)));
    } else {
        host.manager.removeValue(u"g"_s, u"k"_s, upper);
        QCOMPARE(host.journal.take(),
                 changeLine(upper, u"Top value changed %1: g/k = '5'"_s.arg(name))
                         + QStringList(u"handler: %1 g/k = QString(5)"_s.arg(name)));
    }
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(5)); // readers get what is stored
}

void tst_ChangePropagation::aRemovalUncoversTheUppermostOfTheLayersBelow()
{
    TestHost host;
    for (const SettingsType type : storagePriority)
        host.prepare(type, u"g"_s, {{u"k"_s, priorityOf(type)}});
    host.manager.clearStorage(SettingsType::Rdm); // hidden
    host.journal.take();
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed FeatureKeys: g/k = '2'"_s,
                          u"handler: FeatureKeys g/k = QString(2)"_s}));
}

void tst_ChangePropagation::anUncoveredValueIsPassedOnAsText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("text") << QVariant(u"ru"_s) << u"ru"_s;
    QTest::newRow("number") << QVariant(5) << u"5"_s;
    QTest::newRow("fraction") << QVariant(0.5) << u"0.5"_s;
    QTest::newRow("truth") << QVariant(false) << u"false"_s;
    QTest::newRow("bytes") << QVariant(QByteArray("xyz")) << u"xyz"_s;
    QTest::newRow("layer") << QVariant::fromValue(SettingsType::Rdm) << u"Rdm"_s;
    QTest::newRow("map, which has no text") << QVariant(QVariantMap{{u"x"_s, 1}}) << u""_s;
    QTest::newRow("list, which has no text") << QVariant(QVariantList{1, 2}) << u""_s;
    QTest::newRow("invalid") << QVariant() << u""_s;
}

void tst_ChangePropagation::anUncoveredValueIsPassedOnAsText()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, text);
    TestHost host;
    host.prepare(SettingsType::Rdm, u"g"_s, {{u"k"_s, value}});
    host.prepare(SettingsType::Runtime, u"g"_s, {{u"k"_s, u"above"_s}});
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Rdm: g/k = '%1'"_s.arg(text),
                          u"handler: Rdm g/k = QString(%1)"_s.arg(text)}));
}

void tst_ChangePropagation::theLastRemovalIsReportedWithAnInvalidValue_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::theLastRemovalIsReportedWithAnInvalidValue()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other, u"g"_s, {{u"other key"_s, 1}});
    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    host.journal.take();
    host.manager.removeValue(u"g"_s, u"k"_s, type);
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Parameter removed from all storages: g:k"_s)
                     + QStringList(u"handler: %1 g/k = invalid"_s.arg(name)));
}

void tst_ChangePropagation::aValueReachesTheHandlersWithItsType_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("heard");
    QTest::newRow("text") << QVariant(u"en"_s) << u"en"_s << u"QString(en)"_s;
    QTest::newRow("null text") << QVariant(QString()) << u""_s << u"QString()"_s;
    QTest::newRow("number") << QVariant(5) << u"5"_s << u"int(5)"_s;
    QTest::newRow("large number") << QVariant(Q_INT64_C(-5000000000)) << u"-5000000000"_s
                                  << u"qlonglong(-5000000000)"_s;
    QTest::newRow("fraction") << QVariant(0.5) << u"0.5"_s << u"double(0.5)"_s;
    QTest::newRow("truth") << QVariant(true) << u"true"_s << u"bool(true)"_s;
    QTest::newRow("bytes") << QVariant(QByteArray("xyz")) << u"xyz"_s << u"QByteArray(xyz)"_s;
    QTest::newRow("map, which has no text")
            << QVariant(QVariantMap{{u"x"_s, 1}}) << u""_s << u"QVariantMap()"_s;
}

void tst_ChangePropagation::aValueReachesTheHandlersWithItsType()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, text);
    QFETCH(const QString, heard);
    TestHost host;
    host.prepare(SettingsType::CustomConfPersistent);
    host.manager.setValue(u"g"_s, u"k"_s, value, SettingsType::CustomConfPersistent);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed CustomConfPersistent: g/k = '%1'"_s.arg(text),
                          u"handler: CustomConfPersistent g/k = %1"_s.arg(heard)}));
}

void tst_ChangePropagation::writingAnEqualValueTellsNobody_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::writingAnEqualValueTellsNobody()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"k"_s, 1}});
    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    host.manager.setValue(u"g"_s, u"k"_s, 1.0, type);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_ChangePropagation::writingAnInvalidValueTellsNobody_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::writingAnInvalidValueTellsNobody()
{
    // Kept as it is: an invalid value reads as a removal, and the layer still holds the pair.
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"k"_s, 1}});
    host.manager.setValue(u"g"_s, u"k"_s, QVariant(), type);
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s, type));
    QVERIFY(!host.manager.value(u"g"_s, u"k"_s, 1).isValid());
}

void tst_ChangePropagation::replacingAnInvalidValueIsReported_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::replacingAnInvalidValueIsReported()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    host.prepare(type, u"g"_s, {{u"k"_s, 1}});
    host.manager.setValue(u"g"_s, u"k"_s, QVariant(), type);
    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList(u"handler: %1 g/k = int(1)"_s.arg(name)));
}

void tst_ChangePropagation::userTextIsLoggedAsItIs()
{
    TestHost host;
    host.prepare(SettingsType::Rdm, u"%2"_s, {{u"%1"_s, u"%3 %%"_s}});
    host.prepare(SettingsType::Runtime);
    host.manager.setValue(u"%2"_s, u"%1"_s, u"%4 %L1 '"_s, SettingsType::Runtime);
    host.manager.removeValue(u"%2"_s, u"%1"_s, SettingsType::Runtime);
    host.manager.setValue(u"%2"_s, u"%n"_s, u"%99"_s, SettingsType::Runtime);
    host.manager.removeValue(u"%2"_s, u"%n"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: %2/%1 = '%4 %L1 ''"_s,
                          u"handler: Runtime %2/%1 = QString(%4 %L1 ')"_s,
                          u"debug: Top value changed Rdm: %2/%1 = '%3 %%'"_s,
                          u"handler: Rdm %2/%1 = QString(%3 %%)"_s,
                          u"debug: Top value changed Runtime: %2/%n = '%99'"_s,
                          u"handler: Runtime %2/%n = QString(%99)"_s,
                          u"debug: Parameter removed from all storages: %2:%n"_s,
                          u"handler: Runtime %2/%n = invalid"_s}));
}

void tst_ChangePropagation::laterHandlersGetTheValueThatWasWritten_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::laterHandlersGetTheValueThatWasWritten()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type);
    QVariant variable = 1;
    host.handler.reaction = [&variable](SettingsType, const QString &, const QString &,
                                        const QVariant &) { variable = u"reused"_s; };
    host.manager.setValue(u"g"_s, u"k"_s, variable, type);
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList({u"handler: %1 g/k = int(1)"_s.arg(name),
                                    u"second: %1 g/k = int(1)"_s.arg(name)}));
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QCOMPARE(variable, QVariant(u"reused"_s));
}

void tst_ChangePropagation::whatAHandlerThrowsReachesTheWriter_data()
{
    addTypeRows(writableLayers);
}

void tst_ChangePropagation::whatAHandlerThrowsReachesTheWriter()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type);
    host.handler.reaction = [](SettingsType, const QString &, const QString &, const QVariant &) {
        throw std::runtime_error("no, thank you");
    };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, host.manager.setValue(u"g"_s, u"k"_s, 1, type));
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList(u"handler: %1 g/k = int(1)"_s.arg(name)));
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1)); // written all the same

    host.handler.reaction = nullptr;
    host.manager.setValue(u"g"_s, u"k"_s, 2, type);
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '2'"_s.arg(name))
                     + QStringList({u"handler: %1 g/k = int(2)"_s.arg(name),
                                    u"second: %1 g/k = int(2)"_s.arg(name)}));
}

void tst_ChangePropagation::whatAHandlerThrowsEndsTheReportOfALayer()
{
    TestHost host;
    host.handler.reaction = [](SettingsType, const QString &, const QString &, const QVariant &) {
        throw std::runtime_error("no, thank you");
    };
    const QVariantMap values = groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                             host.manager.initStorage(SettingsType::Rdm, values));
    QCOMPARE(host.manager.value(u"g"_s, u"b"_s), QVariant(2));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, host.manager.initStorage(SettingsType::Rdm));
    QVERIFY(host.manager.storageAvailable(SettingsType::Rdm));
    QVERIFY(!host.manager.contains(u"g"_s, u"b"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                             host.manager.initStorage(SettingsType::Rdm, values));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, host.manager.clearStorage(SettingsType::Rdm));
    QVERIFY(!host.manager.storageAvailable(SettingsType::Rdm));
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"handler: Rdm g/a = int(1)"_s, u"info: Storage: Rdm reinitialized"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"handler: Rdm g/a = invalid"_s, u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"handler: Rdm g/a = int(1)"_s, u"info: Storage: Rdm cleared"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"handler: Rdm g/a = invalid"_s}));
}

QTEST_GUILESS_MAIN(tst_ChangePropagation)
#include "tst_changepropagation.moc"

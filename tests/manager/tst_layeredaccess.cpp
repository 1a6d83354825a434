// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "datarows.h"
#include "testhost.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

/*! "Rdm's lang": tells which layer gave an answer. */
QString langOf(SettingsType type)
{
    return QLatin1StringView(keyOf(type)) + "'s lang"_L1;
}

void prepareLang(TestHost *host, SettingsType type)
{
    host->prepare(type, u"ui"_s, {{u"lang"_s, langOf(type)}});
}

void addVariantRows()
{
    QTest::addColumn<QVariant>("variant");
    QTest::newRow("text") << QVariant(u"en"_s);
    QTest::newRow("empty text") << QVariant(u""_s);
    QTest::newRow("null text") << QVariant(QString());
    QTest::newRow("number") << QVariant(5);
    QTest::newRow("large number") << QVariant(Q_INT64_C(-5000000000));
    QTest::newRow("fraction") << QVariant(0.5);
    QTest::newRow("truth") << QVariant(false);
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff", 2));
    QTest::newRow("list") << QVariant(QVariantList{1, u"two"_s});
    QTest::newRow("map") << QVariant(QVariantMap{{u"a"_s, 1}});
    QTest::newRow("layer") << QVariant::fromValue(SettingsType::Rdm);
    QTest::newRow("invalid") << QVariant();
}

/*! As QCOMPARE, which on its own takes 1 for 1.0 and a null text for an empty one. */
void compareExactly(const QVariant &actual, const QVariant &expected)
{
    QCOMPARE(actual.metaType(), expected.metaType());
    QCOMPARE(actual.toString().isNull(), expected.toString().isNull());
    QCOMPARE(actual, expected);
}

} // namespace

class tst_LayeredAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutLayersNothingIsHeld();
    void withoutLayersWritesAndRemovalsDoNothing();

    void theUppermostLayerAnswers();
    void everyLayerAnswersAlone_data();
    void everyLayerAnswersAlone();
    void aLayerNamedInAQuestionAnswersForItself_data();
    void aLayerNamedInAQuestionAnswersForItself();
    void aWriteIsReadBackUntilAHigherLayerHoldsThePair();
    void anInvalidValueHidesTheLayersBelow_data();
    void anInvalidValueHidesTheLayersBelow();
    void aPairNeedsBothGroupAndKey();
    void groupsAndKeysAreCaseSensitive();

    void theDefaultComesBackUnchanged_data();
    void theDefaultComesBackUnchanged();
    void withoutADefaultTheAnswerIsInvalid();
    void aStoredValueKeepsItsType_data();
    void aStoredValueKeepsItsType();
    void aStoredValueIsNotConvertedToTheTypeOfTheDefault();
    void theAnswerIsACopy();

    void aWriteReachesTheNamedLayerOnly_data();
    void aWriteReachesTheNamedLayerOnly();
    void aWriteIntoAMissingLayerIsLost_data();
    void aWriteIntoAMissingLayerIsLost();
    void aReadOnlyLayerRefusesEveryWrite_data();
    void aReadOnlyLayerRefusesEveryWrite();
    void aRefusedWriteGoesToNoOtherLayer_data();
    void aRefusedWriteGoesToNoOtherLayer();
    void aWriteBelowTheAnsweringLayerChangesNoAnswer();
    void anEqualValueIsNotWrittenAgain_data();
    void anEqualValueIsNotWrittenAgain();

    void aRemovalReachesTheNamedLayerOnly_data();
    void aRemovalReachesTheNamedLayerOnly();
    void removingAPairThatTheLayerDoesNotHoldIsSilent_data();
    void removingAPairThatTheLayerDoesNotHoldIsSilent();
    void anEmptyGroupOrKeyRemovesAGroupOfAFileThatHoldsItsName_data();
    void anEmptyGroupOrKeyRemovesAGroupOfAFileThatHoldsItsName();
    void aReadOnlyLayerRefusesToRemoveOnlyWhatItHolds_data();
    void aReadOnlyLayerRefusesToRemoveOnlyWhatItHolds();
    void anInvalidValueIsRemovedLikeAnyOther_data();
    void anInvalidValueIsRemovedLikeAnyOther();

    void aLayerIsAvailableWhileItExists_data();
    void aLayerIsAvailableWhileItExists();
    void aBrokenFileMakesItsLayerUnavailable_data();
    void aBrokenFileMakesItsLayerUnavailable();
    void anUnavailableLayerIsAskedLikeAnyOther_data();
    void anUnavailableLayerIsAskedLikeAnyOther();
    void aTypeOutsideTheEnumerationNamesNoLayer_data();
    void aTypeOutsideTheEnumerationNamesNoLayer();

    void aHandlerSeesTheChangeThatItHearsOf();
    void aLoggerSeesTheChangeThatItIsToldOf();
};

void tst_LayeredAccess::withoutLayersNothingIsHeld()
{
    TestHost host;
    const ConfigurationManager &manager = host.manager;
    QCOMPARE(manager.value(u"ui"_s, u"lang"_s, u"ru"_s), QVariant(u"ru"_s));
    QVERIFY(!manager.contains(u"ui"_s, u"lang"_s));
    for (const SettingsType type : storagePriority) {
        QVERIFY2(!manager.contains(u"ui"_s, u"lang"_s, type), keyOf(type));
        QVERIFY2(!manager.storageAvailable(type), keyOf(type));
    }
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayeredAccess::withoutLayersWritesAndRemovalsDoNothing()
{
    TestHost host;
    for (const SettingsType type : storagePriority) {
        host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
        host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    }
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayeredAccess::theUppermostLayerAnswers()
{
    TestHost host;
    for (const SettingsType type : storagePriority)
        prepareLang(&host, type);

    QStringList answers;
    for (const SettingsType type : storagePriority) {
        answers.append(host.manager.value(u"ui"_s, u"lang"_s, u"nobody's lang"_s).toString());
        QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s));
        host.manager.clearStorage(type);
    }
    answers.append(host.manager.value(u"ui"_s, u"lang"_s, u"nobody's lang"_s).toString());
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
    QCOMPARE(answers,
             QStringList({u"Runtime's lang"_s, u"Rdm's lang"_s, u"FeatureKeys's lang"_s,
                          u"SystemProperties's lang"_s, u"CommandLineArgs's lang"_s,
                          u"CustomConfPersistent's lang"_s, u"SelviDb's lang"_s,
                          u"RavonaConfDefault's lang"_s, u"nobody's lang"_s}));
}

void tst_LayeredAccess::everyLayerAnswersAlone_data()
{
    addTypeRows(storagePriority);
}

void tst_LayeredAccess::everyLayerAnswersAlone()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other);
    prepareLang(&host, type);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s), QVariant(langOf(type)));
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s));
}

void tst_LayeredAccess::aLayerNamedInAQuestionAnswersForItself_data()
{
    addTypeRows(storagePriority);
}

void tst_LayeredAccess::aLayerNamedInAQuestionAnswersForItself()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (other == type)
            host.prepare(type, u"ui"_s, {{u"only here"_s, 1}});
        else
            prepareLang(&host, other);
    }

    for (const SettingsType other : storagePriority) {
        const bool isTheOne = other == type;
        QCOMPARE(host.manager.contains(u"ui"_s, u"only here"_s, other), isTheOne);
        QCOMPARE(host.manager.contains(u"ui"_s, u"lang"_s, other), !isTheOne);
    }
}

void tst_LayeredAccess::aWriteIsReadBackUntilAHigherLayerHoldsThePair()
{
    TestHost host;
    ConfigurationManager &manager = host.manager;
    const auto lang = [&manager] { return manager.value(u"ui"_s, u"lang"_s, u"none"_s); };
    host.prepare(SettingsType::RavonaConfDefault, u"ui"_s, {{u"lang"_s, u"ru"_s}});
    host.prepare(SettingsType::CustomConfPersistent);
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    QCOMPARE(lang(), QVariant(u"en"_s));
    manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::Runtime);
    QCOMPARE(lang(), QVariant(u"ru"_s));
    manager.setValue(u"ui"_s, u"lang"_s, u"de"_s, SettingsType::CustomConfPersistent);
    QCOMPARE(lang(), QVariant(u"de"_s));
    manager.setValue(u"ui"_s, u"lang"_s, u"fr"_s, SettingsType::Runtime);
    QCOMPARE(lang(), QVariant(u"fr"_s));
}

void tst_LayeredAccess::anInvalidValueHidesTheLayersBelow_data()
{
    addTypeRows(storagePriority.first(storagePriority.size() - 1)); // nothing is below the last
}

void tst_LayeredAccess::anInvalidValueHidesTheLayersBelow()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType lower : storagePriority.mid(priorityOf(type) + 1))
        prepareLang(&host, lower);
    if (fileLayers.contains(type)) // the text with which QSettings stores an invalid value
        QVERIFY(writeFile(host.filePath(type), "[ui]\nlang=@Invalid()\n"));
    host.prepare(type, u"ui"_s, {{u"lang"_s, QVariant()}});
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s, type));
    QVERIFY(!host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s).isValid());
}

void tst_LayeredAccess::aPairNeedsBothGroupAndKey()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    for (const auto &[group, key] : {std::pair(u"ui"_s, u"size"_s), std::pair(u"tv"_s, u"lang"_s),
                                     std::pair(u"lang"_s, u"ui"_s), std::pair(u"ui"_s, QString()),
                                     std::pair(QString(), u"lang"_s)}) {
        QCOMPARE(host.manager.value(group, key, 0), QVariant(0));
        QVERIFY(!host.manager.contains(group, key));
        QVERIFY(!host.manager.contains(group, key, SettingsType::Runtime));
    }
}

void tst_LayeredAccess::groupsAndKeysAreCaseSensitive()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    QVERIFY(!host.manager.contains(u"UI"_s, u"lang"_s));
    QVERIFY(!host.manager.contains(u"ui"_s, u"Lang"_s));
}

void tst_LayeredAccess::theDefaultComesBackUnchanged_data()
{
    addVariantRows();
}

void tst_LayeredAccess::theDefaultComesBackUnchanged()
{
    QFETCH(const QVariant, variant);
    TestHost host;
    compareExactly(host.manager.value(u"ui"_s, u"lang"_s, variant), variant);
    for (const SettingsType type : storagePriority)
        host.prepare(type, u"ui"_s, {{u"size"_s, 1}});
    compareExactly(host.manager.value(u"ui"_s, u"lang"_s, variant), variant);
}

void tst_LayeredAccess::withoutADefaultTheAnswerIsInvalid()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"en"_s));
    QVERIFY(!host.manager.value(u"ui"_s, u"size"_s).isValid());
}

void tst_LayeredAccess::aStoredValueKeepsItsType_data()
{
    addVariantRows();
}

void tst_LayeredAccess::aStoredValueKeepsItsType()
{
    QFETCH(const QVariant, variant);
    for (const SettingsType type : {SettingsType::Runtime, SettingsType::Rdm}) {
        TestHost host;
        host.prepare(type, u"ui"_s, {{u"lang"_s, variant}});
        compareExactly(host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s), variant);
    }
}

void tst_LayeredAccess::aStoredValueIsNotConvertedToTheTypeOfTheDefault()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"size"_s, u"12"_s}});
    compareExactly(host.manager.value(u"ui"_s, u"size"_s, 7), u"12"_s);
}

void tst_LayeredAccess::theAnswerIsACopy()
{
    TestHost host;
    host.prepare(SettingsType::Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    QVariant answer = host.manager.value(u"ui"_s, u"lang"_s);
    answer.setValue(u"changed by the reader"_s);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"en"_s));
}

void tst_LayeredAccess::aWriteReachesTheNamedLayerOnly_data()
{
    addTypeRows(writableLayers);
}

void tst_LayeredAccess::aWriteReachesTheNamedLayerOnly()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other);
    host.manager.setValue(u"ui"_s, u"lang"_s, langOf(type), type);
    for (const SettingsType other : storagePriority)
        QCOMPARE(host.manager.contains(u"ui"_s, u"lang"_s, other), other == type);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(langOf(type)));
}

void tst_LayeredAccess::aWriteIntoAMissingLayerIsLost_data()
{
    addTypeRows(storagePriority);
}

void tst_LayeredAccess::aWriteIntoAMissingLayerIsLost()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (other != type)
            host.prepare(other);
    }
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
    QVERIFY(!host.manager.storageAvailable(type));
    QCOMPARE(host.journal.take(), QStringList());
    if (fileLayers.contains(type))
        QVERIFY(readFile(host.filePath(type)).isNull());

    host.prepare(type);
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
}

void tst_LayeredAccess::aReadOnlyLayerRefusesEveryWrite_data()
{
    addTypeRows(mapLayers);
}

void tst_LayeredAccess::aReadOnlyLayerRefusesEveryWrite()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    prepareLang(&host, type);
    const QStringList refused{u"error: The storage doesn't support writing!"_s};
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    QCOMPARE(host.journal.take(), refused);
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    QCOMPARE(host.journal.take(), refused);
    host.manager.setValue(u"ui"_s, u"lang"_s, langOf(type), type); // the value that it has
    QCOMPARE(host.journal.take(), refused);
    host.manager.setValue(u"ui"_s, u"size"_s, 12, type); // a pair that it does not hold
    QCOMPARE(host.journal.take(), refused);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(langOf(type)));
    QVERIFY(!host.manager.contains(u"ui"_s, u"size"_s));
}

void tst_LayeredAccess::aRefusedWriteGoesToNoOtherLayer_data()
{
    addTypeRows(mapLayers);
}

void tst_LayeredAccess::aRefusedWriteGoesToNoOtherLayer()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other);
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
    QCOMPARE(host.journal.take(), QStringList(u"error: The storage doesn't support writing!"_s));
}

void tst_LayeredAccess::aWriteBelowTheAnsweringLayerChangesNoAnswer()
{
    TestHost host;
    for (const SettingsType type : storagePriority)
        prepareLang(&host, type);
    for (const SettingsType type : writableLayers) {
        if (type == SettingsType::Runtime)
            continue;
        host.manager.setValue(u"ui"_s, u"lang"_s, u"new"_s, type);
        QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"Runtime's lang"_s));
    }
    QCOMPARE(host.journal.take(), QStringList());

    // They were written all the same.
    for (const SettingsType type : mapLayers)
        host.manager.clearStorage(type);
    host.manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"new"_s));
}

void tst_LayeredAccess::anEqualValueIsNotWrittenAgain_data()
{
    addTypeRows(writableLayers);
}

void tst_LayeredAccess::anEqualValueIsNotWrittenAgain()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"ui"_s, {{u"size"_s, 5}});
    host.manager.setValue(u"ui"_s, u"size"_s, 5, type);
    host.manager.setValue(u"ui"_s, u"size"_s, 5.0, type); // equal for QVariant
    compareExactly(host.manager.value(u"ui"_s, u"size"_s), 5);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayeredAccess::aRemovalReachesTheNamedLayerOnly_data()
{
    addTypeRows(writableLayers);
}

void tst_LayeredAccess::aRemovalReachesTheNamedLayerOnly()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        host.prepare(other, u"ui"_s, {{u"lang"_s, langOf(other)}, {u"size"_s, 12}});
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    for (const SettingsType other : storagePriority) {
        QCOMPARE(host.manager.contains(u"ui"_s, u"lang"_s, other), other != type);
        QVERIFY2(host.manager.contains(u"ui"_s, u"size"_s, other), keyOf(other));
    }
}

void tst_LayeredAccess::removingAPairThatTheLayerDoesNotHoldIsSilent_data()
{
    addTypeRows(storagePriority);
}

void tst_LayeredAccess::removingAPairThatTheLayerDoesNotHoldIsSilent()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority) {
        if (other != type)
            prepareLang(&host, other);
    }
    host.manager.removeValue(u"ui"_s, u"lang"_s, type); // no such layer
    host.prepare(type, u"ui"_s, {{u"size"_s, 12}});
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    host.manager.removeValue(u"no such group"_s, u"lang"_s, type);
    QCOMPARE(host.journal.take(), QStringList());
    for (const SettingsType other : storagePriority)
        QCOMPARE(host.manager.contains(u"ui"_s, u"lang"_s, other), other != type);
}

void tst_LayeredAccess::anEmptyGroupOrKeyRemovesAGroupOfAFileThatHoldsItsName_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("othersStay");
    QTest::newRow("empty group") << u""_s << u"ui"_s << true;
    QTest::newRow("empty key") << u"ui"_s << u""_s << true;
    QTest::newRow("both empty") << u""_s << u""_s << false;
}

void tst_LayeredAccess::anEmptyGroupOrKeyRemovesAGroupOfAFileThatHoldsItsName()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const bool, othersStay);
    const SettingsType type = SettingsType::CustomConfPersistent;
    TestHost host;
    host.prepare(type, u"ui"_s, {{u"lang"_s, u"en"_s}});
    host.manager.setValue(u"player"_s, u"volume"_s, 7, type);
    host.journal.take();
    host.manager.removeValue(group, key, type);
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s));

    host.manager.setValue(group, key, 1, type);
    host.journal.take();
    host.manager.removeValue(group, key, type);
    QCOMPARE(host.journal.take(),
             (QStringList{"debug: Parameter removed from all storages: "_L1 + group + ':'_L1 + key,
                          "handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                                  + " = invalid"_L1}));
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
    QCOMPARE(host.manager.contains(u"player"_s, u"volume"_s), othersStay);
}

void tst_LayeredAccess::aReadOnlyLayerRefusesToRemoveOnlyWhatItHolds_data()
{
    addTypeRows(mapLayers);
}

void tst_LayeredAccess::aReadOnlyLayerRefusesToRemoveOnlyWhatItHolds()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    prepareLang(&host, type);
    const QStringList refused{u"error: The storage doesn't support removing!"_s};
    host.manager.removeValue(u"ui"_s, u"size"_s, type);
    QCOMPARE(host.journal.take(), QStringList());
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    QCOMPARE(host.journal.take(), refused);
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    QCOMPARE(host.journal.take(), refused);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(langOf(type)));
}

void tst_LayeredAccess::anInvalidValueIsRemovedLikeAnyOther_data()
{
    addTypeRows(memoryLayers);
}

void tst_LayeredAccess::anInvalidValueIsRemovedLikeAnyOther()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"ui"_s, {{u"lang"_s, QVariant()}});
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s));
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
}

void tst_LayeredAccess::aLayerIsAvailableWhileItExists_data()
{
    addTypeRows(storagePriority);
}

void tst_LayeredAccess::aLayerIsAvailableWhileItExists()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    QVERIFY(!host.manager.storageAvailable(type));
    host.prepare(type);
    for (const SettingsType other : storagePriority)
        QCOMPARE(host.manager.storageAvailable(other), other == type);
    host.manager.clearStorage(type);
    QVERIFY(!host.manager.storageAvailable(type));
}

void tst_LayeredAccess::aBrokenFileMakesItsLayerUnavailable_data()
{
    addTypeRows(fileLayers);
}

void tst_LayeredAccess::aBrokenFileMakesItsLayerUnavailable()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    QVERIFY(writeFile(host.filePath(type), "[no bracket\nlang=en\n"));
    host.manager.initStorage(type);
    host.journal.take();
    QVERIFY(!host.manager.storageAvailable(type));
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayeredAccess::anUnavailableLayerIsAskedLikeAnyOther_data()
{
    addTypeRows(fileLayers);
}

void tst_LayeredAccess::anUnavailableLayerIsAskedLikeAnyOther()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    QVERIFY(writeFile(host.filePath(type), "[ui]\nlang=en\n[no bracket\n"));
    host.manager.initStorage(type);
    QVERIFY(!host.manager.storageAvailable(type));
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s), QVariant(u"en"_s));
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s));
    QVERIFY(host.manager.contains(u"ui"_s, u"lang"_s, type));
    host.manager.setValue(u"ui"_s, u"lang"_s, u"de"_s, type);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s), QVariant(u"de"_s));
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
}

void tst_LayeredAccess::aTypeOutsideTheEnumerationNamesNoLayer_data()
{
    addUnknownTypeRows();
}

void tst_LayeredAccess::aTypeOutsideTheEnumerationNamesNoLayer()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType other : storagePriority)
        prepareLang(&host, other);
    QVERIFY(!host.manager.storageAvailable(type));
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s, type));
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    host.manager.removeValue(u"ui"_s, u"lang"_s, type);
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"Runtime's lang"_s));
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LayeredAccess::aHandlerSeesTheChangeThatItHearsOf()
{
    TestHost host;
    host.prepare(SettingsType::RavonaConfDefault, u"ui"_s, {{u"lang"_s, u"ru"_s}});
    host.prepare(SettingsType::Runtime);
    const ConfigurationManager &manager = host.manager;
    host.handler.reaction
            = [&](SettingsType, const QString &group, const QString &key, const QVariant &) {
                  const bool isInRuntime = manager.contains(group, key, SettingsType::Runtime);
                  host.journal.add("value "_L1 + describe(manager.value(group, key)));
                  host.journal.add(manager.contains(group, key) ? u"held"_s : u"gone"_s);
                  host.journal.add(isInRuntime ? u"in Runtime"_s : u"not in Runtime"_s);
                  host.journal.add(manager.storageAvailable(SettingsType::Runtime) ? u"available"_s
                                                                                   : u"missing"_s);
              };

    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: ui/lang = 'en'"_s,
                          u"handler: Runtime ui/lang = QString(en)"_s, u"value QString(en)"_s,
                          u"held"_s, u"in Runtime"_s, u"available"_s}));
    host.manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::Runtime);
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Top value changed RavonaConfDefault: ui/lang = 'ru'"_s,
                          u"handler: RavonaConfDefault ui/lang = QString(ru)"_s,
                          u"value QString(ru)"_s, u"held"_s, u"not in Runtime"_s, u"available"_s}));
    host.manager.clearStorage(SettingsType::Runtime);
    host.journal.take();
    host.manager.clearStorage(SettingsType::RavonaConfDefault);
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: RavonaConfDefault cleared"_s,
                          u"handler: RavonaConfDefault ui/lang = invalid"_s, u"value invalid"_s,
                          u"gone"_s, u"not in Runtime"_s, u"missing"_s}));
}

void tst_LayeredAccess::aLoggerSeesTheChangeThatItIsToldOf()
{
    class ReadingLogger final : public ILogger
    {
    public:
        void error(const QString &message) override { read(message); }
        void warning(const QString &message) override { read(message); }
        void info(const QString &message) override { read(message); }
        void debug(const QString &message) override { read(message); }

        const ConfigurationManager *manager = nullptr;
        QStringList lines;

    private:
        void read(const QString &message)
        {
            // cppcheck-suppress nullPointer; set before the first line
            lines.append(describe(manager->value(u"ui"_s, u"lang"_s)) + " at: "_L1 + message);
        }
    } logger;
    ConfigurationManager manager(&logger);
    logger.manager = &manager;

    manager.clearStorage(SettingsType::Rdm);
    manager.initStorage(SettingsType::Rdm, groupMap(u"ui"_s, {{u"lang"_s, u"en"_s}}));
    manager.setValue(u"ui"_s, u"lang"_s, u"de"_s, SettingsType::Rdm);
    manager.initStorage(SettingsType::Runtime);
    manager.setValue(u"ui"_s, u"lang"_s, u"fr"_s, SettingsType::Runtime);
    manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(logger.lines,
             QStringList({
                     u"invalid at: Unable to remove storage Rdm. Storage does not exist"_s,
                     u"QString(en) at: Storage: Rdm initialized"_s,
                     u"QString(en) at: Top value changed Rdm: ui/lang = 'en'"_s,
                     u"QString(en) at: The storage doesn't support writing!"_s,
                     u"QString(en) at: Storage: Runtime initialized"_s,
                     u"QString(fr) at: Top value changed Runtime: ui/lang = 'fr'"_s,
                     u"QString(en) at: Storage: Runtime cleared"_s,
                     u"QString(en) at: Top value changed Rdm: ui/lang = 'en'"_s,
             }));
}

QTEST_GUILESS_MAIN(tst_LayeredAccess)
#include "tst_layeredaccess.moc"

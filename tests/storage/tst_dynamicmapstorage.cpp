// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/dynamicmapstorage.h"

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"
#include "storagetesting.h"

#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<AbstractStorage, DynamicMapStorage>);
static_assert(std::has_virtual_destructor_v<DynamicMapStorage>);
static_assert(std::is_nothrow_destructible_v<DynamicMapStorage>);
static_assert(!std::is_copy_constructible_v<DynamicMapStorage>);
static_assert(!std::is_move_constructible_v<DynamicMapStorage>);
static_assert(!std::is_copy_assignable_v<DynamicMapStorage>);
static_assert(!std::is_move_assignable_v<DynamicMapStorage>);

namespace {

/*! A Runtime layer whose log and notifications end up in one journal. */
struct Layer
{
    Journal journal;
    RecordingHandler handler{&journal};
    RecordingLogger logger{&journal};
    DynamicMapStorage storage{SettingsType::Runtime, &handler, &logger};
};

/*! A type that cannot be compared. */
struct Opaque
{
    int number = 0;
};

/*! Says what happens while the storage compares it; equal to everything. */
struct Probe
{
    std::function<void()> onCompare;

    friend bool operator==(const Probe &left, const Probe &right)
    {
        (left.onCompare ? left.onCompare : right.onCompare)();
        return true;
    }
};

} // namespace

class tst_DynamicMapStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFreshStorageIsAvailableAndEmpty();
    void itKeepsWhatItWasBuiltWith_data();
    void itKeepsWhatItWasBuiltWith();

    void aValueIsHeldAndReportedAsItWasWritten_data();
    void aValueIsHeldAndReportedAsItWasWritten();
    void onlyTheVeryPairIsHeld_data();
    void onlyTheVeryPairIsHeld();
    void onlyAChangeIsReported();
    void anEqualValueIsNeitherWrittenNorReported_data();
    void anEqualValueIsNeitherWrittenNorReported();
    void aDifferentValueReplacesTheOldOne_data();
    void aDifferentValueReplacesTheOldOne();
    void changesByTheCallerDoNotReachTheStorage();

    void aRemovalIsReportedOnceAsAnInvalidValue();
    void removingWhatIsNotThereTellsNobody_data();
    void removingWhatIsNotThereTellsNobody();
    void aRemovalLeavesTheOtherPairsAlone();
    void anEmptiedGroupLooksMissingAndCanBeFilledAgain();

    void keysAreSortedByGroupAndThenByKey();
    void keysAreASnapshot();
    void readingCreatesNothing();

    void theHandlerSeesTheChangeInTheStorage();
    void theHandlerMayWrite();
    void theHandlerMayRemove();
    void theHandlerRunsOnTheThreadOfTheChange();
    void anotherThreadMayWriteWhileTheHandlerRuns();
    void theHandlerMayDeleteTheStorage();
    void aThrowingHandlerLeavesTheChangeAndTheLockFree();
    void aThrowingComparisonLeavesTheLockFree();
    void availabilityNeedsNoLock();
    void destructionTellsNobody();
    void neitherHandlerNorLoggerIsNeeded();

    void ofManyEqualWritesOneIsReported();
    void ofManyRemovalsOneIsReported();
    void readersSeeWholeValuesOnly();
    void keysNeverShowHalfAChange();
};

void tst_DynamicMapStorage::aFreshStorageIsAvailableAndEmpty()
{
    Layer layer;
    QVERIFY(layer.storage.isAvailable());
    QCOMPARE(layer.storage.keys(), KeyList());
    QVERIFY(!layer.storage.contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage.value(u"g"_s, u"k"_s).isValid());
    QVERIFY(!layer.storage.contains(QString(), QString()));
    QVERIFY(!layer.storage.value(QString(), QString()).isValid());
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_DynamicMapStorage::itKeepsWhatItWasBuiltWith_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("heard");
    QTest::newRow("SystemProperties")
            << SettingsType::SystemProperties << u"handler: SystemProperties g/k = int(1)"_s;
    QTest::newRow("Runtime") << SettingsType::Runtime << u"handler: Runtime g/k = int(1)"_s;
}

void tst_DynamicMapStorage::itKeepsWhatItWasBuiltWith()
{
    QFETCH(SettingsType, type);
    QFETCH(QString, heard);
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    DynamicMapStorage storage(type, &handler, &logger);
    QCOMPARE(storage.type(), type);
    QCOMPARE(storage.logger(), &logger);
    storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(journal.take(), QStringList(heard));
}

void tst_DynamicMapStorage::aValueIsHeldAndReportedAsItWasWritten_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("number") << QVariant(5);
    QTest::newRow("large number") << QVariant(Q_INT64_C(-5'000'000'000));
    QTest::newRow("fraction") << QVariant(0.5);
    QTest::newRow("truth") << QVariant(false);
    QTest::newRow("text") << QVariant(u"en"_s);
    QTest::newRow("empty text") << QVariant(u""_s);
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff", 2));
    QTest::newRow("list") << QVariant(QVariantList{1, u"two"_s, QVariant()});
    QTest::newRow("map") << QVariant(QVariantMap{{u"a"_s, 1}, {u"b"_s, QVariantMap()}});
    QTest::newRow("null number") << QVariant(QMetaType::fromType<int>());
    QTest::newRow("invalid") << QVariant();
}

void tst_DynamicMapStorage::aValueIsHeldAndReportedAsItWasWritten()
{
    QFETCH(QVariant, value);
    Layer layer;
    QStringList reported;
    layer.handler.reaction = [&reported](SettingsType, const QString &, const QString &,
                                         const QVariant &heard) { reported.append(shown(heard)); };
    layer.storage.setValue(u"g"_s, u"k"_s, value);
    QVERIFY(layer.storage.contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(value));
    QCOMPARE(layer.storage.value(u"g"_s, u"k"_s).isNull(), value.isNull());
    QCOMPARE(layer.storage.keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(reported, QStringList(shown(value)));
}

void tst_DynamicMapStorage::onlyTheVeryPairIsHeld_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::newRow("other key") << u"Group"_s << u"Other"_s;
    QTest::newRow("other group") << u"Other"_s << u"Key"_s;
    QTest::newRow("group and key swapped") << u"Key"_s << u"Group"_s;
    QTest::newRow("key in another case") << u"Group"_s << u"key"_s;
    QTest::newRow("group in another case") << u"group"_s << u"Key"_s;
    QTest::newRow("empty key") << u"Group"_s << u""_s;
    QTest::newRow("empty group") << u""_s << u"Key"_s;
    QTest::newRow("joined as one key") << u""_s << u"Group/Key"_s;
    QTest::newRow("joined as one group") << u"Group/Key"_s << u""_s;
}

void tst_DynamicMapStorage::onlyTheVeryPairIsHeld()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    Layer layer;
    layer.storage.setValue(u"Group"_s, u"Key"_s, u"held"_s);
    QVERIFY(!layer.storage.contains(group, key));
    QVERIFY(!layer.storage.value(group, key).isValid());

    // The pair itself can be held next to the other one.
    layer.storage.setValue(group, key, u"held too"_s);
    QCOMPARE(layer.storage.value(group, key), QVariant(u"held too"_s));
    QCOMPARE(layer.storage.value(u"Group"_s, u"Key"_s), QVariant(u"held"_s));
    QCOMPARE(layer.storage.keys().size(), 2);
}

void tst_DynamicMapStorage::onlyAChangeIsReported()
{
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage.setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(2)"_s));
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(1));
}

void tst_DynamicMapStorage::anEqualValueIsNeitherWrittenNorReported_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("written");
    const QVariantMap map{{u"a"_s, 1}};
    const QVariantMap equalMap{{u"a"_s, 1.0}};
    QTest::newRow("same text") << QVariant(u"en"_s) << QVariant(u"en"_s);
    QTest::newRow("number as fraction") << QVariant(1) << QVariant(1.0);
    QTest::newRow("fraction as number") << QVariant(1.0) << QVariant(1);
    QTest::newRow("number as text") << QVariant(1) << QVariant(u"1"_s);
    QTest::newRow("text as number") << QVariant(u"1"_s) << QVariant(1);
    QTest::newRow("number as text with a zero in front") << QVariant(1) << QVariant(u"01"_s);
    QTest::newRow("fraction as text") << QVariant(1.5) << QVariant(u"1.5"_s);
    QTest::newRow("number as truth") << QVariant(1) << QVariant(true);
    QTest::newRow("truth as text") << QVariant(true) << QVariant(u"true"_s);
    QTest::newRow("number of another size") << QVariant(5) << QVariant(Q_INT64_C(5));
    QTest::newRow("zero as null number") << QVariant(0) << QVariant(QMetaType::fromType<int>());
    QTest::newRow("empty text as null text") << QVariant(u""_s) << QVariant(QString());
    QTest::newRow("map of equal values") << QVariant(map) << QVariant(equalMap);
    QTest::newRow("invalid") << QVariant() << QVariant();
}

void tst_DynamicMapStorage::anEqualValueIsNeitherWrittenNorReported()
{
    QFETCH(QVariant, stored);
    QFETCH(QVariant, written);
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, stored);
    layer.journal.take();
    layer.storage.setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(), QStringList());
    const QVariant value = layer.storage.value(u"g"_s, u"k"_s);
    QCOMPARE(shown(value), shown(stored));
    QCOMPARE(value.isNull(), stored.isNull());
    QCOMPARE(value.toString().isNull(), stored.toString().isNull());
}

void tst_DynamicMapStorage::aDifferentValueReplacesTheOldOne_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("written");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("other text") << QVariant(u"en"_s) << QVariant(u"ru"_s);
    QTest::newRow("text in another case") << QVariant(u"en"_s) << QVariant(u"EN"_s);
    QTest::newRow("number as text that is no integer") << QVariant(1) << QVariant(u"1.0"_s);
    QTest::newRow("number as bytes") << QVariant(1) << QVariant(QByteArray("1"));
    QTest::newRow("zero as text that is no number") << QVariant(0) << QVariant(u"off"_s);
    QTest::newRow("texts of one number") << QVariant(u"1"_s) << QVariant(u"01"_s);
    QTest::newRow("text as list of it") << QVariant(u"a"_s) << QVariant(QStringList(u"a"_s));
    QTest::newRow("list in another order")
            << QVariant(QVariantList{1, 2}) << QVariant(QVariantList{2, 1});
    QTest::newRow("not a number") << QVariant(nan) << QVariant(nan);
    QTest::newRow("type without comparison")
            << QVariant::fromValue(Opaque{1}) << QVariant::fromValue(Opaque{1});
    QTest::newRow("invalid over null number") << QVariant(QMetaType::fromType<int>()) << QVariant();
    QTest::newRow("invalid over empty text") << QVariant(u""_s) << QVariant();
    QTest::newRow("empty text over invalid") << QVariant() << QVariant(u""_s);
}

void tst_DynamicMapStorage::aDifferentValueReplacesTheOldOne()
{
    QFETCH(QVariant, stored);
    QFETCH(QVariant, written);
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, stored);
    layer.journal.take();
    layer.storage.setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(), QStringList("handler: Runtime g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(written));
    QCOMPARE(layer.storage.keys(), KeyList({{u"g"_s, u"k"_s}}));
}

void tst_DynamicMapStorage::changesByTheCallerDoNotReachTheStorage()
{
    Layer layer;
    QString group = u"g"_s;
    QString key = u"k"_s;
    QVariant written = QVariantMap{{u"a"_s, 1}};
    layer.storage.setValue(group, key, written);
    group[0] = u'x';
    key[0] = u'x';
    (*static_cast<QVariantMap *>(written.data()))[u"a"_s] = 2;
    QVariant read = layer.storage.value(u"g"_s, u"k"_s);
    (*static_cast<QVariantMap *>(read.data()))[u"a"_s] = 3;

    QCOMPARE(layer.storage.keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(QVariantMap{{u"a"_s, 1}}));

    layer.storage.setValue(u"g"_s, u"k"_s, 5);
    QCOMPARE(shown(read), shown(QVariantMap{{u"a"_s, 3}}));
}

void tst_DynamicMapStorage::aRemovalIsReportedOnceAsAnInvalidValue()
{
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    layer.journal.take();
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = invalid"_s));
    QVERIFY(!layer.storage.contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage.value(u"g"_s, u"k"_s).isValid());
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList());

    // An invalid value is an entry like any other.
    layer.storage.setValue(u"g"_s, u"k"_s, QVariant());
    layer.journal.take();
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = invalid"_s));
    QVERIFY(!layer.storage.contains(u"g"_s, u"k"_s));
}

void tst_DynamicMapStorage::removingWhatIsNotThereTellsNobody_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::newRow("missing group") << u"Other"_s << u"Key"_s;
    QTest::newRow("missing key") << u"Group"_s << u"Other"_s;
    QTest::newRow("key in another case") << u"Group"_s << u"key"_s;
    QTest::newRow("group in another case") << u"group"_s << u"Key"_s;
    QTest::newRow("empty key") << u"Group"_s << u""_s;
    QTest::newRow("empty group") << u""_s << u"Key"_s;
    QTest::newRow("nothing at all") << QString() << QString();
}

void tst_DynamicMapStorage::removingWhatIsNotThereTellsNobody()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    Layer layer;
    layer.storage.setValue(u"Group"_s, u"Key"_s, 1);
    layer.journal.take();
    layer.storage.remove(group, key);
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(layer.storage.keys(), KeyList({{u"Group"_s, u"Key"_s}}));
    QCOMPARE(shown(layer.storage.value(u"Group"_s, u"Key"_s)), shown(1));
}

void tst_DynamicMapStorage::aRemovalLeavesTheOtherPairsAlone()
{
    Layer layer;
    layer.storage.setValue(u"a"_s, u"k"_s, 1);
    layer.storage.setValue(u"a"_s, u"k/below"_s, 2);
    layer.storage.setValue(u"a"_s, u"l"_s, 3);
    layer.storage.setValue(u"b"_s, u"k"_s, 4);
    layer.journal.take();
    layer.storage.remove(u"a"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime a/k = invalid"_s));
    QCOMPARE(layer.storage.keys(),
             KeyList({{u"a"_s, u"k/below"_s}, {u"a"_s, u"l"_s}, {u"b"_s, u"k"_s}}));
    QCOMPARE(shown(layer.storage.value(u"a"_s, u"k/below"_s)), shown(2));
    QCOMPARE(shown(layer.storage.value(u"a"_s, u"l"_s)), shown(3));
    QCOMPARE(shown(layer.storage.value(u"b"_s, u"k"_s)), shown(4));
}

void tst_DynamicMapStorage::anEmptiedGroupLooksMissingAndCanBeFilledAgain()
{
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    layer.storage.setValue(u"h"_s, u"k"_s, 2);
    layer.storage.remove(u"g"_s, u"k"_s);
    layer.journal.take();
    QCOMPARE(layer.storage.keys(), KeyList({{u"h"_s, u"k"_s}}));
    QVERIFY(!layer.storage.contains(u"g"_s, u"k"_s));
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList());

    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(1));
    QCOMPARE(layer.storage.keys(), KeyList({{u"g"_s, u"k"_s}, {u"h"_s, u"k"_s}}));
}

void tst_DynamicMapStorage::keysAreSortedByGroupAndThenByKey()
{
    // The order is that of UTF-16 code units: upper case before lower case, and a character beyond
    // U+FFFF (made of surrogates) before U+FF21.
    const QString beyond = u"\U0001F600"_s;
    const QString fullWidth = u"\uFF21"_s;
    const QStringList sorted{u""_s,  u"10"_s, u"9"_s,      u"B"_s, u"Ba"_s,
                             u"a"_s, u"b"_s,  u"\u00E4"_s, beyond, fullWidth};
    KeyList expected;
    for (const QString &group : sorted) {
        for (const QString &key : sorted)
            expected.append({group, key});
    }
    Layer layer;
    for (const auto &[group, key] : std::as_const(expected))
        layer.storage.setValue(key, group, 1); // groups and keys arrive in another order
    QCOMPARE(layer.storage.keys(), expected);

    Layer backwards;
    for (auto pair = expected.crbegin(); pair != expected.crend(); ++pair)
        backwards.storage.setValue(pair->first, pair->second, 1);
    QCOMPARE(backwards.storage.keys(), expected);
}

void tst_DynamicMapStorage::keysAreASnapshot()
{
    Layer layer;
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    const KeyList before = layer.storage.keys();
    layer.storage.setValue(u"g"_s, u"a"_s, 2);
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(before, KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(layer.storage.keys(), KeyList({{u"g"_s, u"a"_s}}));
}

void tst_DynamicMapStorage::readingCreatesNothing()
{
    Layer layer;
    const DynamicMapStorage &storage = layer.storage; // reading works on a constant storage
    (void)storage.contains(u"g"_s, u"k"_s);
    (void)storage.value(u"g"_s, u"k"_s);
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(storage.keys(), KeyList());
    QVERIFY(!storage.contains(u"g"_s, u"k"_s));
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_DynamicMapStorage::theHandlerSeesTheChangeInTheStorage()
{
    const Watchdog watchdog;
    Layer layer;
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &) {
        layer.journal.add(layer.storage.contains(group, key) ? u"held"_s : u"gone"_s);
        layer.journal.add(shown(layer.storage.value(group, key)));
        layer.journal.add(QString::number(layer.storage.keys().size()));
        layer.journal.add(layer.storage.isAvailable() ? u"available"_s : u"unavailable"_s);
    };
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = int(1)"_s, u"held"_s, shown(1), u"1"_s,
                          u"available"_s}));
    layer.storage.setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = int(2)"_s, u"held"_s, shown(2), u"1"_s,
                          u"available"_s}));
    layer.storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = invalid"_s, u"gone"_s, shown(QVariant()), u"0"_s,
                          u"available"_s}));
}

void tst_DynamicMapStorage::theHandlerMayWrite()
{
    const Watchdog watchdog;
    Layer layer;
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &value) {
        if (value.toInt() < 3)
            layer.storage.setValue(group, key, value.toInt() + 1);
        layer.storage.setValue(group, u"echo"_s, 9);
        layer.journal.add(u"done with "_s + describe(value));
    };
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = int(1)"_s, u"handler: Runtime g/k = int(2)"_s,
                          u"handler: Runtime g/k = int(3)"_s, u"handler: Runtime g/echo = int(9)"_s,
                          u"done with int(9)"_s, u"done with int(3)"_s, u"done with int(2)"_s,
                          u"done with int(1)"_s}));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(3));
}

void tst_DynamicMapStorage::theHandlerMayRemove()
{
    const Watchdog watchdog;
    Layer layer;
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &) { layer.storage.remove(group, key); };
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(
            layer.journal.take(),
            QStringList({u"handler: Runtime g/k = int(1)"_s, u"handler: Runtime g/k = invalid"_s}));
    QCOMPARE(layer.storage.keys(), KeyList());
}

void tst_DynamicMapStorage::theHandlerRunsOnTheThreadOfTheChange()
{
    Layer layer;
    std::vector<std::thread::id> heardOn;
    layer.handler.reaction
            = [&heardOn](SettingsType, const QString &, const QString &, const QVariant &) {
                  heardOn.push_back(std::this_thread::get_id());
              };
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    std::thread other([&layer] { layer.storage.remove(u"g"_s, u"k"_s); });
    const std::thread::id otherId = other.get_id();
    other.join();
    QCOMPARE(heardOn.size(), std::size_t(2));
    QVERIFY(heardOn.front() == std::this_thread::get_id());
    QVERIFY(heardOn.back() == otherId);
}

void tst_DynamicMapStorage::anotherThreadMayWriteWhileTheHandlerRuns()
{
    const Watchdog watchdog;
    Layer layer;
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &value) {
        if (value == QVariant(u"first"_s)) {
            std::thread([&layer, group, key] {
                layer.storage.setValue(group, key, u"slipped in"_s);
            }).join();
        }
        layer.journal.add(describe(value) + " heard, held: "_L1
                          + describe(layer.storage.value(group, key)));
    };
    layer.storage.setValue(u"g"_s, u"k"_s, u"first"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = QString(first)"_s,
                          u"handler: Runtime g/k = QString(slipped in)"_s,
                          u"QString(slipped in) heard, held: QString(slipped in)"_s,
                          u"QString(first) heard, held: QString(slipped in)"_s}));
}

void tst_DynamicMapStorage::theHandlerMayDeleteTheStorage()
{
    // Nothing of the storage may be touched after the notification; AddressSanitizer sees it.
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    std::unique_ptr<AbstractStorage> storage;
    handler.reaction
            = [&storage](SettingsType, const QString &, const QString &, const QVariant &value) {
                  if (value != QVariant(u"keep"_s))
                      storage.reset();
              };
    storage = std::make_unique<DynamicMapStorage>(SettingsType::Runtime, &handler, &logger);
    storage->setValue(u"g"_s, u"k"_s, 1);
    QVERIFY(!storage);
    storage = std::make_unique<DynamicMapStorage>(SettingsType::Runtime, &handler, &logger);
    storage->setValue(u"g"_s, u"k"_s, u"keep"_s);
    storage->remove(u"g"_s, u"k"_s);
    QVERIFY(!storage);
    QCOMPARE(journal.take(),
             QStringList({u"handler: Runtime g/k = int(1)"_s,
                          u"handler: Runtime g/k = QString(keep)"_s,
                          u"handler: Runtime g/k = invalid"_s}));
}

void tst_DynamicMapStorage::aThrowingHandlerLeavesTheChangeAndTheLockFree()
{
    const Watchdog watchdog;
    Layer layer;
    layer.handler.reaction = [](SettingsType, const QString &, const QString &, const QVariant &) {
        throw std::runtime_error("handler");
    };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, layer.storage.setValue(u"g"_s, u"k"_s, 1));
    QCOMPARE(shown(layer.storage.value(u"g"_s, u"k"_s)), shown(1));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, layer.storage.remove(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage.contains(u"g"_s, u"k"_s));
    QCOMPARE(layer.storage.keys(), KeyList());
}

void tst_DynamicMapStorage::aThrowingComparisonLeavesTheLockFree()
{
    const Watchdog watchdog;
    Layer layer;
    const Probe probe{[] { throw std::runtime_error("comparison"); }};
    layer.storage.setValue(u"g"_s, u"k"_s, QVariant::fromValue(probe));
    layer.journal.take();
    QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                             layer.storage.setValue(u"g"_s, u"k"_s, QVariant::fromValue(Probe())));
    QCOMPARE(layer.journal.take(), QStringList());
    QVERIFY(layer.storage.value(u"g"_s, u"k"_s).value<Probe>().onCompare); // the old one
    layer.storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
}

void tst_DynamicMapStorage::availabilityNeedsNoLock()
{
    const Watchdog watchdog;
    Layer layer;
    QList<bool> answers;
    // The comparison runs inside the locked part of a write.
    const Probe probe{[&] { answers.append(layer.storage.isAvailable()); }};
    layer.storage.setValue(u"g"_s, u"k"_s, QVariant::fromValue(probe));
    layer.storage.setValue(u"g"_s, u"k"_s, QVariant::fromValue(Probe()));
    QCOMPARE(answers, QList<bool>({true}));
}

void tst_DynamicMapStorage::destructionTellsNobody()
{
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    std::unique_ptr<AbstractStorage> storage
            = std::make_unique<DynamicMapStorage>(SettingsType::Runtime, &handler, &logger);
    const auto tracked = std::make_shared<int>(1);
    storage->setValue(u"g"_s, u"k"_s, QVariant::fromValue(tracked));
    journal.take();
    QCOMPARE(tracked.use_count(), 2L);
    storage.reset();
    QCOMPARE(journal.take(), QStringList());
    QCOMPARE(tracked.use_count(), 1L); // the values went with the storage
}

void tst_DynamicMapStorage::neitherHandlerNorLoggerIsNeeded()
{
    DynamicMapStorage storage(SettingsType::Runtime, nullptr, nullptr);
    storage.setValue(u"g"_s, u"k"_s, 1);
    storage.setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(shown(storage.value(u"g"_s, u"k"_s)), shown(2));
    storage.remove(u"g"_s, u"k"_s);
    storage.remove(u"g"_s, u"k"_s);
    QVERIFY(!storage.contains(u"g"_s, u"k"_s));
}

void tst_DynamicMapStorage::ofManyEqualWritesOneIsReported()
{
    // Comparing and writing are one step: of the threads that write a value one finds it new.
    const Watchdog watchdog;
    Layer layer;
    QStringList expected;
    for (int i = 0; i < 1000; ++i)
        expected.append(u"handler: Runtime g/%1 = int(7)"_s.arg(i, 4, 10, '0'_L1));
    runTogether(4, [&layer](int) {
        for (int i = 0; i < 1000; ++i)
            layer.storage.setValue(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1), 7);
    });
    QStringList heard = layer.journal.take();
    heard.sort();
    QCOMPARE(heard, expected);
    QCOMPARE(layer.storage.keys().size(), 1000);
}

void tst_DynamicMapStorage::ofManyRemovalsOneIsReported()
{
    const Watchdog watchdog;
    Layer layer;
    QStringList expected;
    for (int i = 0; i < 1000; ++i) {
        layer.storage.setValue(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1), 7);
        expected.append(u"handler: Runtime g/%1 = invalid"_s.arg(i, 4, 10, '0'_L1));
    }
    layer.journal.take();
    runTogether(4, [&layer](int) {
        for (int i = 0; i < 1000; ++i)
            layer.storage.remove(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1));
    });
    QStringList heard = layer.journal.take();
    heard.sort();
    QCOMPARE(heard, expected);
    QCOMPARE(layer.storage.keys(), KeyList());
}

void tst_DynamicMapStorage::readersSeeWholeValuesOnly()
{
    // The pair always holds one of two texts, while its neighbours come and go, so that the map
    // around it is in motion.
    const Watchdog watchdog;
    DynamicMapStorage storage(SettingsType::Runtime, nullptr, nullptr);
    const QStringList texts{QString(200, u'a'), QString(200, u'b')};
    storage.setValue(u"g"_s, u"k"_s, texts.first());
    std::atomic<int> writing = 2;
    std::atomic<int> reads = 0;
    std::atomic<int> wrong = 0;
    runTogether(4, [&](int thread) {
        if (thread < 2) {
            for (int i = 0; i < 2000; ++i) {
                storage.setValue(u"g"_s, u"k"_s, texts.at(i % 2));
                const QString neighbour = QString::number(i % 50);
                if (i % 100 < 50)
                    storage.setValue(u"g"_s, neighbour, i);
                else
                    storage.remove(u"g"_s, neighbour);
            }
            --writing;
            return;
        }
        do {
            ++reads;
            const bool held = storage.contains(u"g"_s, u"k"_s);
            if (!held || !texts.contains(storage.value(u"g"_s, u"k"_s).toString()))
                ++wrong;
        } while (writing > 0);
    });
    QVERIFY(reads > 0);
    QCOMPARE(wrong.load(), 0);
}

void tst_DynamicMapStorage::keysNeverShowHalfAChange()
{
    // One thread grows the group from the front and shrinks it from the back, so that each moment
    // shows the first few keys and no others.
    const Watchdog watchdog;
    DynamicMapStorage storage(SettingsType::Runtime, nullptr, nullptr);
    const QStringList names{u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s, u"h"_s};
    KeyList all;
    for (const QString &name : names)
        all.append({u"g"_s, name});
    std::atomic<bool> writing = true;
    std::atomic<int> listings = 0;
    std::atomic<int> wrong = 0;
    runTogether(3, [&](int thread) {
        if (thread == 0) {
            for (int i = 0; i < 300; ++i) {
                for (const QString &name : names)
                    storage.setValue(u"g"_s, name, 1);
                for (auto name = names.crbegin(); name != names.crend(); ++name)
                    storage.remove(u"g"_s, *name);
            }
            writing = false;
            return;
        }
        do {
            ++listings;
            const KeyList keys = storage.keys();
            if (keys != all.first(std::min(keys.size(), all.size())))
                ++wrong;
        } while (writing);
    });
    QVERIFY(listings > 0);
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(storage.keys(), KeyList());
}

QTEST_GUILESS_MAIN(tst_DynamicMapStorage)
#include "tst_dynamicmapstorage.moc"

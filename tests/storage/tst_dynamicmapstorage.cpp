// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/dynamicmapstorage.h"

#include "storagetesting.h"
#include "threads.h"

#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

using Layer = RecordedStorage<DynamicMapStorage, SettingsType::Runtime>;

// A type that cannot be compared.
struct Opaque
{
    int number = 0;
};

// Calls a function while the storage compares it; equal to everything.
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
    void aValueIsHeldAndNotifiedAsItWasWritten_data();
    void aValueIsHeldAndNotifiedAsItWasWritten();
    void anEqualValueIsNeitherWrittenNorNotified_data();
    void anEqualValueIsNeitherWrittenNorNotified();
    void aDifferentValueReplacesTheOldOne_data();
    void aDifferentValueReplacesTheOldOne();
    void changesByTheCallerDoNotReachTheStorage();

    void anInvalidValueIsRemovedAsAnyOther();
    void removingWhatIsNotThereNotifiesNoHandler_data();
    void removingWhatIsNotThereNotifiesNoHandler();
    void aRemovalLeavesTheOtherPairsAlone();
    void anEmptiedGroupLooksMissingAndCanBeFilledAgain();

    void aThrowingComparisonLeavesTheLockFree();
    void availabilityNeedsNoLock();

    void ofManyEqualWritesOneIsNotified();
    void ofManyRemovalsOneIsNotified();
    void readersSeeWholeValuesOnly();
    void keysNeverShowHalfAChange();
};

void tst_DynamicMapStorage::aValueIsHeldAndNotifiedAsItWasWritten_data()
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

void tst_DynamicMapStorage::aValueIsHeldAndNotifiedAsItWasWritten()
{
    QFETCH(const QVariant, value);
    Layer layer;
    QStringList notified;
    layer.handler.reaction = [&notified](SettingsType, const QString &, const QString &,
                                         const QVariant &given) { notified.append(shown(given)); };
    layer.storage->setValue(u"g"_s, u"k"_s, value);
    QVERIFY(layer.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(value));
    QCOMPARE(layer.storage->value(u"g"_s, u"k"_s).isNull(), value.isNull());
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(notified, QStringList(shown(value)));
}

void tst_DynamicMapStorage::anEqualValueIsNeitherWrittenNorNotified_data()
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

void tst_DynamicMapStorage::anEqualValueIsNeitherWrittenNorNotified()
{
    QFETCH(const QVariant, stored);
    QFETCH(const QVariant, written);
    Layer layer;
    layer.storage->setValue(u"g"_s, u"k"_s, stored);
    layer.journal.take();
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(), QStringList());
    const QVariant value = layer.storage->value(u"g"_s, u"k"_s);
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
    QFETCH(const QVariant, stored);
    QFETCH(const QVariant, written);
    Layer layer;
    layer.storage->setValue(u"g"_s, u"k"_s, stored);
    layer.journal.take();
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(), QStringList("handler: Runtime g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
}

void tst_DynamicMapStorage::changesByTheCallerDoNotReachTheStorage()
{
    Layer layer;
    QString group = u"g"_s;
    QString key = u"k"_s;
    QVariant written = QVariantMap{{u"a"_s, 1}};
    layer.storage->setValue(group, key, written);
    group[0] = u'x';
    key[0] = u'x';
    (*static_cast<QVariantMap *>(written.data()))[u"a"_s] = 2;
    QVariant read = layer.storage->value(u"g"_s, u"k"_s);
    (*static_cast<QVariantMap *>(read.data()))[u"a"_s] = 3;

    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(QVariantMap{{u"a"_s, 1}}));

    layer.storage->setValue(u"g"_s, u"k"_s, 5);
    QCOMPARE(shown(read), shown(QVariantMap{{u"a"_s, 3}}));
}

void tst_DynamicMapStorage::anInvalidValueIsRemovedAsAnyOther()
{
    Layer layer;
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant());
    layer.journal.take();
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = invalid"_s));
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
}

void tst_DynamicMapStorage::removingWhatIsNotThereNotifiesNoHandler_data()
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

void tst_DynamicMapStorage::removingWhatIsNotThereNotifiesNoHandler()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    Layer layer;
    layer.storage->setValue(u"Group"_s, u"Key"_s, 1);
    layer.journal.take();
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(layer.storage->keys(), KeyList({{u"Group"_s, u"Key"_s}}));
    QCOMPARE(shown(layer.storage->value(u"Group"_s, u"Key"_s)), shown(1));
}

void tst_DynamicMapStorage::aRemovalLeavesTheOtherPairsAlone()
{
    Layer layer;
    layer.storage->setValue(u"a"_s, u"k"_s, 1);
    layer.storage->setValue(u"a"_s, u"k/below"_s, 2);
    layer.storage->setValue(u"a"_s, u"l"_s, 3);
    layer.storage->setValue(u"b"_s, u"k"_s, 4);
    layer.journal.take();
    layer.storage->remove(u"a"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime a/k = invalid"_s));
    QCOMPARE(layer.storage->keys(),
             KeyList({{u"a"_s, u"k/below"_s}, {u"a"_s, u"l"_s}, {u"b"_s, u"k"_s}}));
    QCOMPARE(shown(layer.storage->value(u"a"_s, u"k/below"_s)), shown(2));
    QCOMPARE(shown(layer.storage->value(u"a"_s, u"l"_s)), shown(3));
    QCOMPARE(shown(layer.storage->value(u"b"_s, u"k"_s)), shown(4));
}

void tst_DynamicMapStorage::anEmptiedGroupLooksMissingAndCanBeFilledAgain()
{
    Layer layer;
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage->setValue(u"h"_s, u"k"_s, 2);
    layer.storage->remove(u"g"_s, u"k"_s);
    layer.journal.take();
    QCOMPARE(layer.storage->keys(), KeyList({{u"h"_s, u"k"_s}}));
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList());

    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(1));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}, {u"h"_s, u"k"_s}}));
}

void tst_DynamicMapStorage::aThrowingComparisonLeavesTheLockFree()
{
    const Watchdog watchdog;
    Layer layer;
    const Probe probe{[] { throw std::runtime_error("comparison"); }};
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant::fromValue(probe));
    layer.journal.take();
    QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                             layer.storage->setValue(u"g"_s, u"k"_s, QVariant::fromValue(Probe())));
    QCOMPARE(layer.journal.take(), QStringList());
    QVERIFY(layer.storage->value(u"g"_s, u"k"_s).value<Probe>().onCompare); // the old one
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));
}

void tst_DynamicMapStorage::availabilityNeedsNoLock()
{
    const Watchdog watchdog;
    Layer layer;
    QList<bool> answers;
    // The comparison runs inside the locked part of a write.
    const Probe probe{[&] { answers.append(layer.storage->isAvailable()); }};
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant::fromValue(probe));
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant::fromValue(Probe()));
    QCOMPARE(answers, QList<bool>({true}));
}

void tst_DynamicMapStorage::ofManyEqualWritesOneIsNotified()
{
    // Comparing and writing are one step: of the threads that write a value one finds it new.
    const Watchdog watchdog;
    Layer layer;
    QStringList expected;
    for (int i = 0; i < 1000; ++i)
        expected.append(u"handler: Runtime g/%1 = int(7)"_s.arg(i, 4, 10, '0'_L1));
    runTogether(4, [&layer](int) {
        for (int i = 0; i < 1000; ++i)
            layer.storage->setValue(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1), 7);
    });
    QStringList notified = layer.journal.take();
    notified.sort();
    QCOMPARE(notified, expected);
    QCOMPARE(layer.storage->keys().size(), 1000);
}

void tst_DynamicMapStorage::ofManyRemovalsOneIsNotified()
{
    const Watchdog watchdog;
    Layer layer;
    QStringList expected;
    for (int i = 0; i < 1000; ++i) {
        layer.storage->setValue(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1), 7);
        expected.append(u"handler: Runtime g/%1 = invalid"_s.arg(i, 4, 10, '0'_L1));
    }
    layer.journal.take();
    runTogether(4, [&layer](int) {
        for (int i = 0; i < 1000; ++i)
            layer.storage->remove(u"g"_s, u"%1"_s.arg(i, 4, 10, '0'_L1));
    });
    QStringList notified = layer.journal.take();
    notified.sort();
    QCOMPARE(notified, expected);
    QCOMPARE(layer.storage->keys(), KeyList());
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

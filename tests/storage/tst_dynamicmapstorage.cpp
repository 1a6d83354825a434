// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/dynamicmapstorage.h"

#include "comparejournal.h"
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

using Layer = RecordedStorage<DynamicMapStorage, Runtime>;

// A type that cannot be compared.
struct Opaque
{
    int number = 0;
};

// Calls a function when the storage compares it; equal to everything.
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
    void onlyADifferentValueIsWritten_data();
    void onlyADifferentValueIsWritten();
    void changesByTheCallerDoNotReachTheStorage();

    void anInvalidValueIsRemovedAsAnyOther();
    void removingWhatIsNotThereNotifiesNoHandler();
    void aRemovalLeavesTheOtherKeysAlone();
    void anEmptiedGroupLooksMissingAndCanBeFilledAgain();

    void aThrowingComparisonLeavesTheLockFree();
    void availabilityNeedsNoLock();

    void ofManyEqualChangesOneIsNotified();
    void keysNeverShowHalfAChange();
};

void tst_DynamicMapStorage::onlyADifferentValueIsWritten_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<bool>("isEqual");
    const auto equal = [](const QByteArray &name, const QVariant &stored, const QVariant &written) {
        QTest::newRow(QByteArray("equal: " + name).constData()) << stored << written << true;
    };
    const auto different = [](const QByteArray &name, const QVariant &stored,
                              const QVariant &written) {
        QTest::newRow(QByteArray("different: " + name).constData()) << stored << written << false;
    };
    const QVariantMap map{{u"a"_s, 1}};
    const QVariantMap equalMap{{u"a"_s, 1.0}};
    equal("same text", u"en"_s, u"en"_s);
    equal("number as fraction", 1, 1.0);
    equal("fraction as number", 1.0, 1);
    equal("number as text", 1, u"1"_s);
    equal("text as number", u"1"_s, 1);
    equal("number as text with a zero in front", 1, u"01"_s);
    equal("fraction as text", 1.5, u"1.5"_s);
    equal("number as truth", 1, true);
    equal("truth as text", true, u"true"_s);
    equal("number of another size", 5, Q_INT64_C(5));
    equal("zero as null number", 0, QVariant(QMetaType::fromType<int>()));
    equal("empty text as null text", u""_s, QString());
    equal("map of equal values", map, equalMap);
    equal("invalid", QVariant(), QVariant());

    const double nan = std::numeric_limits<double>::quiet_NaN();
    different("other text", u"en"_s, u"ru"_s);
    different("text in another case", u"en"_s, u"EN"_s);
    different("number as text that is no integer", 1, u"1.0"_s);
    different("number as bytes", 1, QByteArray("1"));
    different("zero as text that is no number", 0, u"off"_s);
    different("texts of one number", u"1"_s, u"01"_s);
    different("text as list of it", u"a"_s, QStringList(u"a"_s));
    different("list in another order", QVariantList{1, 2}, QVariantList{2, 1});
    different("not a number", nan, nan);
    different("type without comparison", QVariant::fromValue(Opaque{1}),
              QVariant::fromValue(Opaque{1}));
    different("invalid over null number", QVariant(QMetaType::fromType<int>()), QVariant());
    different("invalid over empty text", u""_s, QVariant());
    different("empty text over invalid", QVariant(), u""_s);
}

void tst_DynamicMapStorage::onlyADifferentValueIsWritten()
{
    QFETCH(const QVariant, stored);
    QFETCH(const QVariant, written);
    QFETCH(const bool, isEqual);
    Layer layer;
    layer.storage->setValue(u"g"_s, u"k"_s, stored);
    layer.journal.take();
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             isEqual ? QStringList()
                     : QStringList("handler: Runtime g/k = "_L1 + describe(written)));
    const QVariant expected = isEqual ? stored : written;
    const QVariant value = layer.storage->value(u"g"_s, u"k"_s);
    QCOMPARE(shown(value), shown(expected));
    QCOMPARE(value.isNull(), expected.isNull());
    QCOMPARE(value.toString().isNull(), expected.toString().isNull());
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
    const QStringList notified(u"handler: Runtime g/k = invalid"_s);
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(layer.journal.take(), notified);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), notified);
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
}

void tst_DynamicMapStorage::removingWhatIsNotThereNotifiesNoHandler()
{
    Layer layer;
    layer.storage->setValue(u"Group"_s, u"Key"_s, 1);
    layer.journal.take();
    for (const auto &[group, key] : KeyList{{u"Other"_s, u"Key"_s},
                                            {u"Group"_s, u"Other"_s},
                                            {u"Group"_s, u"key"_s},
                                            {u"group"_s, u"Key"_s},
                                            {u"Group"_s, u""_s},
                                            {u""_s, u"Key"_s},
                                            {QString(), QString()}})
        layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(layer.storage->keys(), KeyList({{u"Group"_s, u"Key"_s}}));
}

void tst_DynamicMapStorage::aRemovalLeavesTheOtherKeysAlone()
{
    Layer layer;
    const KeyList keys{
            {u"a"_s, u"k"_s}, {u"a"_s, u"k/below"_s}, {u"a"_s, u"l"_s}, {u"b"_s, u"k"_s}};
    for (const auto &[group, key] : keys)
        layer.storage->setValue(group, key, QString(group + key));
    layer.journal.take();
    layer.storage->remove(u"a"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime a/k = invalid"_s));
    QCOMPARE(layer.storage->keys(), keys.mid(1));
    for (const auto &[group, key] : keys.mid(1))
        QCOMPARE(layer.storage->value(group, key), QVariant(QString(group + key)));
}

void tst_DynamicMapStorage::anEmptiedGroupLooksMissingAndCanBeFilledAgain()
{
    Layer layer;
    layer.storage->setValue(u"h"_s, u"k"_s, 2);
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage->remove(u"g"_s, u"k"_s);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.storage->keys(), KeyList({{u"h"_s, u"k"_s}}));
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}, {u"h"_s, u"k"_s}}));
    COMPARE_JOURNAL(layer.journal, uR"(
        handler: Runtime h/k = int(2)
        handler: Runtime g/k = int(1)
        handler: Runtime g/k = invalid
        handler: Runtime g/k = int(1) )");
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
    QVERIFY(layer.storage->value(u"g"_s, u"k"_s).value<Probe>().onCompare); // the old value
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

void tst_DynamicMapStorage::ofManyEqualChangesOneIsNotified()
{
    // Comparing and writing are one step: of the threads that make the same change, one notifies
    // it.
    const Watchdog watchdog;
    Layer layer;
    const auto change = [&layer](const QVariant &value) {
        QStringList expected;
        for (int i = 1000; i < 2000; ++i)
            expected.append(u"handler: Runtime g/%1 = %2"_s.arg(i).arg(describe(value)));
        runTogether(4, [&layer, &value](int) {
            for (int i = 1000; i < 2000; ++i) {
                if (value.isValid())
                    layer.storage->setValue(u"g"_s, QString::number(i), value);
                else
                    layer.storage->remove(u"g"_s, QString::number(i));
            }
        });
        QStringList notified = layer.journal.take();
        notified.sort();
        QCOMPARE(notified, expected);
    };
    change(7);
    QCOMPARE(layer.storage->keys().size(), 1000);
    change(QVariant());
    QCOMPARE(layer.storage->keys(), KeyList());
}

void tst_DynamicMapStorage::keysNeverShowHalfAChange()
{
    // One thread grows the group from the front and shrinks it from the back, so that each moment
    // shows the first few keys and no others.
    const Watchdog watchdog;
    DynamicMapStorage storage(Runtime, nullptr, nullptr);
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

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Counts the texts that are compared when a layer is replaced. This program replaces the functions
// of QtCore that compare two texts; the library is linked statically, so its calls reach them.

#include "comparejournal.h"
#include "managerprivate.h"

#include <QtTest/QTest>

#include <algorithm>
#include <string_view>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

qint64 comparisons = 0;

// A layer that lists its keys, and compares nothing itself.
class Listing final : public AbstractStorage
{
public:
    Listing(ConfigurationManagerPrivate *d, const KeyList &keys)
        : AbstractStorage(FeatureKeys, d, nullptr), m_keys(keys)
    {
    }

    bool isAvailable() const override { return true; }
    bool contains(const QString &, const QString &) const override { return true; }
    QVariant value(const QString &, const QString &) const override { return 1; }
    KeyList keys() const override { return m_keys; }

private:
    const KeyList m_keys;
};

KeyList numberedKeys(const QString &name, int count)
{
    KeyList keys;
    for (int i = 0; i < count; ++i)
        keys.append({u"g"_s, name + QString::number(100'000 + i)});
    return keys;
}

std::u16string_view viewOf(QStringView text)
{
    return {text.utf16(), static_cast<std::size_t>(text.size())};
}

} // namespace

namespace QtPrivate {

bool equalStrings(QStringView lhs, QStringView rhs) noexcept
{
    ++comparisons;
    return viewOf(lhs) == viewOf(rhs);
}

int compareStrings(QStringView lhs, QStringView rhs, Qt::CaseSensitivity cs) noexcept
{
    ++comparisons;
    if (cs == Qt::CaseSensitive)
        return viewOf(lhs).compare(viewOf(rhs));
    const auto precedes = [](QChar a, QChar b) { return a.toCaseFolded() < b.toCaseFolded(); };
    if (std::lexicographical_compare(lhs.cbegin(), lhs.cend(), rhs.cbegin(), rhs.cend(), precedes))
        return -1;
    return std::lexicographical_compare(rhs.cbegin(), rhs.cend(), lhs.cbegin(), lhs.cend(),
                                        precedes)
            ? 1
            : 0;
}

} // namespace QtPrivate

class tst_KeyComparisons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theyDoNotGrowWithTheSquareOfTheNumberOfKeys_data();
    void theyDoNotGrowWithTheSquareOfTheNumberOfKeys();
};

void tst_KeyComparisons::theyDoNotGrowWithTheSquareOfTheNumberOfKeys_data()
{
    // For 8 times as many keys, one pass takes 8 times as many comparisons, a sort 11 times, and
    // comparing each with each 64 times.
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isReversed");
    QTest::addColumn<int>("growth");
    QTest::newRow("the same keys") << u"key"_s << false << 8;
    QTest::newRow("the same keys, in another order") << u"key"_s << true << 12;
    QTest::newRow("other keys, which sort before") << u"a key"_s << false << 12;
    QTest::newRow("other keys, which sort behind") << u"z key"_s << false << 12;
}

void tst_KeyComparisons::theyDoNotGrowWithTheSquareOfTheNumberOfKeys()
{
    QFETCH(const QString, name);
    QFETCH(const bool, isReversed);
    QFETCH(const int, growth);
    const auto comparisonsFor = [&](int count) {
        RecordingLogger logger;
        ConfigurationManager manager(&logger);
        ConfigurationManagerPrivate &d = privateOf(manager);
        KeyList keys = numberedKeys(name, count);
        if (isReversed)
            std::reverse(keys.begin(), keys.end());
        d.registerStorage(QSharedPointer<Listing>::create(&d, numberedKeys(u"key"_s, count)));
        const auto layer = QSharedPointer<Listing>::create(&d, keys);
        comparisons = 0;
        d.registerStorage(layer);
        return comparisons;
    };
    const qint64 few = comparisonsFor(200);
    const qint64 many = comparisonsFor(1600);
    QVERIFY2(few >= 200, qPrintable(QString::number(few))); // checks that they are counted
    QVERIFY2(many <= growth * few, qPrintable(u"%1, then %2"_s.arg(few).arg(many)));
}

QTEST_GUILESS_MAIN(tst_KeyComparisons)
#include "tst_keycomparisons.moc"

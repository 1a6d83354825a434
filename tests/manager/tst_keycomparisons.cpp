// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// How many texts are compared when a layer is replaced. They are counted where Qt's headers call
// into QtCore to compare two texts: the library is part of this program, and its calls end here.

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
    QTest::addColumn<bool>("isReversed");
    QTest::addColumn<QString>("prefix");
    QTest::newRow("the same keys") << false << u"key"_s;
    QTest::newRow("the same keys, in another order") << true << u"key"_s;
    QTest::newRow("other keys, which sort before") << false << u"a key"_s;
    QTest::newRow("other keys, which sort behind") << false << u"z key"_s;
}

void tst_KeyComparisons::theyDoNotGrowWithTheSquareOfTheNumberOfKeys()
{
    QFETCH(const bool, isReversed);
    QFETCH(const QString, prefix);
    const auto comparisonsFor = [&](int count) {
        const auto makeFilled = [&](TestHost *host, const QString &name, bool reversed) {
            const auto layer = makeLayer(host, FeatureKeys, u"layer"_s);
            for (int i = 0; i < count; ++i) {
                const int number = reversed ? count - i : i + 1;
                layer->put(u"g"_s, name + QString::number(100'000 + number), number);
            }
            return layer;
        };
        TestHost host;
        privateOf(host.manager).registerStorage(makeFilled(&host, u"key"_s, false));
        const auto layer = makeFilled(&host, prefix, isReversed);
        comparisons = 0;
        privateOf(host.manager).registerStorage(layer);
        return comparisons;
    };
    // A sort of 8 times as many keys takes 11.1 times as many comparisons; all with all takes 64.
    const qint64 few = comparisonsFor(200);
    const qint64 many = comparisonsFor(1600);
    QVERIFY2(few >= 200, qPrintable(QString::number(few))); // they are counted at all
    QVERIFY2(many < 16 * few, qPrintable(u"%1, then %2"_s.arg(few).arg(many)));
}

QTEST_GUILESS_MAIN(tst_KeyComparisons)
#include "tst_keycomparisons.moc"

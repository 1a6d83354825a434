// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"
#include "threads.h"

#include <tamsel/host/settingscatalogue.h>

#include <QtTest/QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;
using tamsel::host::SettingChange;
using tamsel::host::SettingsCatalogue;
using tamsel::tests::groupMap;
using tamsel::tests::runTogether;
using tamsel::tests::TestHost;

namespace {

using Keys = QList<std::pair<QString, QString>>;

// "3: Runtime g/k = int(5)"
QStringList textsOf(const QList<SettingChange> &changes)
{
    QStringList result;
    for (const SettingChange &change : changes)
        result.append(u"%1: %2 %3/%4 = %5"_s.arg(
                QString::number(change.number),
                QLatin1StringView(tamsel::tests::keyOf(change.type)), change.group, change.key,
                tamsel::tests::describe(change.value)));
    return result;
}

// Counts its instances.
struct Counted
{
    Counted() { ++count; }
    Counted(const Counted &) { ++count; }
    Counted &operator=(const Counted &) = default;
    ~Counted() { --count; }
    static inline int count = 0;
};

} // namespace

Q_DECLARE_METATYPE(Counted)

class tst_SettingsCatalogue : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everySettingOfEveryLayerIsKnown();
    void aSettingIsKnownOnceAndForGood();
    void whatIsNotNotifiedIsRememberedOnRequest();
    void theLastChangesAreKept();
    void aCatalogueMayKeepNoChanges_data();
    void aCatalogueMayKeepNoChanges();
    void aChangeThatLeavesTheRingIsDestroyed();
    void theTimeIsThatOfTheChange();
    void afterItsEndItIsNotCalled();
    void anyThreadMayAskWhileOthersWrite();
};

void tst_SettingsCatalogue::everySettingOfEveryLayerIsKnown()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    Keys expected{{u"g"_s, u"shared"_s}};
    // Highest layer first: in all others the shared setting is overridden from the start.
    for (const SettingsType type : tamsel::storagePriority) {
        const QString key = QLatin1StringView(tamsel::tests::keyOf(type));
        host.init(type, {{u"shared"_s, u"x"_s}, {key, u"own"_s}});
        if (tamsel::tests::memoryLayers.contains(type)) {
            host.manager.setValue(u"g"_s, u"shared"_s, u"x"_s, type);
            host.manager.setValue(u"g"_s, key, u"own"_s, type);
        }
        expected.append({u"g"_s, key});
    }
    std::sort(expected.begin(), expected.end());
    QCOMPARE(catalogue.keys(), expected);
}

void tst_SettingsCatalogue::aSettingIsKnownOnceAndForGood()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"b"_s, u"a"_s, 1, SettingsType::Runtime);
    host.manager.setValue(u"a"_s, u"b"_s, 1, SettingsType::Runtime);
    host.manager.setValue(u"a"_s, u"b"_s, 2, SettingsType::Runtime);
    host.manager.removeValue(u"a"_s, u"b"_s, SettingsType::Runtime);
    QCOMPARE(catalogue.keys(), Keys({{u"a"_s, u"b"_s}, {u"b"_s, u"a"_s}}));
    QCOMPARE(catalogue.changeCount(u"a"_s, u"b"_s), 3U);
    QCOMPARE(catalogue.changeCount(u"b"_s, u"a"_s), 1U);
    QCOMPARE(catalogue.changeCount(u"b"_s, u"b"_s), 0U);
    QCOMPARE(catalogue.changeCount(), 4U);
}

void tst_SettingsCatalogue::whatIsNotNotifiedIsRememberedOnRequest()
{
    TestHost host;
    SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, {}, SettingsType::Runtime);
    QCOMPARE(catalogue.keys(), Keys());
    catalogue.remember(u"g"_s, u"k"_s);
    QCOMPARE(catalogue.keys(), Keys({{u"g"_s, u"k"_s}}));
    QCOMPARE(catalogue.changeCount(u"g"_s, u"k"_s), 0U);
    QCOMPARE(catalogue.lastChanges().size(), 0);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    catalogue.remember(u"g"_s, u"k"_s); // forgets nothing
    QCOMPARE(catalogue.changeCount(u"g"_s, u"k"_s), 1U);
}

void tst_SettingsCatalogue::theLastChangesAreKept()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager, 3);
    host.manager.initStorage(SettingsType::Rdm, groupMap(u"g"_s, {{u"k"_s, 7}}));
    host.manager.initStorage(SettingsType::Runtime);
    const QStringList lines{u"1: Rdm g/k = int(7)"_s, u"2: Runtime g/k = int(5)"_s,
                            u"3: Rdm g/k = QString(7)"_s, u"4: Runtime a/b = int(6)"_s,
                            u"5: Runtime a/b = invalid"_s};
    QCOMPARE(textsOf(catalogue.lastChanges()), lines.mid(0, 1));
    host.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::Runtime);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(textsOf(catalogue.lastChanges()), lines.mid(0, 3));
    host.manager.setValue(u"a"_s, u"b"_s, 6, SettingsType::Runtime);
    QCOMPARE(textsOf(catalogue.lastChanges()), lines.mid(1, 3));
    host.manager.removeValue(u"a"_s, u"b"_s, SettingsType::Runtime);
    QCOMPARE(textsOf(catalogue.lastChanges()), lines.mid(2, 3));
}

void tst_SettingsCatalogue::aCatalogueMayKeepNoChanges_data()
{
    QTest::addColumn<int>("kept");

    QTest::newRow("none") << 0;
    QTest::newRow("fewer than none") << -1;
}

void tst_SettingsCatalogue::aCatalogueMayKeepNoChanges()
{
    QFETCH(const int, kept);

    TestHost host;
    const SettingsCatalogue catalogue(&host.manager, kept);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::Runtime);
    QCOMPARE(catalogue.lastChanges().size(), 0);
    QCOMPARE(catalogue.changeCount(), 1U);
    QCOMPARE(catalogue.keys(), Keys({{u"g"_s, u"k"_s}}));
}

void tst_SettingsCatalogue::aChangeThatLeavesTheRingIsDestroyed()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    const SettingsCatalogue catalogue(&host.manager, 1);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, QVariant::fromValue(Counted()), SettingsType::Runtime);
    QVERIFY(Counted::count > 0);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(Counted::count, 0);
}

void tst_SettingsCatalogue::theTimeIsThatOfTheChange()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    host.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::Runtime);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    QTest::qSleep(20);
    const QDateTime time = catalogue.lastChanges().constFirst().time;
    QCOMPARE(time.timeSpec(), Qt::UTC);
    QVERIFY(before <= time && time <= after);
}

void tst_SettingsCatalogue::afterItsEndItIsNotCalled()
{
    TestHost host;
    host.manager.initStorage(SettingsType::Runtime);
    {
        const SettingsCatalogue catalogue(&host.manager);
        host.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::Runtime);
        QCOMPARE(catalogue.changeCount(), 1U);
    }
    host.manager.setValue(u"g"_s, u"k"_s, 6, SettingsType::Runtime);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), 6);
}

void tst_SettingsCatalogue::anyThreadMayAskWhileOthersWrite()
{
    constexpr int writers = 3;
    constexpr int changes = 300;
    constexpr int settings = 50;
    TestHost host;
    SettingsCatalogue catalogue(&host.manager, 10);
    host.manager.initStorage(SettingsType::Runtime);
    bool isInOrder = true;
    runTogether(writers + 1, [&](int thread) {
        for (int i = 0; i < changes; ++i) {
            if (thread < writers) {
                host.manager.setValue(u"g"_s, QString::number(i % settings), i + thread * changes,
                                      SettingsType::Runtime);
                continue;
            }
            catalogue.remember(u"h"_s, QString::number(i));
            const quint64 count = catalogue.changeCount();
            const QList<SettingChange> last = catalogue.lastChanges();
            for (qsizetype j = 1; j < last.size(); ++j)
                isInOrder &= last.at(j).number == last.at(j - 1).number + 1;
            isInOrder &= catalogue.keys().size() > i && catalogue.changeCount() >= count;
        }
    });
    QVERIFY(isInOrder);
    QCOMPARE(catalogue.keys().size(), settings + changes);
    quint64 sum = 0;
    for (int i = 0; i < settings; ++i)
        sum += catalogue.changeCount(u"g"_s, QString::number(i));
    QCOMPARE(sum, catalogue.changeCount());
    QCOMPARE(sum, quint64(writers) * changes); // every write was a change
    QCOMPARE(catalogue.lastChanges().constLast().number, sum);
}

QTEST_GUILESS_MAIN(tst_SettingsCatalogue)
#include "tst_settingscatalogue.moc"

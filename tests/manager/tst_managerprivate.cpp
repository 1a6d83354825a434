// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The manager's list of layers and their lifetimes, and the decisions that no layer of the
// library's own can bring about.

#include "comparejournal.h"
#include "datarows.h"
#include "managerprivate.h"

#include <QtTest/QTest>

#include <thread>
#include <type_traits>
#include <utility>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<IConfigurationChangeHandler, ConfigurationManagerPrivate>);
static_assert(std::has_virtual_destructor_v<ConfigurationManagerPrivate>);
static_assert(std::has_virtual_destructor_v<AbstractStorage>);

namespace {

QList<SettingsType> typesOf(const ConfigurationManagerPrivate &d)
{
    QList<SettingsType> types;
    for (const auto &storage : d.storages)
        types.append(storage->type());
    return types;
}

} // namespace

class tst_ManagerPrivate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLayerFindsItsPlaceAmongAnyOthers();
    void clearingTakesOutEveryLayerOfTheType();
    void changesThatALayerReports();
    void aLayerOfUnknownTypeIsAboveAllOthers_data();
    void aLayerOfUnknownTypeIsAboveAllOthers();

    void destructionReleasesTheLayersWhileThePathsAreStillThere();
    void aSharedLayerOutlivesItsReplacementItsClearingAndItsManager();
    void theUncoveredLayerMayBeClearedMeanwhile();
};

void tst_ManagerPrivate::everyLayerFindsItsPlaceAmongAnyOthers()
{
    // All sets of layers, and each layer that is not in the set: with that, all orders of creation.
    Journal journal;
    RecordingLogger logger(&journal);
    for (int present = 0; present < 256; ++present) {
        for (int added = 0; added < 8; ++added) {
            if ((present & 1 << added) != 0)
                continue;
            ConfigurationManager manager(&logger);
            ConfigurationManagerPrivate &d = privateOf(manager);
            const auto add = [&](int rank) {
                d.registerStorage(QSharedPointer<FakeStorage>::create(storagePriority.at(rank), &d,
                                                                      &journal, QString()));
            };
            QList<SettingsType> expected;
            for (int rank = 0; rank < 8; ++rank) {
                if ((present & 1 << rank) != 0)
                    add(rank);
                if (((present | 1 << added) & 1 << rank) != 0)
                    expected.append(storagePriority.at(rank));
            }
            add(added);
            QCOMPARE(typesOf(d), expected);
        }
    }
}

void tst_ManagerPrivate::clearingTakesOutEveryLayerOfTheType()
{
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s);
    const auto rdm = addLayer(&host, Rdm, u"Rdm"_s);
    addLayer(&host, SelviDb, u"SelviDb"_s);
    const auto surplus = makeLayer(&host, Rdm, u"surplus"_s);
    privateOf(host.manager).storages.append(surplus); // never by way of registerStorage()
    host.manager.clearStorage(Rdm);
    QCOMPARE(typesOf(privateOf(host.manager)), QList<SettingsType>({Runtime, SelviDb}));
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: keys
        info: Storage: Rdm cleared )");
}

void tst_ManagerPrivate::changesThatALayerReports()
{
    // Whatever it holds itself: the value is neither read nor compared.
    TestHost host;
    const auto rdm = addLayer(&host, Rdm, u"Rdm"_s, {{u"held"_s, 5}});
    addLayer(&host, SelviDb, u"SelviDb"_s);
    rdm->notify(u"g"_s, u"held"_s, 5);
    rdm->notify(u"g"_s, u"held"_s, QVariant());
    rdm->notify(u"g"_s, u"missing"_s, 5);
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: contains g/held, locked
        info: Top value changed Rdm: g/held = '5'
        handler: Rdm g/held = int(5)
        Rdm: contains g/held, locked
        Rdm: contains g/missing, locked
        SelviDb: contains g/missing, locked
        info: Parameter removed from all storages: g:missing
        handler: Rdm g/missing = int(5) )");
}

void tst_ManagerPrivate::aLayerOfUnknownTypeIsAboveAllOthers_data()
{
    addUnknownTypeRows();
}

void tst_ManagerPrivate::aLayerOfUnknownTypeIsAboveAllOthers()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s, {{u"k"_s, 5}});
    registerLayer(&host, type, u"unknown"_s, {{u"k"_s, 6}, {u"l"_s, 7}});
    QCOMPARE(typesOf(privateOf(host.manager)), QList<SettingsType>({type, Runtime}));
    host.manager.clearStorage(type);
    COMPARE_JOURNAL(host.journal, uR"(
        unknown: keys
        info: Storage:  initialized
        unknown: value g/k
        handler:  g/k = int(6)
        unknown: value g/l
        handler:  g/l = int(7)
        unknown: keys
        unknown: dies
        info: Storage:  cleared
        Runtime: contains g/k, locked
        Runtime: value g/k
        handler: Runtime g/k = QString(5)
        Runtime: contains g/l, locked
        handler:  g/l = invalid )");
}

void tst_ManagerPrivate::destructionReleasesTheLayersWhileThePathsAreStillThere()
{
    Journal journal;
    auto manager = std::make_unique<ConfigurationManager>(nullptr);
    manager->setPersistentStoragePath(u"/data/"_s);
    manager->setAssetsPrefix(u"/share/"_s);
    ConfigurationManagerPrivate *const d = &privateOf(*manager);
    for (const SettingsType type : {Rdm, Runtime}) {
        auto layer = QSharedPointer<FakeStorage>::create(type, d, &journal,
                                                         QLatin1StringView(keyOf(type)));
        layer->note = [d]() -> QString {
            return " with "_L1 % d->persistentStoragePath % ' '_L1 % d->assetsPrefix;
        };
        d->storages.append(std::move(layer));
    }
    manager.reset();
    QStringList lines = journal.take();
    lines.sort(); // the order among the layers is not promised
    QCOMPARE(lines,
             QStringList(
                     {u"Rdm: dies with /data/ /share/"_s, u"Runtime: dies with /data/ /share/"_s}));
}

void tst_ManagerPrivate::aSharedLayerOutlivesItsReplacementItsClearingAndItsManager()
{
    auto host = std::make_unique<TestHost>();
    Journal journal; // outlives the host
    const auto add = [&](const QString &name) {
        auto layer = QSharedPointer<FakeStorage>::create(Rdm, &privateOf(host->manager), &journal,
                                                         name);
        privateOf(host->manager).registerStorage(layer);
        return layer;
    };
    auto replaced = add(u"replaced"_s);
    auto cleared = add(u"cleared"_s);
    host->manager.clearStorage(Rdm);
    auto last = add(u"last"_s);
    host.reset();
    COMPARE_JOURNAL(journal, uR"(
        replaced: keys
        cleared: keys
        replaced: keys
        cleared: keys
        last: keys )");
    QVERIFY(last->isAvailable());
    for (auto *layer : {&replaced, &cleared, &last})
        layer->reset();
    COMPARE_JOURNAL(journal, uR"(
        last: isAvailable
        replaced: dies
        cleared: dies
        last: dies )");
}

void tst_ManagerPrivate::theUncoveredLayerMayBeClearedMeanwhile()
{
    // The lock is free while the layer below is asked for its value.
    TestHost host;
    const auto runtime = addLayer(&host, Runtime, u"Runtime"_s);
    auto selvi = addLayer(&host, SelviDb, u"SelviDb"_s, {{u"k"_s, 5}});
    bool isCleared = false;
    selvi->note = [&host, &isCleared, calls = 0]() mutable {
        if (++calls == 2 && !std::exchange(isCleared, true)) // contains() comes first
            std::thread([&host] { host.manager.clearStorage(SelviDb); }).join();
        return QString();
    };
    selvi.reset();
    runtime->notify(u"g"_s, u"k"_s, QVariant());
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/k, locked
        SelviDb: contains g/k
        SelviDb: keys
        info: Storage: SelviDb cleared
        Runtime: contains g/k, locked
        debug: Parameter removed from all storages: g:k
        handler: SelviDb g/k = invalid
        SelviDb: value g/k
        SelviDb: dies
        debug: Top value changed SelviDb: g/k = '5'
        handler: SelviDb g/k = QString(5) )");
}

QTEST_GUILESS_MAIN(tst_ManagerPrivate)
#include "tst_managerprivate.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The state behind the manager: its fields, its list of layers and their lifetimes, and the
// decisions that no layer of the library's own can bring about.

#include "datarows.h"
#include "managerprivate.h"

#include <storage/dynamicmapstorage.h>
#include <storage/qtsettingsinistorage.h>
#include <storage/staticmapreader.h>

#include <QtTest/QTest>

#include <algorithm>
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
    void aNewManagerKnowsItsFacadeAndItsLogger();
    void everythingElseOfANewManagerIsEmpty();
    void theFieldsComeInTheirOrder();
    void thePathsAreStoredUnchanged();
    void theHandlersAreKeptInTheOrderOfTheirAppending();

    void everyLayerIsOfItsClass_data();
    void everyLayerIsOfItsClass();
    void everyLayerFindsItsPlaceAmongAnyOthers();
    void aReplacedLayerKeepsItsPlace_data();
    void aReplacedLayerKeepsItsPlace();
    void clearingTakesOutEveryLayerOfTheType();
    void findStorageFindsTheLayerOfAType();
    void topStorageFindsTheUppermostLayerThatHoldsThePair();
    void logForTypeChoosesTheOperation_data();
    void logForTypeChoosesTheOperation();
    void logForTypeIgnoresUnknownTypes_data();
    void logForTypeIgnoresUnknownTypes();

    void aLayerReportsToItsManager();
    void aValueThatNoLayerHoldsIsReportedAsRemoved();
    void aRemovalFromALayerThatStillHoldsThePairIsSilent();
    void aChangeIsNotComparedWithTheValueBefore();
    void aLayerOfUnknownTypeIsAboveAllOthers_data();
    void aLayerOfUnknownTypeIsAboveAllOthers();

    void destructionReleasesTheLayers();
    void layersDieWhileThePathsAreStillThere();
    void aSharedLayerOutlivesItsManager();
    void aSharedLayerOutlivesItsClearing();
    void aSharedLayerOutlivesItsReplacement();
    void theUncoveredLayerMayBeClearedMeanwhile();
};

void tst_ManagerPrivate::aNewManagerKnowsItsFacadeAndItsLogger()
{
    Journal journal;
    RecordingLogger logger(&journal);
    ConfigurationManager manager(&logger);
    QCOMPARE(privateOf(manager).q, &manager);
    QCOMPARE(privateOf(manager).logger, &logger);

    ConfigurationManager withoutLogger(nullptr);
    QCOMPARE(privateOf(withoutLogger).logger, nullptr);
}

void tst_ManagerPrivate::everythingElseOfANewManagerIsEmpty()
{
    ConfigurationManager manager(nullptr);
    ConfigurationManagerPrivate &d = privateOf(manager);
    QVERIFY(d.persistentStoragePath.isEmpty());
    QVERIFY(d.assetsPrefix.isEmpty());
    QVERIFY(d.storages.isEmpty());
    QVERIFY(d.handlers.isEmpty());
    QVERIFY(d.mutex.tryLock());
    d.mutex.unlock();
}

void tst_ManagerPrivate::theFieldsComeInTheirOrder()
{
    // It decides what is still there when the layers die.
    ConfigurationManager manager(nullptr);
    const ConfigurationManagerPrivate &d = privateOf(manager);
    const QList<const void *> fields{
            &d.q,       &d.persistentStoragePath, &d.assetsPrefix, &d.logger, &d.storages, &d.mutex,
            &d.handlers};
    QVERIFY(std::is_sorted(fields.cbegin(), fields.cend(), std::less<>()));
}

void tst_ManagerPrivate::thePathsAreStoredUnchanged()
{
    ConfigurationManager manager(nullptr);
    manager.setPersistentStoragePath(u"/data//config"_s);
    manager.setAssetsPrefix(u"share/%1/../"_s);
    QCOMPARE(privateOf(manager).persistentStoragePath, u"/data//config"_s);
    QCOMPARE(privateOf(manager).assetsPrefix, u"share/%1/../"_s);
}

void tst_ManagerPrivate::theHandlersAreKeptInTheOrderOfTheirAppending()
{
    Journal journal;
    RecordingHandler a(&journal);
    RecordingHandler b(&journal);
    ConfigurationManager manager(nullptr);
    const auto &handlers = privateOf(manager).handlers;
    manager.appendConfigurationHandler(&b);
    manager.appendConfigurationHandler(nullptr);
    manager.appendConfigurationHandler(&a);
    manager.appendConfigurationHandler(&b);
    QCOMPARE(handlers, QList<IConfigurationChangeHandler *>({&b, nullptr, &a}));
    manager.removeConfigurationHandler(nullptr);
    QCOMPARE(handlers, QList<IConfigurationChangeHandler *>({&b, &a}));
}

void tst_ManagerPrivate::everyLayerIsOfItsClass_data()
{
    addTypeRows(storagePriority);
}

void tst_ManagerPrivate::everyLayerIsOfItsClass()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type);
    const ConfigurationManagerPrivate &d = privateOf(host.manager);
    QCOMPARE(d.storages.size(), 1);
    const AbstractStorage *layer = d.storages.first().data();
    QCOMPARE(layer->type(), type);
    QCOMPARE(layer->logger(), &host.logger);
    QCOMPARE(dynamic_cast<const StaticMapReader *>(layer) != nullptr, mapLayers.contains(type));
    QCOMPARE(dynamic_cast<const DynamicMapStorage *>(layer) != nullptr,
             memoryLayers.contains(type));
    QCOMPARE(dynamic_cast<const QtSettingsIniStorage *>(layer) != nullptr,
             fileLayers.contains(type));
}

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

void tst_ManagerPrivate::aReplacedLayerKeepsItsPlace_data()
{
    addTypeRows(storagePriority);
}

void tst_ManagerPrivate::aReplacedLayerKeepsItsPlace()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    for (const SettingsType each : storagePriority)
        addLayer(&host, each, u"old"_s);
    const auto layer = addLayer(&host, type, u"new"_s);
    QCOMPARE(typesOf(privateOf(host.manager)), storagePriority);
    QCOMPARE(privateOf(host.manager).storages.at(priorityOf(type)).data(), layer.data());
}

void tst_ManagerPrivate::clearingTakesOutEveryLayerOfTheType()
{
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s);
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s);
    const auto surplus = makeLayer(&host, SettingsType::Rdm, u"surplus"_s);
    privateOf(host.manager).storages.append(surplus); // never by way of registerStorage()
    host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(typesOf(privateOf(host.manager)),
             QList<SettingsType>({SettingsType::Runtime, SettingsType::SelviDb}));
    QCOMPARE(host.journal.take(), QStringList({u"Rdm: keys"_s, u"info: Storage: Rdm cleared"_s}));
}

void tst_ManagerPrivate::findStorageFindsTheLayerOfAType()
{
    TestHost host;
    const ConfigurationManagerPrivate &d = privateOf(host.manager);
    QCOMPARE(d.findStorage(SettingsType::Rdm), nullptr);
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s);
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s);
    QCOMPARE(d.findStorage(SettingsType::Runtime), runtime.data());
    QCOMPARE(d.findStorage(SettingsType::Rdm), rdm.data());
    QCOMPARE(d.findStorage(SettingsType::SelviDb), selvi.data());
    QCOMPARE(d.findStorage(SettingsType::FeatureKeys), nullptr);
    QCOMPARE(d.findStorage(static_cast<SettingsType>(8)), nullptr);
    QCOMPARE(host.journal.take(), QStringList()); // no layer was asked
}

void tst_ManagerPrivate::topStorageFindsTheUppermostLayerThatHoldsThePair()
{
    TestHost host;
    const ConfigurationManagerPrivate &d = privateOf(host.manager);
    QCOMPARE(d.topStorage(u"g"_s, u"k"_s), nullptr);
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"a"_s, 1}});
    const auto rdm
            = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"a"_s, 1}, {u"k"_s, QVariant()}});
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, 1}});
    QCOMPARE(d.topStorage(u"g"_s, u"k"_s), rdm.data());
    QCOMPARE(host.journal.take(),
             QStringList({u"Runtime: contains g/k"_s, u"Rdm: contains g/k"_s}));
    QCOMPARE(d.topStorage(u"g"_s, u"a"_s), runtime.data());
    QCOMPARE(d.topStorage(u"g"_s, u"b"_s), nullptr);
}

void tst_ManagerPrivate::logForTypeChoosesTheOperation_data()
{
    addTypeRows(storagePriority);
}

void tst_ManagerPrivate::logForTypeChoosesTheOperation()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    privateOf(host.manager).logForType(type, u"some %1 message"_s);
    QCOMPARE(host.journal.take(), changeLine(type, u"some %1 message"_s));
}

void tst_ManagerPrivate::logForTypeIgnoresUnknownTypes_data()
{
    addUnknownTypeRows();
}

void tst_ManagerPrivate::logForTypeIgnoresUnknownTypes()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    privateOf(host.manager).logForType(type, u"some message"_s);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_ManagerPrivate::aLayerReportsToItsManager()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, u"held"_s}});
    rdm->notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: contains g/k"_s, u"info: Top value changed Rdm: g/k = '5'"_s,
                          u"handler: Rdm g/k = int(5)"_s}));
}

void tst_ManagerPrivate::aValueThatNoLayerHoldsIsReportedAsRemoved()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    rdm->notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: contains g/k"_s,
                          u"info: Parameter removed from all storages: g:k"_s,
                          u"handler: Rdm g/k = int(5)"_s}));
}

void tst_ManagerPrivate::aRemovalFromALayerThatStillHoldsThePairIsSilent()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, u"held"_s}});
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, 1}});
    rdm->notify(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(host.journal.take(), QStringList(u"Rdm: contains g/k"_s));
}

void tst_ManagerPrivate::aChangeIsNotComparedWithTheValueBefore()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 5}});
    const QStringList reported{u"Rdm: contains g/k"_s, u"info: Top value changed Rdm: g/k = '5'"_s,
                               u"handler: Rdm g/k = int(5)"_s};
    rdm->notify(u"g"_s, u"k"_s, 5);
    rdm->notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(host.journal.take(), reported + reported);
}

void tst_ManagerPrivate::aLayerOfUnknownTypeIsAboveAllOthers_data()
{
    addUnknownTypeRows();
}

void tst_ManagerPrivate::aLayerOfUnknownTypeIsAboveAllOthers()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"k"_s, 5}});
    auto unknown = makeLayer(&host, type, u"unknown"_s, {{u"k"_s, 6}, {u"l"_s, 7}});
    privateOf(host.manager).registerStorage(unknown);
    QCOMPARE(host.journal.take(),
             QStringList({u"unknown: keys"_s, u"info: Storage:  initialized"_s,
                          u"unknown: value g/k"_s, u"handler:  g/k = int(6)"_s,
                          u"unknown: value g/l"_s, u"handler:  g/l = int(7)"_s}));
    QCOMPARE(typesOf(privateOf(host.manager)), QList<SettingsType>({type, SettingsType::Runtime}));

    unknown.reset();
    host.manager.clearStorage(type);
    QCOMPARE(host.journal.take(),
             QStringList({u"unknown: keys"_s, u"unknown: dies"_s, u"info: Storage:  cleared"_s,
                          u"Runtime: contains g/k"_s, u"Runtime: value g/k"_s,
                          u"handler: Runtime g/k = QString(5)"_s, u"Runtime: contains g/l"_s,
                          u"handler:  g/l = invalid"_s}));
}

void tst_ManagerPrivate::destructionReleasesTheLayers()
{
    TestHost host;
    auto manager = std::make_unique<ConfigurationManager>(&host.logger);
    manager->appendConfigurationHandler(&host.handler);
    for (const SettingsType type : {SettingsType::Runtime, SettingsType::Rdm}) {
        const auto layer = QSharedPointer<FakeStorage>::create(
                type, &privateOf(*manager), &host.journal, QLatin1StringView(keyOf(type)));
        layer->put(u"g"_s, u"k"_s, 1);
        privateOf(*manager).registerStorage(layer);
    }
    host.journal.take();
    manager.reset();
    QStringList lines = host.journal.take();
    lines.sort(); // the order among the layers is nobody's business
    QCOMPARE(lines, QStringList({u"Rdm: dies"_s, u"Runtime: dies"_s}));
}

void tst_ManagerPrivate::layersDieWhileThePathsAreStillThere()
{
    Journal journal;
    auto manager = std::make_unique<ConfigurationManager>(nullptr);
    manager->setPersistentStoragePath(u"/data/"_s);
    manager->setAssetsPrefix(u"/share/"_s);
    ConfigurationManagerPrivate *const d = &privateOf(*manager);
    auto layer = QSharedPointer<FakeStorage>::create(SettingsType::Rdm, d, &journal, u"Rdm"_s);
    layer->note = [d]() -> QString {
        return " with "_L1 % d->persistentStoragePath % ' '_L1 % d->assetsPrefix;
    };
    d->storages.append(std::move(layer));
    manager.reset();
    QCOMPARE(journal.take(), QStringList(u"Rdm: dies with /data/ /share/"_s));
}

void tst_ManagerPrivate::aSharedLayerOutlivesItsManager()
{
    Journal journal;
    RecordingLogger logger(&journal);
    auto manager = std::make_unique<ConfigurationManager>(&logger);
    auto layer = QSharedPointer<FakeStorage>::create(SettingsType::Rdm, &privateOf(*manager),
                                                     &journal, u"Rdm"_s);
    privateOf(*manager).registerStorage(layer);
    journal.take();
    manager.reset();
    QVERIFY(layer->isAvailable());
    QCOMPARE(journal.take(), QStringList(u"Rdm: isAvailable"_s));
    layer.reset();
    QCOMPARE(journal.take(), QStringList(u"Rdm: dies"_s));
}

void tst_ManagerPrivate::aSharedLayerOutlivesItsClearing()
{
    TestHost host;
    auto layer = addLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(), QStringList({u"Rdm: keys"_s, u"info: Storage: Rdm cleared"_s}));
    layer.reset();
    QCOMPARE(host.journal.take(), QStringList(u"Rdm: dies"_s));
}

void tst_ManagerPrivate::aSharedLayerOutlivesItsReplacement()
{
    TestHost host;
    auto layer = addLayer(&host, SettingsType::Rdm, u"old"_s);
    host.manager.initStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"old: keys"_s, u"info: Storage: Rdm reinitialized"_s}));
    layer.reset();
    QCOMPARE(host.journal.take(), QStringList(u"old: dies"_s));
}

void tst_ManagerPrivate::theUncoveredLayerMayBeClearedMeanwhile()
{
    // The lock is free while the layer below is asked for its value.
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s);
    auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, 5}});
    bool isCleared = false;
    selvi->note = [&host, &isCleared, calls = 0]() mutable {
        if (++calls == 2 && !std::exchange(isCleared, true)) // contains() comes first
            std::thread([&host] { host.manager.clearStorage(SettingsType::SelviDb); }).join();
        return QString();
    };
    selvi.reset();
    runtime->notify(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(
            host.journal.take(),
            QStringList({u"Runtime: contains g/k"_s, u"SelviDb: contains g/k"_s, u"SelviDb: keys"_s,
                         u"info: Storage: SelviDb cleared"_s, u"Runtime: contains g/k"_s,
                         u"debug: Parameter removed from all storages: g:k"_s,
                         u"handler: SelviDb g/k = invalid"_s, u"SelviDb: value g/k"_s,
                         u"SelviDb: dies"_s, u"debug: Top value changed SelviDb: g/k = '5'"_s,
                         u"handler: SelviDb g/k = QString(5)"_s}));
}

QTEST_GUILESS_MAIN(tst_ManagerPrivate)
#include "tst_managerprivate.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Which calls the manager makes on its layers, how often, in which order, and whether it holds its
// lock meanwhile. Every one is part of some lookup, so a surplus call is a fault. That the lock is
// free while something is logged or notified is tested by tst_LayeredAccess, which reads then.

#include "comparejournal.h"
#include "datarows.h"
#include "managerprivate.h"

#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

// Layers Runtime, Rdm and SelviDb, of which the lower two hold g/k.
class ThreeLayers : public TestHost
{
public:
    ThreeLayers()
    {
        addLayer(this, Runtime, u"Runtime"_s, {{u"other"_s, 1}});
        addLayer(this, Rdm, u"Rdm"_s, {{u"k"_s, u"Rdm's"_s}});
        addLayer(this, SelviDb, u"SelviDb"_s, {{u"k"_s, u"SelviDb's"_s}});
    }
};

// Says when it is copied. Small and relocatable: a QVariant copies it instead of sharing it.
class Copied
{
public:
    Copied() = default;
    Copied(const Copied &other) : m_onCopy(other.m_onCopy)
    {
        if (m_onCopy != nullptr)
            (*m_onCopy)();
    }
    Copied &operator=(const Copied &) = delete;
    ~Copied() = default;

    const std::function<void()> *m_onCopy = nullptr;
};

} // namespace

Q_DECLARE_TYPEINFO(Copied, Q_RELOCATABLE_TYPE);

class tst_LayerCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReadAsksFromAboveUntilALayerHoldsTheKey();
    void aReadInVainAsksEveryLayerOnce();
    void availabilityIsAskedForOnlyWhenTheHostAsks();
    void aWriteIsHandedOnAsItIs();
    void aRemovalAsksOnceAndIsHandedOnIfTheKeyIsHeld();

    void creatingALayerWithSeveralKeys_data();
    void creatingALayerWithSeveralKeys();
    void creatingALayerBelowAnother();
    void creatingAnEmptyLayerAsksNoOther();
    void aLayerListsItsKeysBeforeItComesAndGoes();
    void replacingALayerComparesWhatBothHold();
    void replacingALayerDoesNotCompareWhatIsOverridden();
    void replacingALayerNotifiesWhatIsListedAndNotHeld();
    void keysListedTwiceStayTwice();
    void keysMayBeListedInAnyOrder_data();
    void keysMayBeListedInAnyOrder();
    void theOldLayerDiesBeforeTheClearingIsLogged();
    void callsGrowWithTheNumberOfKeys();

    void theDefaultIsCopiedBeforeTheLockIsTaken();
    void readsDoNotCopyTheListOfLayers();
    void aReadReleasesTheLockWhenALayerThrows();
    void whatDoesNotReadLayersTakesNoLock_data();
    void whatDoesNotReadLayersTakesNoLock();
};

void tst_LayerCalls::aReadAsksFromAboveUntilALayerHoldsTheKey()
{
    ThreeLayers host;
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, u"default"_s), QVariant(u"Rdm's"_s));
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked
        Rdm: value g/k, locked )");
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s));
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked )");
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s, SelviDb));
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s, Runtime));
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s, FeatureKeys));
    COMPARE_JOURNAL(host.journal, uR"(
        SelviDb: contains g/k
        Runtime: contains g/k )");
    addLayer(&host, FeatureKeys, u"FeatureKeys"_s, {{u"invalid"_s, QVariant()}});
    QVERIFY(!host.manager.value(u"g"_s, u"invalid"_s, 2).isValid());
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/invalid, locked
        Rdm: contains g/invalid, locked
        FeatureKeys: contains g/invalid, locked
        FeatureKeys: value g/invalid, locked )");
}

void tst_LayerCalls::aReadInVainAsksEveryLayerOnce()
{
    TestHost host;
    for (const SettingsType type : storagePriority)
        addLayer(&host, type, QLatin1StringView(keyOf(type)), {{u"other"_s, 1}});
    const auto everyLayerOnce = uR"(
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked
        FeatureKeys: contains g/k, locked
        SystemProperties: contains g/k, locked
        CommandLineArgs: contains g/k, locked
        CustomConfPersistent: contains g/k, locked
        SelviDb: contains g/k, locked
        RavonaConfDefault: contains g/k, locked )";
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, 2), QVariant(2));
    COMPARE_JOURNAL(host.journal, everyLayerOnce);
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    COMPARE_JOURNAL(host.journal, everyLayerOnce);
}

void tst_LayerCalls::availabilityIsAskedForOnlyWhenTheHostAsks()
{
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s);
    addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}})->available = false;
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s, Rdm));
    host.manager.setValue(u"g"_s, u"k"_s, 2, Rdm);
    host.manager.removeValue(u"g"_s, u"k"_s, Rdm);
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked
        Rdm: value g/k, locked
        Rdm: contains g/k
        Rdm: setValue g/k = int(2)
        Rdm: contains g/k
        Rdm: remove g/k )");
    QVERIFY(host.manager.storageAvailable(Runtime));
    QVERIFY(!host.manager.storageAvailable(Rdm));
    QVERIFY(!host.manager.storageAvailable(SelviDb));
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: isAvailable
        Rdm: isAvailable )");
}

void tst_LayerCalls::aWriteIsHandedOnAsItIs()
{
    ThreeLayers host;
    host.manager.setValue(u"g"_s, u"k"_s, 5, SelviDb);
    host.manager.setValue(u"g"_s, u"k"_s, u"Rdm's"_s, Rdm); // what it holds
    host.manager.setValue(QString(), QString(), QVariant(), Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 5, FeatureKeys);
    COMPARE_JOURNAL(host.journal, uR"(
        SelviDb: setValue g/k = int(5)
        Rdm: setValue g/k = QString(Rdm's)
        Runtime: setValue / = invalid )");
}

void tst_LayerCalls::aRemovalAsksOnceAndIsHandedOnIfTheKeyIsHeld()
{
    ThreeLayers host;
    host.manager.removeValue(u"g"_s, u"k"_s, SelviDb);
    host.manager.removeValue(u"g"_s, u"k"_s, Runtime);
    host.manager.removeValue(u"g"_s, u"k"_s, FeatureKeys);
    COMPARE_JOURNAL(host.journal, uR"(
        SelviDb: contains g/k
        SelviDb: remove g/k
        Runtime: contains g/k )");
}

void tst_LayerCalls::creatingALayerWithSeveralKeys_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerCalls::creatingALayerWithSeveralKeys()
{
    // Memory layers too, which never have keys of their own at this moment. A value is read once
    // for the log and once for all handlers; a line that is not logged is not built.
    QFETCH(const SettingsType, type);
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    registerLayer(&host, type, u"new"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    QString expected = uR"(
        new: value g/a
        new: value g/b
        log: Top values changed: SELF: { g/a = '1', g/b = '2' } )"_s;
    if (changeLine(type, {}).isEmpty())
        expected.clear();
    expected.prepend(uR"(
        new: keys
        info: Storage: SELF initialized )");
    expected.append(uR"(
        new: value g/a
        handler: SELF g/a = int(1)
        second: SELF g/a = int(1)
        new: value g/b
        handler: SELF g/b = int(2)
        second: SELF g/b = int(2) )");
    COMPARE_JOURNAL(host.journal, expected, type);
}

void tst_LayerCalls::creatingALayerBelowAnother()
{
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s, {{u"a"_s, 1}});
    addLayer(&host, SelviDb, u"SelviDb"_s, {{u"b"_s, 1}});
    registerLayer(&host, Rdm, u"Rdm"_s, {{u"a"_s, 2}, {u"b"_s, 2}});
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: keys
        info: Storage: Rdm initialized
        Runtime: contains g/a, locked
        Runtime: contains g/b, locked
        Rdm: value g/b
        Runtime: contains g/b, locked
        Rdm: contains g/b, locked
        info: Top value changed Rdm: g/b = '2'
        handler: Rdm g/b = int(2) )");
}

void tst_LayerCalls::creatingAnEmptyLayerAsksNoOther()
{
    ThreeLayers host;
    registerLayer(&host, FeatureKeys, u"FeatureKeys"_s);
    COMPARE_JOURNAL(host.journal, uR"(
        FeatureKeys: keys
        info: Storage: FeatureKeys initialized )");
}

void tst_LayerCalls::aLayerListsItsKeysBeforeItComesAndGoes()
{
    TestHost host;
    const auto &storages = privateOf(host.manager).storages;
    auto rdm = makeLayer(&host, Rdm, u"Rdm"_s);
    rdm->note = [&storages] { return u", %1 in the list"_s.arg(storages.size()); };
    privateOf(host.manager).registerStorage(rdm);
    host.manager.clearStorage(Rdm);
    rdm.reset();
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: keys, 0 in the list
        info: Storage: Rdm initialized
        Rdm: keys, 1 in the list
        info: Storage: Rdm cleared
        Rdm: dies, 0 in the list )");
}

void tst_LayerCalls::replacingALayerComparesWhatBothHold()
{
    TestHost host;
    addLayer(&host, Rdm, u"old"_s, {{u"changed"_s, 1}, {u"kept"_s, 2}, {u"lost"_s, 3}});
    registerLayer(&host, Rdm, u"new"_s, {{u"added"_s, 4}, {u"changed"_s, 10}, {u"kept"_s, 2}});
    QStringList lines = host.journal.take();
    QVERIFY(lines.size() > 8);
    std::sort(lines.begin() + 3,
              lines.begin() + 5); // either side of a comparison may be read first
    std::sort(lines.begin() + 6, lines.begin() + 8);
    for (const QString &line : std::as_const(lines))
        host.journal.add(line);
    COMPARE_JOURNAL(host.journal, uR"(
        new: keys
        old: keys
        old: contains g/changed, locked
        new: value g/changed
        old: value g/changed
        old: contains g/kept, locked
        new: value g/kept
        old: value g/kept
        info: Storage: Rdm reinitialized
        new: contains g/lost, locked
        info: Parameter removed from all storages: g:lost
        handler: Rdm g/lost = invalid
        new: value g/added
        new: value g/changed
        info: Top values changed: Rdm: { g/added = '4', g/changed = '10' }
        new: value g/added
        handler: Rdm g/added = int(4)
        new: value g/changed
        handler: Rdm g/changed = int(10)
        old: dies )");
}

void tst_LayerCalls::replacingALayerDoesNotCompareWhatIsOverridden()
{
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s, {{u"k"_s, 1}});
    addLayer(&host, Rdm, u"old"_s, {{u"k"_s, 2}});
    registerLayer(&host, Rdm, u"new"_s, {{u"k"_s, 2}});
    COMPARE_JOURNAL(host.journal, uR"(
        new: keys
        old: keys
        Runtime: contains g/k, locked
        info: Storage: Rdm reinitialized
        new: value g/k
        Runtime: contains g/k, locked
        old: dies )");
}

void tst_LayerCalls::replacingALayerNotifiesWhatIsListedAndNotHeld()
{
    // Its value is invalid before and after, but the layer is not its origin.
    TestHost host;
    addLayer(&host, RavonaConfDefault, u"defaults"_s, {{u"listed, held below"_s, 1}});
    const auto makeListing = [&host](const QString &name) {
        auto layer = makeLayer(&host, SelviDb, name, {{u"held"_s, QVariant()}});
        layer->list(u"g"_s, u"listed"_s);
        layer->list(u"g"_s, u"listed, held below"_s);
        return layer;
    };
    privateOf(host.manager).registerStorage(makeListing(u"old"_s));
    host.journal.take();
    privateOf(host.manager).registerStorage(makeListing(u"new"_s));
    const QStringList lines = host.journal.take();
    QCOMPARE(lines.filter(u"contains"_s), expectedLines(uR"(
        old: contains g/held, locked
        old: contains g/listed, locked
        defaults: contains g/listed, locked
        old: contains g/listed, held below, locked
        defaults: contains g/listed, held below, locked )"));
    QCOMPARE(lines.filter(u"handler: "_s), expectedLines(uR"(
        handler: SelviDb g/listed = invalid
        handler: SelviDb g/listed, held below = invalid )"));
}

void tst_LayerCalls::keysListedTwiceStayTwice()
{
    TestHost host;
    const auto makeListing = [&host](const QString &name, const QStringList &keys) {
        auto layer = makeLayer(&host, FeatureKeys, name);
        for (const QString &key : keys)
            layer->put(u"g"_s, key, 1);
        return layer;
    };
    privateOf(host.manager)
            .registerStorage(makeListing(u"old"_s, {u"lost"_s, u"kept"_s, u"lost"_s, u"kept"_s}));
    host.journal.take();
    privateOf(host.manager)
            .registerStorage(makeListing(u"new"_s, {u"z"_s, u"kept"_s, u"a"_s, u"z"_s, u"kept"_s}));
    QCOMPARE(host.journal.take().filter(u"handler: "_s), expectedLines(uR"(
        handler: FeatureKeys g/lost = invalid
        handler: FeatureKeys g/lost = invalid
        handler: FeatureKeys g/z = int(1)
        handler: FeatureKeys g/a = int(1)
        handler: FeatureKeys g/z = int(1) )"));
}

void tst_LayerCalls::keysMayBeListedInAnyOrder_data()
{
    QTest::addColumn<QStringList>("oldKeys");
    QTest::addColumn<QStringList>("newKeys");
    const QStringList oldUp{u"a lost"_s, u"b kept"_s, u"c changed"_s, u"e lost"_s, u"f kept"_s};
    const QStringList newUp{u"b kept"_s, u"c changed"_s, u"d new"_s, u"f kept"_s, u"g new"_s};
    const QStringList oldMixed{u"f kept"_s, u"a lost"_s, u"c changed"_s, u"b kept"_s, u"e lost"_s};
    const QStringList newMixed{u"g new"_s, u"c changed"_s, u"f kept"_s, u"b kept"_s, u"d new"_s};
    const char *const names[] = {"ascending", "descending", "mixed"};
    const QStringList olds[] = {oldUp, QStringList(oldUp.crbegin(), oldUp.crend()), oldMixed};
    const QStringList news[] = {newUp, QStringList(newUp.crbegin(), newUp.crend()), newMixed};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            QTest::addRow("%s, %s", names[i], names[j]) << olds[i] << news[j];
    }
}

void tst_LayerCalls::keysMayBeListedInAnyOrder()
{
    QFETCH(const QStringList, oldKeys);
    QFETCH(const QStringList, newKeys);
    TestHost host;
    QStringList expected;
    const auto old = makeLayer(&host, FeatureKeys, u"old"_s);
    for (const QString &key : oldKeys) {
        old->put(u"g"_s, key, 1);
        if (key.endsWith("lost"_L1))
            expected.append("handler: FeatureKeys g/"_L1 % key % " = invalid"_L1);
    }
    privateOf(host.manager).registerStorage(old);
    const auto layer = makeLayer(&host, FeatureKeys, u"new"_s);
    for (const QString &key : newKeys) {
        const int value = key.endsWith("changed"_L1) ? 2 : 1;
        layer->put(u"g"_s, key, value);
        if (!key.endsWith("kept"_L1))
            expected.append(u"handler: FeatureKeys g/%1 = int(%2)"_s.arg(key).arg(value));
    }
    host.journal.take();
    privateOf(host.manager).registerStorage(layer);
    QCOMPARE(host.journal.take().filter(u"handler: "_s), expected);
}

void tst_LayerCalls::theOldLayerDiesBeforeTheClearingIsLogged()
{
    TestHost host;
    addLayer(&host, SelviDb, u"SelviDb"_s, {{u"a"_s, 5}});
    addLayer(&host, Rdm, u"Rdm"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.manager.clearStorage(Rdm);
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: keys
        Rdm: dies
        info: Storage: Rdm cleared
        SelviDb: contains g/a, locked
        SelviDb: value g/a
        info: Top value changed SelviDb: g/a = '5'
        handler: SelviDb g/a = QString(5)
        SelviDb: contains g/b, locked
        info: Parameter removed from all storages: g:b
        handler: Rdm g/b = invalid )");
}

void tst_LayerCalls::callsGrowWithTheNumberOfKeys()
{
    const int count = 2000;
    QVariantMap entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QString::number(i), i);
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s);
    addLayer(&host, Rdm, u"old"_s, entries);
    registerLayer(&host, Rdm, u"new"_s, entries);
    const QStringList lines = host.journal.take();
    for (const auto &[call, calls] :
         {std::pair(u"new: keys"_s, 1), std::pair(u"old: keys"_s, 1),
          std::pair(u"Runtime: contains"_s, count), std::pair(u"old: contains"_s, count),
          std::pair(u"old: value"_s, count), std::pair(u"new: value"_s, count)})
        QCOMPARE(lines.filter(call).size(), calls);
    QCOMPARE(lines.size(), 4 * count + 4); // the layer was replaced, and the old one died
}

void tst_LayerCalls::theDefaultIsCopiedBeforeTheLockIsTaken()
{
    TestHost host;
    addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    const std::function<void()> onCopy = [&host] {
        host.journal.add(isLocked(&privateOf(host.manager).mutex) ? u"copied, locked"_s
                                                                  : u"copied"_s);
    };
    Copied copied;
    copied.m_onCopy = &onCopy;
    const QVariant defaultValue = QVariant::fromValue(copied);
    host.journal.take();
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, defaultValue), QVariant(1));
    COMPARE_JOURNAL(host.journal, uR"(
        copied
        Rdm: contains g/k, locked
        Rdm: value g/k, locked )");
}

void tst_LayerCalls::readsDoNotCopyTheListOfLayers()
{
    TestHost host;
    const auto &storages = privateOf(host.manager).storages;
    const auto rdm = addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->note = [&storages] { return storages.isDetached() ? QString() : u", list copied"_s; };
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    COMPARE_JOURNAL(host.journal, uR"(
        Rdm: contains g/k
        Rdm: contains g/k
        Rdm: value g/k )");
}

void tst_LayerCalls::aReadReleasesTheLockWhenALayerThrows()
{
    TestHost host;
    const auto rdm = addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->note = []() -> QString { throw std::runtime_error("out of order"); };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.value(u"g"_s, u"k"_s));
    rdm->note = nullptr;
    QVERIFY(!isLocked(&privateOf(host.manager).mutex));
}

void tst_LayerCalls::whatDoesNotReadLayersTakesNoLock_data()
{
    using Action = std::function<void(ConfigurationManager *)>;
    QTest::addColumn<Action>("action");
    QTest::newRow("setting the paths") << Action([](ConfigurationManager *manager) {
        manager->setPersistentStoragePath(u"/data/"_s);
        manager->setAssetsPrefix(u"/assets/"_s);
    });
    QTest::newRow("reading the paths") << Action([](ConfigurationManager *manager) {
        static_cast<void>(manager->persistentStoragePath());
        static_cast<void>(manager->startupScreenDirPath());
    });
    QTest::newRow("appending and removing a handler") << Action([](ConfigurationManager *manager) {
        manager->appendConfigurationHandler(nullptr);
        manager->removeConfigurationHandler(nullptr);
    });
    QTest::newRow("destruction") << Action(
            [](ConfigurationManager *manager) { std::destroy_at(manager); });
}

void tst_LayerCalls::whatDoesNotReadLayersTakesNoLock()
{
    using Action = std::function<void(ConfigurationManager *)>;
    QFETCH(const Action, action);
    const bool isDestruction = qstrcmp(QTest::currentDataTag(), "destruction") == 0;
    Journal journal;
    RecordingLogger logger(&journal);
    alignas(ConfigurationManager) unsigned char memory[sizeof(ConfigurationManager)];
    auto *manager = new (memory) ConfigurationManager(&logger);
    manager->initStorage(Rdm, groupMap(u"g"_s, {{u"k"_s, 1}}));
    QMutex &mutex = privateOf(*manager).mutex;
    mutex.lock();
    if (isDestruction)
        QTest::ignoreMessage(QtWarningMsg, "QMutex: destroying locked mutex");
    std::promise<void> done;
    std::thread thread([&] {
        action(manager);
        done.set_value();
    });
    const bool isFree
            = done.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    if (!isFree || !isDestruction)
        mutex.unlock();
    thread.join();
    if (!isDestruction)
        std::destroy_at(manager);
    QVERIFY2(isFree, "it waited for the lock");
}

QTEST_GUILESS_MAIN(tst_LayerCalls)
#include "tst_layercalls.moc"

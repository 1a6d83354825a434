// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Which calls the manager makes on its layers, how often, in which order, and whether it holds its
// lock meanwhile. Every one is on the way of some reader, so a surplus call is a fault.

#include "datarows.h"
#include "managerprivate.h"

#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <stdexcept>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

/*! Layers Runtime, Rdm and SelviDb, of which the lower two hold g/k. */
class ThreeLayers
{
public:
    TestHost host;
    ConfigurationManager &manager = host.manager;

private:
    QSharedPointer<FakeStorage> m_runtime
            = addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"other"_s, 1}});
    QSharedPointer<FakeStorage> m_rdm
            = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, u"Rdm's"_s}});
    QSharedPointer<FakeStorage> m_selvi
            = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, u"SelviDb's"_s}});
};

/*! Sorts the \a count lines from \a first on, where the compiler is free to choose the order. */
void sortLines(QStringList *lines, qsizetype first, qsizetype count)
{
    if (lines->size() >= first + count)
        std::sort(lines->begin() + first, lines->begin() + first + count);
}

/*! Says when it is copied. Small and relocatable: a QVariant copies it instead of sharing it. */
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

/*! A manager whose layers, logger and handler write down whether its lock is held. */
class LockWatch final : private ILogger, private IConfigurationChangeHandler
{
public:
    LockWatch() { manager.appendConfigurationHandler(this); }

    void add(SettingsType type, const QString &name, const QVariantMap &entries = {})
    {
        const auto layer
                = QSharedPointer<FakeStorage>::create(type, &privateOf(manager), &journal, name);
        layer->note = [this] { return lockState(); };
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            layer->put(u"g"_s, entry.key(), entry.value());
        privateOf(manager).registerStorage(layer);
    }

    Journal journal;
    ConfigurationManager manager{this};

private:
    void error(const QString &) override { journal.add("error"_L1 + lockState()); }
    void warning(const QString &) override { journal.add("warning"_L1 + lockState()); }
    void info(const QString &) override { journal.add("info"_L1 + lockState()); }
    void debug(const QString &) override { journal.add("debug"_L1 + lockState()); }
    void onValueChanged(SettingsType, const QString &, const QString &, const QVariant &) override
    {
        journal.add("handler"_L1 + lockState());
    }

    QString lockState()
    {
        QMutex &mutex = privateOf(manager).mutex;
        if (!mutex.tryLock())
            return u", locked"_s;
        mutex.unlock();
        return u", free"_s;
    }
};

} // namespace

Q_DECLARE_TYPEINFO(Copied, Q_RELOCATABLE_TYPE);

class tst_LayerCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReadAsksFromAboveUntilALayerHoldsThePair();
    void aReadOfAnInvalidValueStopsThereToo();
    void aReadInVainAsksEveryLayerOnce();
    void aReadDoesNotAskWhetherALayerIsAvailable();
    void theQuestionForAPairAsksFromAboveUntilALayerHoldsIt();
    void theQuestionForAPairOfOneLayerAsksThatLayerOnly();
    void aWriteIsHandedOnAsItIs();
    void aRemovalAsksOnceAndIsHandedOnIfThePairIsHeld();
    void theQuestionForAvailabilityIsHandedOn();

    void creatingALayerWithOnePair();
    void creatingALayerWithSeveralPairs_data();
    void creatingALayerWithSeveralPairs();
    void creatingALayerBelowAnother();
    void creatingAnEmptyLayerAsksNobodyElse();
    void aLayerListsItsKeysBeforeItComesAndGoes();
    void replacingALayerComparesWhatBothHold();
    void replacingALayerDoesNotCompareWhatIsHidden();
    void replacingALayerReportsWhatIsListedAndNotHeld();
    void pairsListedTwiceStayTwice();
    void keysMayBeListedInAnyOrder_data();
    void keysMayBeListedInAnyOrder();
    void theOldLayerDiesLastWhenItIsReplaced();
    void theOldLayerDiesBeforeTheClearingIsLogged();
    void callsGrowWithTheNumberOfPairs();

    void theDefaultIsCopiedBeforeTheLockIsTaken();
    void readsHoldTheLock();
    void readsDoNotCopyTheListOfLayers();
    void aReadReleasesTheLockWhenALayerThrows();
    void callsOfOneLayerDoNotHoldTheLock();
    void creatingHoldsTheLockOnlyToAskWhoAnswers();
    void replacingHoldsTheLockOnlyToAskWhoAnswers();
    void clearingHoldsTheLockOnlyToAskWhoAnswers();
};

void tst_LayerCalls::aReadAsksFromAboveUntilALayerHoldsThePair()
{
    ThreeLayers layers;
    QCOMPARE(layers.manager.value(u"g"_s, u"k"_s, u"default"_s), QVariant(u"Rdm's"_s));
    QCOMPARE(
            layers.host.journal.take(),
            QStringList({u"Runtime: contains g/k"_s, u"Rdm: contains g/k"_s, u"Rdm: value g/k"_s}));
    QCOMPARE(layers.manager.value(u"g"_s, u"other"_s), QVariant(1));
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"Runtime: contains g/other"_s, u"Runtime: value g/other"_s}));
}

void tst_LayerCalls::aReadOfAnInvalidValueStopsThereToo()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, QVariant()}});
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, 1}});
    QVERIFY(!host.manager.value(u"g"_s, u"k"_s, 2).isValid());
    QCOMPARE(host.journal.take(), QStringList({u"Rdm: contains g/k"_s, u"Rdm: value g/k"_s}));
}

void tst_LayerCalls::aReadInVainAsksEveryLayerOnce()
{
    TestHost host;
    QStringList expected;
    for (const SettingsType type : storagePriority) {
        const QString name = QLatin1StringView(keyOf(type));
        addLayer(&host, type, name, {{u"other"_s, 1}});
        expected.append(name + ": contains g/k"_L1);
    }
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, 2), QVariant(2));
    QCOMPARE(host.journal.take(), expected);
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(host.journal.take(), expected);
}

void tst_LayerCalls::aReadDoesNotAskWhetherALayerIsAvailable()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->available = false;
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s, SettingsType::Rdm));
    host.manager.setValue(u"g"_s, u"k"_s, 2, SettingsType::Rdm);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: contains g/k"_s, u"Rdm: value g/k"_s, u"Rdm: contains g/k"_s,
                          u"Rdm: contains g/k"_s, u"Rdm: setValue g/k = int(2)"_s,
                          u"Rdm: contains g/k"_s, u"Rdm: remove g/k"_s}));
}

void tst_LayerCalls::theQuestionForAPairAsksFromAboveUntilALayerHoldsIt()
{
    ThreeLayers layers;
    QVERIFY(layers.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"Runtime: contains g/k"_s, u"Rdm: contains g/k"_s}));
}

void tst_LayerCalls::theQuestionForAPairOfOneLayerAsksThatLayerOnly()
{
    ThreeLayers layers;
    QVERIFY(layers.manager.contains(u"g"_s, u"k"_s, SettingsType::SelviDb));
    QVERIFY(!layers.manager.contains(u"g"_s, u"k"_s, SettingsType::Runtime));
    QVERIFY(!layers.manager.contains(u"g"_s, u"k"_s, SettingsType::FeatureKeys));
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"SelviDb: contains g/k"_s, u"Runtime: contains g/k"_s}));
}

void tst_LayerCalls::aWriteIsHandedOnAsItIs()
{
    ThreeLayers layers;
    layers.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::SelviDb);
    layers.manager.setValue(u"g"_s, u"k"_s, u"Rdm's"_s, SettingsType::Rdm); // what it holds
    layers.manager.setValue(QString(), QString(), QVariant(), SettingsType::Runtime);
    layers.manager.setValue(u"g"_s, u"k"_s, 5, SettingsType::FeatureKeys);
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"SelviDb: setValue g/k = int(5)"_s,
                          u"Rdm: setValue g/k = QString(Rdm's)"_s,
                          u"Runtime: setValue / = invalid"_s}));
}

void tst_LayerCalls::aRemovalAsksOnceAndIsHandedOnIfThePairIsHeld()
{
    ThreeLayers layers;
    layers.manager.removeValue(u"g"_s, u"k"_s, SettingsType::SelviDb);
    layers.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    layers.manager.removeValue(u"g"_s, u"k"_s, SettingsType::FeatureKeys);
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"SelviDb: contains g/k"_s, u"SelviDb: remove g/k"_s,
                          u"Runtime: contains g/k"_s}));
}

void tst_LayerCalls::theQuestionForAvailabilityIsHandedOn()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s);
    selvi->available = false;
    QVERIFY(host.manager.storageAvailable(SettingsType::Rdm));
    QVERIFY(!host.manager.storageAvailable(SettingsType::SelviDb));
    QVERIFY(!host.manager.storageAvailable(SettingsType::Runtime));
    QCOMPARE(host.journal.take(), QStringList({u"Rdm: isAvailable"_s, u"SelviDb: isAvailable"_s}));
}

void tst_LayerCalls::creatingALayerWithOnePair()
{
    TestHost host;
    const auto rdm = makeLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    privateOf(host.manager).registerStorage(rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: keys"_s, u"info: Storage: Rdm initialized"_s, u"Rdm: value g/k"_s,
                          u"Rdm: contains g/k"_s, u"info: Top value changed Rdm: g/k = '1'"_s,
                          u"handler: Rdm g/k = int(1)"_s}));
}

void tst_LayerCalls::creatingALayerWithSeveralPairs_data()
{
    addTypeRows(storagePriority);
}

void tst_LayerCalls::creatingALayerWithSeveralPairs()
{
    // Memory layers too, which never have pairs of their own at this moment.
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    const auto layer = makeLayer(&host, type, u"new"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    privateOf(host.manager).registerStorage(layer);

    const QStringList line
            = changeLine(type, u"Top values changed: %1: { g/a = '1', g/b = '2' }"_s.arg(name));
    QStringList readForTheLine{u"new: value g/a"_s, u"new: value g/b"_s};
    if (line.isEmpty())
        readForTheLine.clear(); // a line that nobody gets is not built
    QCOMPARE(host.journal.take(),
             QStringList({u"new: keys"_s, u"info: Storage: %1 initialized"_s.arg(name)})
                     + readForTheLine + line
                     + QStringList({u"new: value g/a"_s, u"handler: %1 g/a = int(1)"_s.arg(name),
                                    u"new: value g/b"_s, u"handler: %1 g/b = int(2)"_s.arg(name)}));
}

void tst_LayerCalls::creatingALayerBelowAnother()
{
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"a"_s, 1}});
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"b"_s, 1}});
    const auto rdm = makeLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"a"_s, 2}, {u"b"_s, 2}});
    privateOf(host.manager).registerStorage(rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: keys"_s, u"info: Storage: Rdm initialized"_s,
                          u"Runtime: contains g/a"_s, u"Runtime: contains g/b"_s,
                          u"Rdm: value g/b"_s, u"Runtime: contains g/b"_s, u"Rdm: contains g/b"_s,
                          u"info: Top value changed Rdm: g/b = '2'"_s,
                          u"handler: Rdm g/b = int(2)"_s}));
}

void tst_LayerCalls::creatingAnEmptyLayerAsksNobodyElse()
{
    ThreeLayers layers;
    const auto empty = makeLayer(&layers.host, SettingsType::FeatureKeys, u"FeatureKeys"_s);
    privateOf(layers.manager).registerStorage(empty);
    QCOMPARE(layers.host.journal.take(),
             QStringList({u"FeatureKeys: keys"_s, u"info: Storage: FeatureKeys initialized"_s}));
}

void tst_LayerCalls::aLayerListsItsKeysBeforeItComesAndGoes()
{
    TestHost host;
    const auto &storages = privateOf(host.manager).storages;
    auto rdm = makeLayer(&host, SettingsType::Rdm, u"Rdm"_s);
    rdm->note = [&storages] { return u", %1 in the list"_s.arg(storages.size()); };
    privateOf(host.manager).registerStorage(rdm);
    host.manager.clearStorage(SettingsType::Rdm);
    rdm.reset();
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: keys, 0 in the list"_s, u"info: Storage: Rdm initialized"_s,
                          u"Rdm: keys, 1 in the list"_s, u"info: Storage: Rdm cleared"_s,
                          u"Rdm: dies, 0 in the list"_s}));
}

void tst_LayerCalls::replacingALayerComparesWhatBothHold()
{
    TestHost host;
    const auto old = addLayer(&host, SettingsType::Rdm, u"old"_s,
                              {{u"changed"_s, 1}, {u"kept"_s, 2}, {u"lost"_s, 3}});
    const auto layer = makeLayer(&host, SettingsType::Rdm, u"new"_s,
                                 {{u"added"_s, 4}, {u"changed"_s, 10}, {u"kept"_s, 2}});
    privateOf(host.manager).registerStorage(layer);
    QStringList lines = host.journal.take();
    sortLines(&lines, 3, 2); // either side of a comparison may be read first
    sortLines(&lines, 6, 2);
    QCOMPARE(lines,
             QStringList({u"new: keys"_s, u"old: keys"_s, u"old: contains g/changed"_s,
                          u"new: value g/changed"_s, u"old: value g/changed"_s,
                          u"old: contains g/kept"_s, u"new: value g/kept"_s, u"old: value g/kept"_s,
                          u"info: Storage: Rdm reinitialized"_s, u"new: contains g/lost"_s,
                          u"info: Parameter removed from all storages: g:lost"_s,
                          u"handler: Rdm g/lost = invalid"_s, u"new: value g/added"_s,
                          u"new: value g/changed"_s,
                          u"info: Top values changed: Rdm: { g/added = '4', g/changed = '10' }"_s,
                          u"new: value g/added"_s, u"handler: Rdm g/added = int(4)"_s,
                          u"new: value g/changed"_s, u"handler: Rdm g/changed = int(10)"_s}));
}

void tst_LayerCalls::replacingALayerDoesNotCompareWhatIsHidden()
{
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"k"_s, 1}});
    const auto old = addLayer(&host, SettingsType::Rdm, u"old"_s, {{u"k"_s, 2}});
    const auto layer = makeLayer(&host, SettingsType::Rdm, u"new"_s, {{u"k"_s, 2}});
    privateOf(host.manager).registerStorage(layer);
    QCOMPARE(host.journal.take(),
             QStringList({u"new: keys"_s, u"old: keys"_s, u"Runtime: contains g/k"_s,
                          u"info: Storage: Rdm reinitialized"_s, u"new: value g/k"_s,
                          u"Runtime: contains g/k"_s}));
}

void tst_LayerCalls::replacingALayerReportsWhatIsListedAndNotHeld()
{
    // Its value is invalid before and after, but the layer does not answer for it.
    TestHost host;
    const auto old = addLayer(&host, SettingsType::SelviDb, u"old"_s, {{u"held"_s, QVariant()}});
    old->list(u"g"_s, u"listed"_s);
    old->list(u"g"_s, u"listed, held below"_s);
    const auto defaults = addLayer(&host, SettingsType::RavonaConfDefault, u"defaults"_s,
                                   {{u"listed, held below"_s, 1}});
    const auto layer = makeLayer(&host, SettingsType::SelviDb, u"new"_s, {{u"held"_s, QVariant()}});
    layer->list(u"g"_s, u"listed"_s);
    layer->list(u"g"_s, u"listed, held below"_s);
    host.journal.take();
    privateOf(host.manager).registerStorage(layer);
    const QStringList lines = host.journal.take();
    QCOMPARE(lines.filter(u"contains"_s),
             QStringList({u"old: contains g/held"_s, u"old: contains g/listed"_s,
                          u"defaults: contains g/listed"_s, u"old: contains g/listed, held below"_s,
                          u"defaults: contains g/listed, held below"_s}));
    QCOMPARE(lines.filter(u"handler: "_s),
             QStringList({u"handler: SelviDb g/listed = invalid"_s,
                          u"handler: SelviDb g/listed, held below = invalid"_s}));
}

void tst_LayerCalls::pairsListedTwiceStayTwice()
{
    TestHost host;
    auto old = makeLayer(&host, SettingsType::Rdm, u"old"_s, {{u"lost"_s, 1}});
    old->put(u"g"_s, u"kept"_s, 2);
    old->put(u"g"_s, u"lost"_s, 1);
    old->put(u"g"_s, u"kept"_s, 2);
    privateOf(host.manager).registerStorage(old);
    host.journal.take();
    auto layer = makeLayer(&host, SettingsType::Rdm, u"new"_s, {{u"z"_s, 3}});
    layer->put(u"g"_s, u"kept"_s, 2);
    layer->put(u"g"_s, u"a"_s, 4);
    layer->put(u"g"_s, u"z"_s, 3);
    layer->list(u"g"_s, u"kept"_s);
    privateOf(host.manager).registerStorage(layer);

    QStringList lines = host.journal.take();
    const auto isCall = [](const QString &line) {
        return line.startsWith("old: "_L1) || line.startsWith("new: "_L1);
    };
    lines.removeIf(isCall);
    QCOMPARE(lines,
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Parameter removed from all storages: g:lost"_s,
                          u"handler: Rdm g/lost = invalid"_s,
                          u"info: Parameter removed from all storages: g:lost"_s,
                          u"handler: Rdm g/lost = invalid"_s,
                          u"info: Top values changed: Rdm: { g/z = '3', g/a = '4', g/z = '3' }"_s,
                          u"handler: Rdm g/z = int(3)"_s, u"handler: Rdm g/a = int(4)"_s,
                          u"handler: Rdm g/z = int(3)"_s}));
}

void tst_LayerCalls::keysMayBeListedInAnyOrder_data()
{
    QTest::addColumn<QStringList>("oldKeys");
    QTest::addColumn<QStringList>("newKeys");
    const QStringList oldUp{u"a lost"_s, u"b kept"_s, u"c changed"_s, u"e lost"_s, u"f kept"_s};
    const QStringList newUp{u"b kept"_s, u"c changed"_s, u"d new"_s, u"f kept"_s, u"g new"_s};
    const QStringList oldDown(oldUp.crbegin(), oldUp.crend());
    const QStringList newDown(newUp.crbegin(), newUp.crend());
    const QStringList oldMixed{u"f kept"_s, u"a lost"_s, u"c changed"_s, u"b kept"_s, u"e lost"_s};
    const QStringList newMixed{u"g new"_s, u"c changed"_s, u"f kept"_s, u"b kept"_s, u"d new"_s};
    QTest::newRow("both ascending") << oldUp << newUp;
    QTest::newRow("ascending, descending") << oldUp << newDown;
    QTest::newRow("ascending, mixed") << oldUp << newMixed;
    QTest::newRow("descending, ascending") << oldDown << newUp;
    QTest::newRow("both descending") << oldDown << newDown;
    QTest::newRow("descending, mixed") << oldDown << newMixed;
    QTest::newRow("mixed, ascending") << oldMixed << newUp;
    QTest::newRow("mixed, descending") << oldMixed << newDown;
    QTest::newRow("both mixed") << oldMixed << newMixed;
}

void tst_LayerCalls::keysMayBeListedInAnyOrder()
{
    QFETCH(const QStringList, oldKeys);
    QFETCH(const QStringList, newKeys);
    TestHost host;
    const auto old = makeLayer(&host, SettingsType::FeatureKeys, u"old"_s);
    for (const QString &key : oldKeys)
        old->put(u"g"_s, key, 1);
    privateOf(host.manager).registerStorage(old);
    const auto layer = makeLayer(&host, SettingsType::FeatureKeys, u"new"_s);
    for (const QString &key : newKeys)
        layer->put(u"g"_s, key, key.endsWith("changed"_L1) ? 2 : 1);
    host.journal.take();
    privateOf(host.manager).registerStorage(layer);

    QStringList expected;
    for (const QString &key : oldKeys) {
        if (key.endsWith("lost"_L1))
            expected.append("handler: FeatureKeys g/"_L1 % key % " = invalid"_L1);
    }
    for (const QString &key : newKeys) {
        if (key.endsWith("changed"_L1))
            expected.append("handler: FeatureKeys g/"_L1 % key % " = int(2)"_L1);
        if (key.endsWith("new"_L1))
            expected.append("handler: FeatureKeys g/"_L1 % key % " = int(1)"_L1);
    }
    QCOMPARE(host.journal.take().filter(u"handler: "_s), expected);
}

void tst_LayerCalls::theOldLayerDiesLastWhenItIsReplaced()
{
    TestHost host;
    addLayer(&host, SettingsType::Rdm, u"old"_s, {{u"lost"_s, 1}});
    privateOf(host.manager)
            .registerStorage(makeLayer(&host, SettingsType::Rdm, u"new"_s, {{u"k"_s, 2}}));
    QCOMPARE(host.journal.take(),
             QStringList({u"new: keys"_s, u"old: keys"_s, u"info: Storage: Rdm reinitialized"_s,
                          u"new: contains g/lost"_s,
                          u"info: Parameter removed from all storages: g:lost"_s,
                          u"handler: Rdm g/lost = invalid"_s, u"new: value g/k"_s,
                          u"new: contains g/k"_s, u"info: Top value changed Rdm: g/k = '2'"_s,
                          u"handler: Rdm g/k = int(2)"_s, u"old: dies"_s}));
}

void tst_LayerCalls::theOldLayerDiesBeforeTheClearingIsLogged()
{
    TestHost host;
    const auto selvi = addLayer(&host, SettingsType::SelviDb, u"SelviDb"_s, {{u"a"_s, 5}});
    addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: keys"_s, u"Rdm: dies"_s, u"info: Storage: Rdm cleared"_s,
                          u"SelviDb: contains g/a"_s, u"SelviDb: value g/a"_s,
                          u"info: Top value changed SelviDb: g/a = '5'"_s,
                          u"handler: SelviDb g/a = QString(5)"_s, u"SelviDb: contains g/b"_s,
                          u"info: Parameter removed from all storages: g:b"_s,
                          u"handler: Rdm g/b = invalid"_s}));
}

void tst_LayerCalls::callsGrowWithTheNumberOfPairs()
{
    const int count = 20000;
    QVariantMap entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QString::number(i), i);
    TestHost host;
    const auto runtime = addLayer(&host, SettingsType::Runtime, u"Runtime"_s);
    const auto old = addLayer(&host, SettingsType::Rdm, u"old"_s, entries);
    const auto layer = makeLayer(&host, SettingsType::Rdm, u"new"_s, entries);
    privateOf(host.manager).registerStorage(layer);
    const QStringList lines = host.journal.take();
    const auto calls = [&lines](QLatin1StringView call) {
        return std::count_if(lines.cbegin(), lines.cend(),
                             [call](const QString &line) { return line.startsWith(call); });
    };
    QCOMPARE(calls("new: keys"_L1), 1);
    QCOMPARE(calls("old: keys"_L1), 1);
    QCOMPARE(calls("Runtime: contains"_L1), count);
    QCOMPARE(calls("old: contains"_L1), count);
    QCOMPARE(calls("old: value"_L1), count);
    QCOMPARE(calls("new: value"_L1), count);
    QCOMPARE(lines.size(), 4 * count + 3); // and the line that the layer was replaced
}

void tst_LayerCalls::theDefaultIsCopiedBeforeTheLockIsTaken()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    QMutex &mutex = privateOf(host.manager).mutex;
    const std::function<void()> onCopy = [&host, &mutex] {
        const bool isFree = mutex.tryLock();
        if (isFree)
            mutex.unlock();
        host.journal.add(isFree ? u"copied, free"_s : u"copied, locked"_s);
    };
    Copied copied;
    copied.m_onCopy = &onCopy;
    const QVariant defaultValue = QVariant::fromValue(copied);
    host.journal.take();
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, defaultValue), QVariant(1));
    QCOMPARE(host.journal.take(),
             QStringList({u"copied, free"_s, u"Rdm: contains g/k"_s, u"Rdm: value g/k"_s}));
}

void tst_LayerCalls::readsHoldTheLock()
{
    LockWatch watch;
    watch.add(SettingsType::Runtime, u"Runtime"_s);
    watch.add(SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    watch.journal.take();
    QCOMPARE(watch.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QVERIFY(watch.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(watch.journal.take(),
             QStringList({u"Runtime: contains g/k, locked"_s, u"Rdm: contains g/k, locked"_s,
                          u"Rdm: value g/k, locked"_s, u"Runtime: contains g/k, locked"_s,
                          u"Rdm: contains g/k, locked"_s}));
    QVERIFY(privateOf(watch.manager).mutex.tryLock()); // released afterwards
    privateOf(watch.manager).mutex.unlock();
}

void tst_LayerCalls::readsDoNotCopyTheListOfLayers()
{
    TestHost host;
    const auto &storages = privateOf(host.manager).storages;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->note = [&storages] { return storages.isDetached() ? QString() : u", list copied"_s; };
    QVERIFY(host.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QCOMPARE(host.journal.take(),
             QStringList({u"Rdm: contains g/k"_s, u"Rdm: contains g/k"_s, u"Rdm: value g/k"_s}));
}

void tst_LayerCalls::aReadReleasesTheLockWhenALayerThrows()
{
    TestHost host;
    const auto rdm = addLayer(&host, SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->note = []() -> QString { throw std::runtime_error("out of order"); };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.value(u"g"_s, u"k"_s));
    rdm->note = nullptr;
    QVERIFY(privateOf(host.manager).mutex.tryLock());
    privateOf(host.manager).mutex.unlock();
}

void tst_LayerCalls::callsOfOneLayerDoNotHoldTheLock()
{
    LockWatch watch;
    watch.add(SettingsType::Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    watch.journal.take();
    QVERIFY(watch.manager.contains(u"g"_s, u"k"_s, SettingsType::Rdm));
    QVERIFY(watch.manager.storageAvailable(SettingsType::Rdm));
    watch.manager.setValue(u"g"_s, u"k"_s, 2, SettingsType::Rdm);
    watch.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Rdm);
    watch.manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(watch.journal.take(),
             QStringList({u"Rdm: contains g/k, free"_s, u"Rdm: isAvailable, free"_s,
                          u"Rdm: setValue g/k = int(2), free"_s, u"Rdm: contains g/k, free"_s,
                          u"Rdm: remove g/k, free"_s, u"warning, free"_s}));
}

void tst_LayerCalls::creatingHoldsTheLockOnlyToAskWhoAnswers()
{
    LockWatch watch;
    watch.add(SettingsType::Rdm, u"Rdm"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(watch.journal.take(),
             QStringList({u"Rdm: keys, free"_s, u"info, free"_s, u"Rdm: value g/a, free"_s,
                          u"Rdm: value g/b, free"_s, u"info, free"_s, u"Rdm: value g/a, free"_s,
                          u"handler, free"_s, u"Rdm: value g/b, free"_s, u"handler, free"_s}));
    watch.add(SettingsType::SelviDb, u"SelviDb"_s, {{u"k"_s, 1}});
    QCOMPARE(watch.journal.take(),
             QStringList({u"SelviDb: keys, free"_s, u"info, free"_s, u"Rdm: contains g/k, locked"_s,
                          u"SelviDb: value g/k, free"_s, u"Rdm: contains g/k, locked"_s,
                          u"SelviDb: contains g/k, locked"_s, u"debug, free"_s,
                          u"handler, free"_s}));
}

void tst_LayerCalls::replacingHoldsTheLockOnlyToAskWhoAnswers()
{
    LockWatch watch;
    watch.add(SettingsType::Rdm, u"old"_s, {{u"changed"_s, 1}, {u"lost"_s, 2}});
    watch.journal.take();
    watch.add(SettingsType::Rdm, u"new"_s, {{u"changed"_s, 3}});
    QStringList lines = watch.journal.take();
    sortLines(&lines, 3, 2);
    QCOMPARE(lines,
             QStringList({u"new: keys, free"_s, u"old: keys, free"_s,
                          u"old: contains g/changed, locked"_s, u"new: value g/changed, free"_s,
                          u"old: value g/changed, free"_s, u"info, free"_s,
                          u"new: contains g/lost, locked"_s, u"info, free"_s, u"handler, free"_s,
                          u"new: value g/changed, free"_s, u"new: contains g/changed, locked"_s,
                          u"info, free"_s, u"handler, free"_s, u"old: dies, free"_s}));
}

void tst_LayerCalls::clearingHoldsTheLockOnlyToAskWhoAnswers()
{
    LockWatch watch;
    watch.add(SettingsType::SelviDb, u"SelviDb"_s, {{u"a"_s, 5}});
    watch.add(SettingsType::Rdm, u"Rdm"_s, {{u"a"_s, 1}});
    watch.journal.take();
    watch.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(watch.journal.take(),
             QStringList({u"Rdm: keys, free"_s, u"Rdm: dies, free"_s, u"info, free"_s,
                          u"SelviDb: contains g/a, locked"_s, u"SelviDb: value g/a, free"_s,
                          u"info, free"_s, u"handler, free"_s}));
}

QTEST_GUILESS_MAIN(tst_LayerCalls)
#include "tst_layercalls.moc"

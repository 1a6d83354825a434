// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "countingallocator.h"
#include "recording.h"

#include <tamsel/configurationmanager.h>

#include <QtTest/QTest>

#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

namespace {

void show(const QString &part, const Heap &heap)
{
    qInfo().noquote() << part << heap.bytes << "bytes in" << heap.blocks << "blocks";
}

} // namespace

// What an unused manager holds on the heap.
class tst_IdleHeap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAllocationIsCounted();
    void aManagerWithEightLayersFitsItsBudget();
    void aFixedMapIsSharedWithTheHost();

private:
    std::unique_ptr<ConfigurationManager> newManager(const QString &directory);
    void initStorage(ConfigurationManager &manager, SettingsType type,
                     const QVariantMap &values = {});
    std::unique_ptr<ConfigurationManager> idleManager(const QString &directory,
                                                      const QVariantMap &rdm = {});

    Journal m_journal;
    RecordingLogger m_logger{&m_journal};
};

// A manager without layers, whose files are absent; names of equal length cost the same.
std::unique_ptr<ConfigurationManager> tst_IdleHeap::newManager(const QString &directory)
{
    auto manager = std::make_unique<ConfigurationManager>(&m_logger);
    manager->setPersistentStoragePath("/nonexistent/"_L1 + directory + "/data/"_L1);
    manager->setAssetsPrefix("/nonexistent/"_L1 + directory + "/assets/"_L1);
    return manager;
}

void tst_IdleHeap::initStorage(ConfigurationManager &manager, SettingsType type,
                               const QVariantMap &values)
{
    manager.initStorage(type, values);
    m_journal.take(); // the logger's lines are not the manager's
}

// All eight layers, empty but for rdm.
std::unique_ptr<ConfigurationManager> tst_IdleHeap::idleManager(const QString &directory,
                                                                const QVariantMap &rdm)
{
    auto manager = newManager(directory);
    for (const SettingsType type : storagePriority)
        initStorage(*manager, type, type == SettingsType::Rdm ? rdm : QVariantMap());
    return manager;
}

void tst_IdleHeap::everyAllocationIsCounted()
{
    const auto grown = [before = Heap::now()] { return Heap::now() - before; };

    void *volatile block = std::malloc(1000); // volatile: or the compiler may drop the calls
    const Heap allocated = grown();
    block = std::realloc(block, 5000);
    const Heap enlarged = grown();
    std::free(block);
    QCOMPARE(allocated.blocks, 1);
    QCOMPARE(allocated.bytes, 1000);
    QCOMPARE(enlarged.blocks, 1);
    QCOMPARE(enlarged.bytes, 5000);
    QCOMPARE(grown().blocks, 0);
    QCOMPARE(grown().bytes, 0);

    {
        const QByteArray inAnotherLibrary(1000, '-');
        QCOMPARE(inAnotherLibrary.size(), 1000);
        QCOMPARE(grown().blocks, 1);
        QCOMPARE_GE(grown().bytes, 1000);
    }
    QCOMPARE(grown().blocks, 0);
}

void tst_IdleHeap::aManagerWithEightLayersFitsItsBudget()
{
    Heap before = Heap::now();
    idleManager(u"0"_s); // comes and goes; what Qt sets up for good is not the manager's
    Heap added = Heap::now() - before;
    show(u"once in a process, Qt's own"_s, added);

    before = Heap::now();
    const auto manager = newManager(u"1"_s);
    Heap held = Heap::now() - before;
    show(u"manager"_s, held);
    for (const SettingsType type : storagePriority) {
        before = Heap::now();
        initStorage(*manager, type);
        added = Heap::now() - before;
        held = held + added;
        show(QVariant::fromValue(type).toString(), added);
    }
    show(u"sum"_s, held);

    QCOMPARE_GT(held.bytes, 0);
    QCOMPARE_LE(held.bytes, TAMSEL_HEAP_BUDGET);
}

void tst_IdleHeap::aFixedMapIsSharedWithTheHost()
{
    QVariantMap entries;
    for (int i = 0; i < 1000; ++i)
        entries.insert(u"key %1"_s.arg(i), i);
    const QVariantMap rdm{{u"group"_s, entries}};
    idleManager(u"0"_s, rdm);

    Heap before = Heap::now();
    const auto emptyManager = idleManager(u"1"_s);
    const Heap heldByEmpty = Heap::now() - before;
    before = Heap::now();
    const auto filledManager = idleManager(u"2"_s, rdm);
    const Heap heldByFilled = Heap::now() - before;

    QCOMPARE(filledManager->value(u"group"_s, u"key 999"_s), QVariant(999));
    QCOMPARE(heldByFilled.blocks, heldByEmpty.blocks);
    QCOMPARE(heldByFilled.bytes, heldByEmpty.bytes);
}

QTEST_GUILESS_MAIN(tst_IdleHeap)
#include "tst_idleheap.moc"

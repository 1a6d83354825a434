// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/abstractstorage.h>

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <QtTest/QTest>

#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <type_traits>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;
using tamsel::AbstractStorage;
using tamsel::IConfigurationChangeHandler;
using tamsel::ILogger;
using tamsel::KeyList;
using tamsel::SettingsType;

namespace {

/*! A layer with the single pair g/k that keeps what the base offers. */
class PlainStorage : public AbstractStorage
{
public:
    using AbstractStorage::AbstractStorage;
    using AbstractStorage::notify;

    bool isAvailable() const override { return true; }
    bool contains(const QString &group, const QString &key) const override
    {
        return group == u"g"_s && key == u"k"_s;
    }
    QVariant value(const QString &, const QString &) const override { return u"kept"_s; }
    KeyList keys() const override { return {{u"g"_s, u"k"_s}}; }
};

/*! What arrived at a handler, by address. */
class ReferenceHandler final : public IConfigurationChangeHandler
{
public:
    void onValueChanged(SettingsType, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        m_group = &group;
        m_key = &key;
        m_value = &value;
        m_thread = std::this_thread::get_id();
    }

    const QString *m_group = nullptr;
    const QString *m_key = nullptr;
    const QVariant *m_value = nullptr;
    std::thread::id m_thread;
};

/*! Writes its death into a journal. */
template <typename Interface> class Mortal final : public Interface
{
public:
    template <typename... Arguments>
    explicit Mortal(Journal *journal, Arguments... arguments)
        : Interface(arguments...), m_journal(journal)
    {
    }
    ~Mortal() override { m_journal->add(u"derived destructor"_s); }

private:
    Journal *const m_journal;
};

class SilentHandler : public IConfigurationChangeHandler
{
public:
    void onValueChanged(SettingsType, const QString &, const QString &, const QVariant &) override
    {
    }
    virtual void next() { }
};

class SilentLogger : public ILogger
{
public:
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }
    virtual void next() { }
};

class LongerStorage : public PlainStorage
{
public:
    using PlainStorage::PlainStorage;
    virtual void next() { }
};

/*!
 * The place of a virtual function in its class's table, from 0, as the C++ ABI of our targets keeps
 * it in a pointer to member: an offset in bytes, marked as such in the lowest bit of the offset
 * (most machines) or of the adjustment behind it (those whose code addresses use that bit: MIPS).
 */
template <typename Function> int slotOf(Function function)
{
    struct
    {
        std::intptr_t function;
        std::intptr_t adjustment;
    } representation{};
    static_assert(sizeof(representation) == sizeof(function));
    std::memcpy(&representation, &function, sizeof(function));
    const std::intptr_t offset
            = representation.adjustment & 1 ? representation.function : representation.function - 1;
    return static_cast<int>(offset / std::intptr_t(sizeof(void *)));
}

/*! The word at \a index of \a object's memory. */
template <typename Word> Word wordAt(const AbstractStorage &object, std::size_t index)
{
    Word word{};
    std::memcpy(&word, reinterpret_cast<const char *>(&object) + index * sizeof(std::intptr_t),
                sizeof word); // NOLINT(bugprone-sizeof-expression): also of words that are pointers
    return word;
}

using Read = QVariant (AbstractStorage::*)(const QString &, const QString &) const;
using Test = bool (AbstractStorage::*)(const QString &, const QString &) const;
using Write = void (AbstractStorage::*)(const QString &, const QString &, const QVariant &);
using Remove = void (AbstractStorage::*)(const QString &, const QString &);
using Change = void (IConfigurationChangeHandler::*)(SettingsType, const QString &, const QString &,
                                                     const QVariant &);
using Log = void (ILogger::*)(const QString &);

static_assert(std::is_same_v<KeyList, QList<std::pair<QString, QString>>>);
static_assert(
        std::is_same_v<decltype(&AbstractStorage::isAvailable), bool (AbstractStorage::*)() const>);
static_assert(std::is_same_v<decltype(&AbstractStorage::contains), Test>);
static_assert(std::is_same_v<decltype(&AbstractStorage::value), Read>);
static_assert(std::is_same_v<decltype(&AbstractStorage::setValue), Write>);
static_assert(std::is_same_v<decltype(&AbstractStorage::remove), Remove>);
static_assert(
        std::is_same_v<decltype(&AbstractStorage::keys), KeyList (AbstractStorage::*)() const>);
static_assert(std::is_same_v<decltype(&PlainStorage::notify), Write>);
static_assert(std::is_same_v<decltype(&IConfigurationChangeHandler::onValueChanged), Change>);
static_assert(std::is_same_v<decltype(&ILogger::error), Log>);
static_assert(std::is_same_v<decltype(&ILogger::warning), Log>);
static_assert(std::is_same_v<decltype(&ILogger::info), Log>);
static_assert(std::is_same_v<decltype(&ILogger::debug), Log>);

static_assert(std::is_abstract_v<AbstractStorage>);
static_assert(std::is_abstract_v<IConfigurationChangeHandler>);
static_assert(std::is_abstract_v<ILogger>);
static_assert(std::has_virtual_destructor_v<AbstractStorage>);
static_assert(std::has_virtual_destructor_v<IConfigurationChangeHandler>);
static_assert(std::has_virtual_destructor_v<ILogger>);
static_assert(std::is_nothrow_destructible_v<AbstractStorage>);
// Of an abstract class these would hold anyway, so the derived one is asked.
static_assert(!std::is_default_constructible_v<PlainStorage>);
static_assert(!std::is_copy_constructible_v<PlainStorage>);
static_assert(!std::is_move_constructible_v<PlainStorage>);
static_assert(!std::is_copy_assignable_v<PlainStorage>);
static_assert(!std::is_move_assignable_v<PlainStorage>);

} // namespace

class tst_AbstractStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructionAndDestructionAreSilent();
    void typeIsTheOneGiven_data();
    void typeIsTheOneGiven();
    void loggerIsTheOneGiven();

    void notifyTellsTheHandlerOnce();
    void notifyPassesInvalidValues();
    void notifyPassesTheVeryReferences();
    void notifyRunsOnTheThreadOfTheCaller();
    void notifyWithoutHandlerDoesNothing();
    void handlerMayComeBackFromInsideNotify();

    void writeIsRefusedWithOneError();
    void removalIsRefusedWithOneError();
    void refusalLeavesTheContentsAlone();
    void refusalNeedsNoHandler();
    void refusalAllocatesNoText();

    void storageFunctionsKeepTheirSlots();
    void handlerFunctionsKeepTheirSlots();
    void loggerFunctionsKeepTheirSlots();
    void storageKeepsItsFieldsInOrder();
    void interfacesHoldNothing();

    void storageIsDeletedThroughItsBase();
    void handlerIsDeletedThroughItsBase();
    void loggerIsDeletedThroughItsBase();
};

void tst_AbstractStorage::constructionAndDestructionAreSilent()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    {
        const PlainStorage storage(SettingsType::Rdm, &handler, &logger);
        QCOMPARE(journal.take(), QStringList());
    }
    QCOMPARE(journal.take(), QStringList());
}

void tst_AbstractStorage::typeIsTheOneGiven_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::newRow("CommandLineArgs") << SettingsType::CommandLineArgs;
    QTest::newRow("CustomConfPersistent") << SettingsType::CustomConfPersistent;
    QTest::newRow("Rdm") << SettingsType::Rdm;
    QTest::newRow("RavonaConfDefault") << SettingsType::RavonaConfDefault;
    QTest::newRow("SystemProperties") << SettingsType::SystemProperties;
    QTest::newRow("Runtime") << SettingsType::Runtime;
    QTest::newRow("SelviDb") << SettingsType::SelviDb;
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys;
    QTest::newRow("outside") << SettingsType(9);
}

void tst_AbstractStorage::typeIsTheOneGiven()
{
    QFETCH(SettingsType, type);
    const PlainStorage storage(type, nullptr, nullptr);
    QCOMPARE(storage.type(), type);
}

void tst_AbstractStorage::loggerIsTheOneGiven()
{
    Journal journal;
    RecordingLogger logger(&journal);
    QCOMPARE(PlainStorage(SettingsType::Rdm, nullptr, &logger).logger(), &logger);
    QCOMPARE(PlainStorage(SettingsType::Rdm, nullptr, nullptr).logger(), nullptr);
}

void tst_AbstractStorage::notifyTellsTheHandlerOnce()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    PlainStorage storage(SettingsType::SelviDb, &handler, &logger);

    storage.notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(journal.take(), QStringList{u"handler: SelviDb g/k = int(5)"_s});
}

void tst_AbstractStorage::notifyPassesInvalidValues()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    PlainStorage storage(SettingsType::Runtime, &handler, &logger);

    storage.notify(QString(), QString(), QVariant());
    QCOMPARE(journal.take(), QStringList{u"handler: Runtime / = invalid"_s});
}

void tst_AbstractStorage::notifyPassesTheVeryReferences()
{
    ReferenceHandler handler;
    PlainStorage storage(SettingsType::Runtime, &handler, nullptr);

    const QString group = u"g"_s;
    const QString key = u"k"_s;
    const QVariant value = 5;
    storage.notify(group, key, value);
    QCOMPARE(handler.m_group, &group);
    QCOMPARE(handler.m_key, &key);
    QCOMPARE(handler.m_value, &value);
}

void tst_AbstractStorage::notifyRunsOnTheThreadOfTheCaller()
{
    ReferenceHandler handler;
    PlainStorage storage(SettingsType::Runtime, &handler, nullptr);

    std::thread thread([&storage] { storage.notify(u"g"_s, u"k"_s, 5); });
    const std::thread::id caller = thread.get_id();
    thread.join();
    QVERIFY(handler.m_thread == caller);
}

void tst_AbstractStorage::notifyWithoutHandlerDoesNothing()
{
    Journal journal;
    RecordingLogger logger(&journal);
    PlainStorage storage(SettingsType::Runtime, nullptr, &logger);

    storage.notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(journal.take(), QStringList());
}

void tst_AbstractStorage::handlerMayComeBackFromInsideNotify()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    PlainStorage storage(SettingsType::Runtime, &handler, &logger);
    handler.reaction
            = [&storage](SettingsType, const QString &, const QString &, const QVariant &value) {
                  if (value.toInt() == 1) {
                      storage.notify(u"g"_s, u"k"_s, 2);
                      storage.remove(u"g"_s, u"k"_s);
                  }
              };

    storage.notify(u"g"_s, u"k"_s, 1);
    const QStringList expected{u"handler: Runtime g/k = int(1)"_s,
                               u"handler: Runtime g/k = int(2)"_s,
                               u"error: The storage doesn't support removing!"_s};
    QCOMPARE(journal.take(), expected);
}

void tst_AbstractStorage::writeIsRefusedWithOneError()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    PlainStorage storage(SettingsType::Rdm, &handler, &logger);
    const QStringList refusal{u"error: The storage doesn't support writing!"_s};

    storage.setValue(u"g"_s, u"k"_s, 5);
    QCOMPARE(journal.take(), refusal);
    // Of the value it holds, of a pair it does not hold, and once more: the same message each time.
    storage.setValue(u"g"_s, u"k"_s, u"kept"_s);
    QCOMPARE(journal.take(), refusal);
    storage.setValue(QString(), u"absent"_s, QVariant());
    QCOMPARE(journal.take(), refusal);
}

void tst_AbstractStorage::removalIsRefusedWithOneError()
{
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    PlainStorage storage(SettingsType::Rdm, &handler, &logger);
    const QStringList refusal{u"error: The storage doesn't support removing!"_s};

    storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(journal.take(), refusal);
    storage.remove(QString(), u"absent"_s);
    QCOMPARE(journal.take(), refusal);
}

void tst_AbstractStorage::refusalLeavesTheContentsAlone()
{
    SilentLogger logger;
    PlainStorage storage(SettingsType::Rdm, nullptr, &logger);

    storage.setValue(u"g"_s, u"new"_s, 5);
    storage.remove(u"g"_s, u"k"_s);
    QVERIFY(!storage.contains(u"g"_s, u"new"_s));
    QVERIFY(storage.contains(u"g"_s, u"k"_s));
    QCOMPARE(storage.value(u"g"_s, u"k"_s), QVariant(u"kept"_s));
    QCOMPARE(storage.type(), SettingsType::Rdm);
    QCOMPARE(storage.logger(), &logger);
}

void tst_AbstractStorage::refusalNeedsNoHandler()
{
    Journal journal;
    RecordingLogger logger(&journal);
    PlainStorage storage(SettingsType::Rdm, nullptr, &logger);

    storage.setValue(u"g"_s, u"k"_s, 5);
    storage.remove(u"g"_s, u"k"_s);
    const QStringList expected{u"error: The storage doesn't support writing!"_s,
                               u"error: The storage doesn't support removing!"_s};
    QCOMPARE(journal.take(), expected);
}

void tst_AbstractStorage::refusalAllocatesNoText()
{
    class : public SilentLogger
    {
    public:
        void error(const QString &message) override { capacities.append(message.capacity()); }
        QList<qsizetype> capacities;
    } logger;
    PlainStorage storage(SettingsType::Rdm, nullptr, &logger);

    storage.setValue(u"g"_s, u"k"_s, 5);
    storage.remove(u"g"_s, u"k"_s);
    QCOMPARE(logger.capacities, QList<qsizetype>({0, 0})); // 0: constant data
}

// Hosts and layers are compiled against these positions. A function declared behind the last one
// has to get the next slot, which shows that there are no others; 0 and 1 are the destructor's.

void tst_AbstractStorage::storageFunctionsKeepTheirSlots()
{
    QCOMPARE(slotOf(&AbstractStorage::isAvailable), 2);
    QCOMPARE(slotOf(&AbstractStorage::contains), 3);
    QCOMPARE(slotOf(&AbstractStorage::value), 4);
    QCOMPARE(slotOf(&AbstractStorage::setValue), 5);
    QCOMPARE(slotOf(&AbstractStorage::remove), 6);
    QCOMPARE(slotOf(&AbstractStorage::keys), 7);
    QCOMPARE(slotOf(&LongerStorage::next), 8);
}

void tst_AbstractStorage::handlerFunctionsKeepTheirSlots()
{
    QCOMPARE(slotOf(&IConfigurationChangeHandler::onValueChanged), 2);
    QCOMPARE(slotOf(&SilentHandler::next), 3);
}

void tst_AbstractStorage::loggerFunctionsKeepTheirSlots()
{
    QCOMPARE(slotOf(&ILogger::error), 2);
    QCOMPARE(slotOf(&ILogger::warning), 3);
    QCOMPARE(slotOf(&ILogger::info), 4);
    QCOMPARE(slotOf(&ILogger::debug), 5);
    QCOMPARE(slotOf(&SilentLogger::next), 6);
}

void tst_AbstractStorage::storageKeepsItsFieldsInOrder()
{
    SilentHandler handler;
    SilentLogger logger;
    const PlainStorage storage(SettingsType::FeatureKeys, &handler, &logger);

    // Behind the pointer to the table, one word each; a 64-bit machine pads the type.
    QCOMPARE(sizeof(AbstractStorage), 4 * sizeof(void *));
    QCOMPARE(wordAt<qint32>(storage, 1), 7);
    QCOMPARE(wordAt<IConfigurationChangeHandler *>(storage, 2), &handler);
    QCOMPARE(wordAt<ILogger *>(storage, 3), &logger);
}

void tst_AbstractStorage::interfacesHoldNothing()
{
    QCOMPARE(sizeof(IConfigurationChangeHandler), sizeof(void *));
    QCOMPARE(sizeof(ILogger), sizeof(void *));
}

void tst_AbstractStorage::storageIsDeletedThroughItsBase()
{
    Journal journal;
    std::unique_ptr<AbstractStorage> storage
            = std::make_unique<Mortal<PlainStorage>>(&journal, SettingsType::Rdm, nullptr, nullptr);
    storage.reset();
    QCOMPARE(journal.take(), QStringList{u"derived destructor"_s});
}

void tst_AbstractStorage::handlerIsDeletedThroughItsBase()
{
    Journal journal;
    std::unique_ptr<IConfigurationChangeHandler> handler
            = std::make_unique<Mortal<SilentHandler>>(&journal);
    handler.reset();
    QCOMPARE(journal.take(), QStringList{u"derived destructor"_s});
}

void tst_AbstractStorage::loggerIsDeletedThroughItsBase()
{
    Journal journal;
    std::unique_ptr<ILogger> logger = std::make_unique<Mortal<SilentLogger>>(&journal);
    logger.reset();
    QCOMPARE(journal.take(), QStringList{u"derived destructor"_s});
}

QTEST_GUILESS_MAIN(tst_AbstractStorage)

#include "tst_abstractstorage.moc"

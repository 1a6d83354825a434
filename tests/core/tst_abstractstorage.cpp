// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What a layer gets from its base. The layout of the class and the slots of its functions are compared
// by scripts/abi.

#include <tamsel/abstractstorage.h>

#include "comparejournal.h"
#include "datarows.h"

#include <QtTest/QTest>

#include <type_traits>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

namespace {

// A layer with the single key g/k that keeps what the base offers.
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

static_assert(std::is_same_v<KeyList, QList<std::pair<QString, QString>>>);
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
    void typeAndLoggerAreThoseGiven_data();
    void typeAndLoggerAreThoseGiven();

    void notifyCallsTheHandlerOnce_data();
    void notifyCallsTheHandlerOnce();
    void notifyPassesTheVeryReferences();
    void notifyWithoutHandlerDoesNothing();

    void writesAndRemovalsAreRefused();

private:
    Journal m_journal; // empty between the tests
    RecordingLogger m_logger{&m_journal};
};

void tst_AbstractStorage::typeAndLoggerAreThoseGiven_data()
{
    addTypeRows(writableLayers + mapLayers);
    QTest::newRow("outside") << SettingsType(9);
}

void tst_AbstractStorage::typeAndLoggerAreThoseGiven()
{
    QFETCH(const SettingsType, type);
    QCOMPARE(PlainStorage(type, nullptr, &m_logger).type(), type);
    QCOMPARE(PlainStorage(type, nullptr, &m_logger).logger(), &m_logger);
    QCOMPARE(PlainStorage(type, nullptr, nullptr).logger(), nullptr);
}

void tst_AbstractStorage::notifyCallsTheHandlerOnce_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("line");
    QTest::newRow("number") << u"g"_s << u"k"_s << QVariant(5)
                            << u"handler: SelviDb g/k = int(5)"_s;
    QTest::newRow("nothing") << QString() << QString() << QVariant()
                             << u"handler: SelviDb / = invalid"_s;
}

void tst_AbstractStorage::notifyCallsTheHandlerOnce()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    QFETCH(const QString, line);
    RecordingHandler handler(&m_journal);
    PlainStorage storage(SelviDb, &handler, &m_logger);
    storage.notify(group, key, value);
    QCOMPARE(m_journal.take(), QStringList(line));
}

void tst_AbstractStorage::notifyPassesTheVeryReferences()
{
    const QString group = u"g"_s;
    const QString key = u"k"_s;
    const QVariant value = 5;
    RecordingHandler handler;
    int calls = 0;
    handler.reaction = [&](SettingsType, const QString &passedGroup, const QString &passedKey,
                           const QVariant &passedValue) {
        ++calls;
        QCOMPARE(&passedGroup, &group);
        QCOMPARE(&passedKey, &key);
        QCOMPARE(&passedValue, &value);
    };
    PlainStorage(Runtime, &handler, nullptr).notify(group, key, value);
    QCOMPARE(calls, 1);
}

void tst_AbstractStorage::notifyWithoutHandlerDoesNothing()
{
    PlainStorage storage(Runtime, nullptr, &m_logger);
    storage.notify(u"g"_s, u"k"_s, 5);
    QCOMPARE(m_journal.take(), QStringList());
}

void tst_AbstractStorage::writesAndRemovalsAreRefused()
{
    RecordingHandler handler(&m_journal);
    RecordingLogger logger(&m_journal);
    QList<qsizetype> capacities;
    logger.reaction
            = [&capacities](const QString &message) { capacities.append(message.capacity()); };
    PlainStorage storage(Rdm, &handler, &logger);
    // Of the value it holds, and of a key it does not hold: the same message each time.
    storage.setValue(u"g"_s, u"k"_s, 5);
    storage.setValue(u"g"_s, u"k"_s, u"kept"_s);
    storage.setValue(QString(), u"absent"_s, QVariant());
    storage.remove(u"g"_s, u"k"_s);
    storage.remove(QString(), u"absent"_s);
    COMPARE_JOURNAL(m_journal, uR"(
        error: The storage doesn't support writing!
        error: The storage doesn't support writing!
        error: The storage doesn't support writing!
        error: The storage doesn't support removing!
        error: The storage doesn't support removing! )");
    QCOMPARE(capacities, QList<qsizetype>(5, 0)); // constant data: no text is allocated
}

QTEST_GUILESS_MAIN(tst_AbstractStorage)
#include "tst_abstractstorage.moc"

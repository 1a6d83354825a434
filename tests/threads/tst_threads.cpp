// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What several threads may do at the same time. What happens is compared here as far as it can be
// seen from outside; whether it was more than luck is for the thread sanitizer to say.

#include "testhost.h"
#include "threads.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSemaphore>
#include <QtTest/QTest>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

using Manager = ConfigurationManager;
using Call = std::function<void(Manager &)>;
Q_DECLARE_METATYPE(Call)

namespace {

constexpr int writes = 1000; // by one thread
constexpr int fileWrites = 200; // the same into a file, which is opened for each of them
constexpr int reads = 4000;
constexpr int replacements = 1000;
constexpr int rounds = 50;

using Body = std::function<void()>;

// Does work(0) to work(count - 1).
Body loop(int count, const std::function<void(int)> &work)
{
    return [=] {
        for (int i = 0; i < count; ++i)
            work(i);
    };
}

// Once armed, keeps the first thread that comes by until it is released. Who waits longer than
// anything takes is in a deadlock.
class Barrier
{
public:
    void arm() { m_armed = true; }

    void pass()
    {
        if (!m_armed.exchange(false))
            return;
        m_entered.release();
        if (!m_released.tryAcquire(1, patience))
            failed = true;
    }

    [[nodiscard]] bool waitForEntry() { return m_entered.tryAcquire(1, patience); }
    void release() { m_released.release(); }

    std::atomic<bool> failed = false;

private:
    static constexpr int patience = 20'000; // milliseconds

    std::atomic<bool> m_armed = false;
    QSemaphore m_entered;
    QSemaphore m_released;
};

// What a layer holds: ui/lang alone.
QVariantMap langMap(const QVariant &lang)
{
    return groupMap(u"ui"_s, {{u"lang"_s, lang}});
}

QStringList sorted(QStringList lines)
{
    lines.sort();
    return lines;
}

} // namespace

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReaderIsNotDisturbedByOtherSettingsThatComeAndGo();
    void otherLayersAreUsedWhileSomeAreReplaced();
    void layersCreatedTogetherEndUpInOrder();
    void eachChangeIsNotifiedOnceAndInOrderOnTheWritingThread();
    void everyWriteOfAKeyIsNotified();
    void noCallWaitsForTheHost_data();
    void noCallWaitsForTheHost();
};

// The map of the layer gets other nodes under the eyes of the readers. A higher layer overrides what
// is written: without log lines and handlers the writers come by more often.
void tst_Threads::aReaderIsNotDisturbedByOtherSettingsThatComeAndGo()
{
    constexpr int pairs = 20;
    QVariantMap hiding;
    for (int i = 0; i < pairs; ++i)
        hiding.insert(QString::number(i), i);
    TestHost host;
    host.manager.initStorage(Rdm, groupMap(u"ui"_s, hiding));
    host.manager.initStorage(SystemProperties);
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SystemProperties);
    host.journal.take();

    const auto writer = [&host](int first) {
        return loop(5 * writes, [&host, first](int i) {
            const QString key = QString::number((2 * i + first) % pairs);
            host.manager.setValue(u"ui"_s, key, i, SystemProperties);
            host.manager.removeValue(u"ui"_s, key, SystemProperties);
        });
    };
    Journal wrong;
    const Body reader = loop(reads, [&host, &wrong](int) {
        const QVariant value = host.manager.value(u"ui"_s, u"lang"_s, u"default"_s);
        if (value != u"en"_s)
            wrong.add(describe(value));
        if (!host.manager.contains(u"ui"_s, u"lang"_s))
            wrong.add(u"not contained"_s);
    });
    runTogether({writer(0), writer(1), reader, reader, reader});
    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_Threads::otherLayersAreUsedWhileSomeAreReplaced()
{
    TestHost host;
    host.manager.initStorage(Runtime);
    host.manager.initStorage(SystemProperties);

    Journal wrong;
    const auto user = [&host, &wrong](SettingsType type) {
        return loop(writes, [&host, &wrong, type](int i) {
            const QString key = nameOf(type);
            host.manager.setValue(u"ui"_s, key, i, type);
            if (host.manager.value(u"ui"_s, key) != i)
                wrong.add(u"not written"_s);
            host.manager.removeValue(u"ui"_s, key, type);
            if (host.manager.contains(u"ui"_s, key, type))
                wrong.add(u"not removed"_s);
            if (!host.manager.storageAvailable(type))
                wrong.add(u"not available"_s);
        });
    };
    const Body replacer
            = loop(replacements, [&host](int i) { host.manager.initStorage(Rdm, langMap(i)); });
    const Body clearer = loop(replacements, [&host](int) {
        host.manager.initStorage(CommandLineArgs);
        host.manager.clearStorage(CommandLineArgs);
    });
    runTogether({replacer, clearer, user(Runtime), user(SystemProperties)});

    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(replacements - 1));
}

void tst_Threads::layersCreatedTogetherEndUpInOrder()
{
    for (int round = 0; round < rounds; ++round) {
        TestHost host;
        std::vector<Body> bodies;
        QStringList initialized;
        QStringList order;
        for (const SettingsType type : storagePriority) {
            const QString layer = nameOf(type);
            bodies.emplace_back([&host, type, layer] { host.init(type, {{u"k"_s, layer}}); });
            initialized.append(u"info: Storage: "_s + layer + u" initialized"_s);
            order.append(layer);
        }
        runTogether(bodies);
        QCOMPARE(sorted(host.journal.take().filter(u"Storage: "_s)), sorted(initialized));

        for (const SettingsType type : memoryLayers)
            host.manager.setValue(u"g"_s, u"k"_s, nameOf(type), type);
        QStringList answers;
        for (const SettingsType type : storagePriority) {
            answers.append(host.manager.value(u"g"_s, u"k"_s).toString());
            host.manager.clearStorage(type);
        }
        QCOMPARE(answers, order);
    }
}

void tst_Threads::eachChangeIsNotifiedOnceAndInOrderOnTheWritingThread()
{
    static thread_local QString keyOfThisThread;
    const auto checkThread = [](Journal *wrong) {
        return [wrong](SettingsType, const QString &, const QString &key, const QVariant &) {
            if (key != keyOfThisThread)
                wrong->add(key);
        };
    };
    struct Writer
    {
        QString key;
        SettingsType type;
        int count;
    };
    const std::vector<Writer> writers{
            {u"first"_s, Runtime, writes},
            {u"second"_s, Runtime, writes},
            {u"third"_s, SystemProperties, writes},
            {u"fourth"_s, CustomConfPersistent, fileWrites},
    };

    TestHost host;
    for (const SettingsType type : writableLayers)
        host.manager.initStorage(type);
    RecordingHandler secondHandler(&host.journal, u"second handler"_s);
    host.manager.appendConfigurationHandler(&secondHandler);
    Journal wrong;
    host.handler.reaction = checkThread(&wrong);
    secondHandler.reaction = checkThread(&wrong);
    host.journal.take();

    std::vector<Body> bodies;
    for (const Writer &writer : writers) {
        bodies.emplace_back([&host, &writer] {
            keyOfThisThread = writer.key;
            for (int i = 0; i < writer.count; ++i)
                host.manager.setValue(u"ui"_s, writer.key, i, writer.type);
            host.manager.removeValue(u"ui"_s, writer.key, writer.type);
        });
    }
    runTogether(bodies);

    QCOMPARE(wrong.take(), QStringList());
    const QStringList notified = host.journal.take();
    qsizetype expectedSize = 0;
    for (const Writer &writer : writers) {
        const QString layer = nameOf(writer.type);
        const QString logOperation = writer.type == SystemProperties ? u"info"_s : u"debug"_s;
        const QString change = u": %1 ui/%2 = %3"_s.arg(layer, writer.key);
        QStringList expected;
        for (int i = 0; i < writer.count; ++i) {
            const QString value = change.arg(describe(i));
            expected.append(
                    logOperation
                    + u": Top value changed %1: ui/%2 = '%3'"_s.arg(layer, writer.key).arg(i));
            expected.append(u"handler"_s + value);
            expected.append(u"second handler"_s + value);
        }
        expected.append(logOperation + u": Parameter removed from all storages: ui:"_s
                        + writer.key);
        expected.append(u"handler"_s + change.arg(describe(QVariant())));
        expected.append(u"second handler"_s + change.arg(describe(QVariant())));
        QCOMPARE(notified.filter(QRegularExpression(u"\\bui[/:]"_s + writer.key + u"\\b"_s)),
                 expected);
        expectedSize += expected.size();
    }
    QCOMPARE(notified.size(), expectedSize);
}

// Every write is a change, since no value comes twice; in which order is open.
void tst_Threads::everyWriteOfAKeyIsNotified()
{
    TestHost host;
    host.manager.initStorage(Runtime);
    host.journal.take();

    const auto writer = [&host](int first) {
        return loop(writes, [&host, first](int i) {
            host.manager.setValue(u"ui"_s, u"lang"_s, first + i, Runtime);
        });
    };
    runTogether({writer(0), writer(writes), writer(2 * writes)});

    QStringList expected;
    for (int i = 0; i < 3 * writes; ++i) {
        expected.append(u"debug: Top value changed Runtime: ui/lang = '%1'"_s.arg(i));
        expected.append(u"handler: Runtime ui/lang = int(%1)"_s.arg(i));
    }
    QCOMPARE(sorted(host.journal.take()), sorted(expected));
}

void tst_Threads::noCallWaitsForTheHost_data()
{
    QTest::addColumn<bool>("byHandler"); // the logger if not
    QTest::addColumn<Call>("call");

    const auto addRow = [](const char *name, Call call) { QTest::newRow(name) << false << call; };
    const auto write = [](auto type, auto key) {
        return [=](Manager &m) { m.setValue(u"ui"_s, key, u"en"_s, type); };
    };
    QTest::newRow("notified write") << true << Call(write(Runtime, u"size"_s));
    addRow("refused write", write(Rdm, u"lang"_s));
    addRow("refused removal", [](Manager &m) { m.removeValue(u"ui"_s, u"lang"_s, Rdm); });
    addRow("file not writable", write(SelviDb, u"lang"_s));
    addRow("write", write(Runtime, u"lang"_s));
    addRow("removal", [](Manager &m) { m.removeValue(u"ui"_s, u"size"_s, Runtime); });
    addRow("write into a file", write(CustomConfPersistent, u"font"_s));
    addRow("new layer", [](Manager &m) { m.initStorage(CommandLineArgs); });
    addRow("replaced layer", [](Manager &m) { m.initStorage(Rdm); });
    addRow("cleared layer", [](Manager &m) { m.clearStorage(Rdm); });
    addRow("missing layer", [](Manager &m) { m.clearStorage(CommandLineArgs); });
}

void tst_Threads::noCallWaitsForTheHost()
{
    QFETCH(const bool, byHandler);
    QFETCH(const Call, call);

    TestHost host;
    Manager &manager = host.manager;
    manager.initStorage(Rdm, langMap(0));
    manager.initStorage(Runtime);
    manager.setValue(u"ui"_s, u"size"_s, 1, Runtime);
    manager.initStorage(CustomConfPersistent);
    QVERIFY(writeFile(host.folder.filePath(u"file"_s), "no folder"));
    manager.setPersistentStoragePath(host.folder.filePath(u"file/"_s));
    manager.initStorage(SelviDb);
    Barrier barrier;
    if (byHandler)
        host.handler.reaction = [&barrier](SettingsType, const QString &, const QString &,
                                           const QVariant &) { barrier.pass(); };
    else
        host.logger.reaction = [&barrier](const QString &) { barrier.pass(); };

    barrier.arm();
    std::thread caller([&manager, call] { call(manager); });
    const bool entered = barrier.waitForEntry();
    const QVariant seen = manager.value(u"ui"_s, u"size"_s);
    const bool contained = manager.contains(u"ui"_s, u"nothing"_s);
    manager.initStorage(SystemProperties);
    manager.setValue(u"ui"_s, u"color"_s, u"red"_s, Runtime);
    manager.setValue(u"ui"_s, u"color"_s, u"red"_s, CustomConfPersistent);
    manager.removeValue(u"ui"_s, u"color"_s, Runtime);
    manager.clearStorage(SystemProperties);
    barrier.release();
    caller.join();

    QVERIFY(entered);
    QVERIFY(!barrier.failed);
    QVERIFY(!contained);
    if (byHandler)
        QCOMPARE(seen, QVariant(u"en"_s)); // the handler is notified of what is written already
}

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"

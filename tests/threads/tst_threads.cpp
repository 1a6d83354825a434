// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What several threads may do at the same time. What happens is compared here as far as it can be
// seen from outside; whether it was more than luck is for the thread sanitizer to say.

#include "recording.h"
#include "testhost.h"
#include "threads.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

using Call = void (*)(ConfigurationManager &manager);
Q_DECLARE_METATYPE(Call)

namespace {

constexpr int writes = 1000; // by one thread
constexpr int fileWrites = 200; // the same into a file, which is opened for each of them
constexpr int reads = 4000;
constexpr int replacements = 1000;
constexpr int rounds = 50;

using Body = std::function<void()>;

// Lets threads wait for something to happen on another one.
class Signal
{
public:
    void raise()
    {
        const std::lock_guard locker(m_mutex);
        m_raised = true;
        m_condition.notify_all();
    }

    // false if it does not come: a deadlock, as this is far longer than anything takes.
    [[nodiscard]] bool wait()
    {
        std::unique_lock locker(m_mutex);
        return m_condition.wait_for(locker, std::chrono::seconds(20), [this] { return m_raised; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_raised = false; // guarded by m_mutex
};

// Once armed, keeps the first thread that comes by until it is released.
class Barrier
{
public:
    void arm() { m_armed = true; }

    void pass()
    {
        if (!m_armed.exchange(false))
            return;
        entered.raise();
        if (!released.wait())
            failed = true;
    }

    Signal entered;
    Signal released;
    std::atomic<bool> failed = false;

private:
    std::atomic<bool> m_armed = false;
};

// A text that shows whether it is a mixture of two: "Runtime's 7 7 7 7 7 7 7 7".
QString wholeText(const QString &layer, int number)
{
    return layer + u"'s"_s + u" %1"_s.arg(number).repeated(8);
}

bool isWhole(const QString &text)
{
    const QStringList words = text.split(u' ');
    return words.size() == 9 && words.first().endsWith("'s"_L1) && words.count(words.last()) == 8;
}

// Reads ui/lang, and writes down what is not one of the whole texts of a layer.
Body reader(const ConfigurationManager &manager, Journal *wrong)
{
    return [&manager, wrong] {
        for (int i = 0; i < reads; ++i) {
            const QVariant value = manager.value(u"ui"_s, u"lang"_s, u"default"_s);
            if (!isWhole(value.toString()))
                wrong->add(describe(value));
            if (!manager.contains(u"ui"_s, u"lang"_s))
                wrong->add(u"not contained"_s);
        }
    };
}

QVariantMap wholeMap(const QString &layer, int number)
{
    return groupMap(u"ui"_s, {{u"lang"_s, wholeText(layer, number)}});
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
    void aReaderSeesOneOfTheWrittenValues();
    void aReaderIsNotDisturbedByOtherPairsThatComeAndGo();
    void aReaderSeesALayerOrTheNextOneWhileItIsReplacedAndCleared();
    void otherLayersAreUsedWhileSomeAreReplaced();
    void aPairIsWrittenWhileLayersAboveAndBelowComeAndGo();
    void layersCreatedTogetherEndUpInOrder();
    void eachChangeIsNotifiedOnceAndInOrderOnTheWritingThread();
    void everyWriteOfAKeyIsNotified();
    void refusalsAreLoggedForEveryThread();
    void noCallWaitsForAHandler();
    void noCallWaitsForTheLogger_data();
    void noCallWaitsForTheLogger();
    void tablesAreThereForEveryThread();
};

void tst_Threads::aReaderSeesOneOfTheWrittenValues()
{
    TestHost host;
    for (const SettingsType type : writableLayers)
        host.manager.initStorage(type);
    host.manager.setValue(u"ui"_s, u"lang"_s, wholeText(u"RavonaConfDefault"_s, 0),
                          SettingsType::RavonaConfDefault);

    const auto writer = [&host](SettingsType type, int count) -> Body {
        return [&host, type, count] {
            const QString layer = QLatin1StringView(keyOf(type));
            for (int i = 0; i < count; ++i)
                host.manager.setValue(u"ui"_s, u"lang"_s, wholeText(layer, i), type);
        };
    };
    Journal wrong;
    runTogether({writer(SettingsType::Runtime, writes),
                 writer(SettingsType::SystemProperties, writes),
                 writer(SettingsType::CustomConfPersistent, fileWrites),
                 writer(SettingsType::RavonaConfDefault, fileWrites), reader(host.manager, &wrong),
                 reader(host.manager, &wrong), reader(host.manager, &wrong)});

    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s).toString(),
             wholeText(u"Runtime"_s, writes - 1));
}

// Unlike in the test above, the map of the layer gets other nodes under the eyes of the readers. The
// writers are hidden by a higher layer: without log lines and handlers they come by more often.
void tst_Threads::aReaderIsNotDisturbedByOtherPairsThatComeAndGo()
{
    constexpr int pairs = 20;
    QVariantMap hiding;
    for (int i = 0; i < pairs; ++i)
        hiding.insert(QString::number(i), i);
    TestHost host;
    host.manager.initStorage(SettingsType::Rdm, groupMap(u"ui"_s, hiding));
    host.manager.initStorage(SettingsType::SystemProperties);
    host.manager.setValue(u"ui"_s, u"lang"_s, wholeText(u"SystemProperties"_s, 0),
                          SettingsType::SystemProperties);
    host.journal.take();

    const auto writer = [&host](int first) -> Body {
        return [&host, first] {
            for (int i = first; i < 10 * writes; i += 2) {
                const QString key = QString::number(i % pairs);
                host.manager.setValue(u"ui"_s, key, i, SettingsType::SystemProperties);
                host.manager.removeValue(u"ui"_s, key, SettingsType::SystemProperties);
            }
        };
    };
    Journal wrong;
    runTogether({writer(0), writer(1), reader(host.manager, &wrong), reader(host.manager, &wrong)});

    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_Threads::aReaderSeesALayerOrTheNextOneWhileItIsReplacedAndCleared()
{
    TestHost host;
    host.manager.initStorage(SettingsType::CommandLineArgs, wholeMap(u"CommandLineArgs"_s, 0));

    Journal wrong;
    runTogether({[&host] {
                     for (int i = 0; i < replacements; ++i) {
                         if (i % 5 == 0)
                             host.manager.clearStorage(SettingsType::Rdm);
                         host.manager.initStorage(SettingsType::Rdm, wholeMap(u"Rdm"_s, i));
                     }
                 },
                 reader(host.manager, &wrong), reader(host.manager, &wrong),
                 reader(host.manager, &wrong)});

    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s).toString(),
             wholeText(u"Rdm"_s, replacements - 1));
}

void tst_Threads::otherLayersAreUsedWhileSomeAreReplaced()
{
    TestHost host;
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.initStorage(SettingsType::SystemProperties);

    Journal wrong;
    const auto user = [&host, &wrong](SettingsType type) -> Body {
        return [&host, &wrong, type] {
            const QString key = QLatin1StringView(keyOf(type));
            for (int i = 0; i < writes; ++i) {
                host.manager.setValue(u"ui"_s, key, i, type);
                if (host.manager.value(u"ui"_s, key) != i)
                    wrong.add(u"not written"_s);
                host.manager.removeValue(u"ui"_s, key, type);
                if (host.manager.contains(u"ui"_s, key, type))
                    wrong.add(u"not removed"_s);
                if (!host.manager.storageAvailable(type))
                    wrong.add(u"not available"_s);
            }
        };
    };
    runTogether({[&host] {
                     for (int i = 0; i < replacements; ++i)
                         host.manager.initStorage(SettingsType::Rdm, wholeMap(u"Rdm"_s, i));
                 },
                 [&host] {
                     for (int i = 0; i < replacements; ++i) {
                         host.manager.initStorage(SettingsType::CommandLineArgs);
                         host.manager.clearStorage(SettingsType::CommandLineArgs);
                     }
                 },
                 user(SettingsType::Runtime), user(SettingsType::SystemProperties)});

    QCOMPARE(wrong.take(), QStringList());
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s).toString(),
             wholeText(u"Rdm"_s, replacements - 1));
}

void tst_Threads::aPairIsWrittenWhileLayersAboveAndBelowComeAndGo()
{
    // Who changes the pair looks at the layer that answers for it; another thread may take it away.
    TestHost host;
    host.manager.initStorage(SettingsType::SystemProperties);
    Journal wrong;
    host.handler.reaction
            = [&wrong](SettingsType, const QString &, const QString &, const QVariant &value) {
                  if (value.isValid() && !isWhole(value.toString()))
                      wrong.add(describe(value));
              };

    const auto comeAndGo = [&host](SettingsType type) -> Body {
        return [&host, type] {
            const QString layer = QLatin1StringView(keyOf(type));
            for (int i = 0; i < replacements; ++i) {
                host.manager.initStorage(type, wholeMap(layer, i));
                host.manager.initStorage(type, wholeMap(layer, i + 1));
                host.manager.clearStorage(type);
            }
        };
    };
    runTogether(
            {comeAndGo(SettingsType::Rdm), comeAndGo(SettingsType::CommandLineArgs), [&host] {
                 for (int i = 0; i < writes; ++i) {
                     host.manager.setValue(u"ui"_s, u"lang"_s, wholeText(u"SystemProperties"_s, i),
                                           SettingsType::SystemProperties);
                     host.manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::SystemProperties);
                 }
             }});

    QCOMPARE(wrong.take(), QStringList());
    QVERIFY(!host.manager.contains(u"ui"_s, u"lang"_s));
}

void tst_Threads::layersCreatedTogetherEndUpInOrder()
{
    for (int round = 0; round < rounds; ++round) {
        TestHost host;
        std::vector<Body> bodies;
        QStringList initialized;
        QStringList order;
        for (const SettingsType type : storagePriority) {
            const QString layer = QLatin1StringView(keyOf(type));
            bodies.emplace_back([&host, type, layer] { host.init(type, {{u"k"_s, layer}}); });
            initialized.append(u"info: Storage: "_s + layer + u" initialized"_s);
            order.append(layer);
        }
        runTogether(bodies);
        QCOMPARE(sorted(host.journal.take().filter(u"Storage: "_s)), sorted(initialized));

        for (const SettingsType type : memoryLayers)
            host.manager.setValue(u"g"_s, u"k"_s, QLatin1StringView(keyOf(type)), type);
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
            {u"first"_s, SettingsType::Runtime, writes},
            {u"second"_s, SettingsType::Runtime, writes},
            {u"third"_s, SettingsType::SystemProperties, writes},
            {u"fourth"_s, SettingsType::CustomConfPersistent, fileWrites},
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
        const QString layer = QLatin1StringView(keyOf(writer.type));
        const QString logOperation
                = writer.type == SettingsType::SystemProperties ? u"info"_s : u"debug"_s;
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
    host.manager.initStorage(SettingsType::Runtime);
    host.journal.take();

    const auto writer = [&host](int first) -> Body {
        return [&host, first] {
            for (int i = 0; i < writes; ++i)
                host.manager.setValue(u"ui"_s, u"lang"_s, first + i, SettingsType::Runtime);
        };
    };
    runTogether({writer(0), writer(writes), writer(2 * writes)});

    QStringList expected;
    for (int i = 0; i < 3 * writes; ++i) {
        expected.append(u"debug: Top value changed Runtime: ui/lang = '%1'"_s.arg(i));
        expected.append(u"handler: Runtime ui/lang = int(%1)"_s.arg(i));
    }
    QCOMPARE(sorted(host.journal.take()), sorted(expected));
}

void tst_Threads::refusalsAreLoggedForEveryThread()
{
    TestHost host;
    host.manager.initStorage(SettingsType::Rdm, wholeMap(u"Rdm"_s, 0));
    host.journal.take();

    const Body writer = [&host] {
        for (int i = 0; i < writes; ++i)
            host.manager.setValue(u"ui"_s, u"lang"_s, i, SettingsType::Rdm);
    };
    const Body remover = [&host] {
        for (int i = 0; i < writes; ++i)
            host.manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::Rdm);
    };
    runTogether({writer, writer, remover, remover});

    QCOMPARE(sorted(host.journal.take()),
             QStringList(qsizetype{2} * writes, u"error: The storage doesn't support removing!"_s)
                     + QStringList(qsizetype{2} * writes,
                                   u"error: The storage doesn't support writing!"_s));
}

void tst_Threads::noCallWaitsForAHandler()
{
    TestHost host;
    host.manager.initStorage(SettingsType::Runtime);
    Barrier barrier;
    barrier.arm();
    host.handler.reaction = [&barrier](SettingsType, const QString &, const QString &,
                                       const QVariant &) { barrier.pass(); };

    std::thread writer(
            [&host] { host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::Runtime); });
    const bool entered = barrier.entered.wait();
    const QVariant seen = host.manager.value(u"ui"_s, u"lang"_s);
    host.manager.setValue(u"ui"_s, u"lang"_s, u"de"_s, SettingsType::Runtime);
    host.manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::Runtime);
    host.manager.initStorage(SettingsType::SystemProperties);
    host.manager.clearStorage(SettingsType::SystemProperties);
    barrier.released.raise();
    writer.join();

    QVERIFY(entered);
    QVERIFY(!barrier.failed);
    QCOMPARE(seen, QVariant(u"en"_s));
}

void tst_Threads::noCallWaitsForTheLogger_data()
{
    QTest::addColumn<Call>("call");

    const auto addRow = [](const char *name, Call call) { QTest::newRow(name) << call; };
    addRow("refused write", [](ConfigurationManager &manager) {
        manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::Rdm);
    });
    addRow("refused removal", [](ConfigurationManager &manager) {
        manager.removeValue(u"ui"_s, u"lang"_s, SettingsType::Rdm);
    });
    addRow("file not writable", [](ConfigurationManager &manager) {
        manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::SelviDb);
    });
    addRow("write", [](ConfigurationManager &manager) {
        manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::Runtime);
    });
    addRow("removal", [](ConfigurationManager &manager) {
        manager.removeValue(u"ui"_s, u"size"_s, SettingsType::Runtime);
    });
    addRow("write into a file", [](ConfigurationManager &manager) {
        manager.setValue(u"ui"_s, u"font"_s, u"en"_s, SettingsType::CustomConfPersistent);
    });
    addRow("new layer", [](ConfigurationManager &manager) {
        manager.initStorage(SettingsType::CommandLineArgs);
    });
    addRow("replaced layer",
           [](ConfigurationManager &manager) { manager.initStorage(SettingsType::Rdm); });
    addRow("cleared layer",
           [](ConfigurationManager &manager) { manager.clearStorage(SettingsType::Rdm); });
    addRow("missing layer", [](ConfigurationManager &manager) {
        manager.clearStorage(SettingsType::CommandLineArgs);
    });
}

void tst_Threads::noCallWaitsForTheLogger()
{
    QFETCH(const Call, call);

    const QTemporaryDir folder;
    Barrier barrier;
    RecordingLogger logger;
    logger.reaction = [&barrier](const QString &) { barrier.pass(); };
    ConfigurationManager manager(&logger);
    manager.initStorage(SettingsType::Rdm, wholeMap(u"Rdm"_s, 0));
    manager.initStorage(SettingsType::Runtime);
    manager.setValue(u"ui"_s, u"size"_s, 1, SettingsType::Runtime);
    manager.setPersistentStoragePath(folder.path() + u'/');
    manager.initStorage(SettingsType::CustomConfPersistent);
    QVERIFY(writeFile(folder.filePath(u"file"_s), "no folder"));
    manager.setPersistentStoragePath(folder.filePath(u"file/"_s));
    manager.initStorage(SettingsType::SelviDb);

    barrier.arm();
    std::thread caller([&manager, call] { call(manager); });
    const bool entered = barrier.entered.wait();
    const bool contained = manager.contains(u"ui"_s, u"nothing"_s);
    manager.initStorage(SettingsType::SystemProperties);
    manager.setValue(u"ui"_s, u"color"_s, u"red"_s, SettingsType::Runtime);
    manager.setValue(u"ui"_s, u"color"_s, u"red"_s, SettingsType::CustomConfPersistent);
    manager.removeValue(u"ui"_s, u"color"_s, SettingsType::Runtime);
    manager.clearStorage(SettingsType::SystemProperties);
    barrier.released.raise();
    caller.join();

    QVERIFY(entered);
    QVERIFY(!barrier.failed);
    QVERIFY(!contained);
}

void tst_Threads::tablesAreThereForEveryThread()
{
    const QList<SettingsType> byRank{
            SettingsType::Runtime,         SettingsType::Rdm,
            SettingsType::FeatureKeys,     SettingsType::SystemProperties,
            SettingsType::CommandLineArgs, SettingsType::CustomConfPersistent,
            SettingsType::SelviDb,         SettingsType::RavonaConfDefault};
    const QStringList levels{u"critical"_s, u"error"_s, u"warning"_s,
                             u"info"_s,     u"debug"_s, u"trace"_s};

    Journal wrong;
    const auto check = [&wrong](bool right, const char *what) {
        if (!right)
            wrong.add(QLatin1StringView(what));
    };
    const Body reader = [&byRank, &levels, &check] {
        for (int i = 0; i < reads; ++i) {
            const int rank = i % 8;
            check(storagePriority == byRank, "storagePriority");
            check(priorityOf(byRank.at(rank)) == rank, "priorityOf");
            check(priorityOf(static_cast<SettingsType>(8)) == -1, "priorityOf, unknown");
            check(QVariant::fromValue(byRank.at(rank)).toString()
                          == QLatin1StringView(keyOf(byRank.at(rank))),
                  "meta type");
            const int level = i % 6;
            check(LogsConfigWrapper::stringLevelToIntLevel().value(levels.at(level), -1) == level,
                  "stringLevelToIntLevel");
            check(LogsConfigWrapper::minLevel() == 0, "minLevel");
            check(LogsConfigWrapper::maxLevel() == 5, "maxLevel");
            check(LogsConfigWrapper::isLevelValid(level), "isLevelValid");
            check(!LogsConfigWrapper::isLevelValid(level + 6), "isLevelValid, too high");
        }
    };
    runTogether({reader, reader, reader, reader});

    QCOMPARE(wrong.take(), QStringList());
}

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"

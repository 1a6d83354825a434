// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Writers, subscribers and dying contexts on several threads at once. The tests compare the
// results; the sanitizers find races that leave the results right by luck.

#include "testhost.h"
#include "threads.h"

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/setting.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::host;
using namespace tamsel::tests;

namespace {

constexpr int writers = 3;
constexpr int writes = 500;
constexpr int subscribers = 3;

class Host : public TestHost
{
public:
    Host()
    {
        for (const SettingsType type : {SettingsType::Runtime, SettingsType::SystemProperties})
            prepare(type);
        manager.removeConfigurationHandler(&handler);
    }

    std::optional<ChangeNotifier> notifier{&manager};
};

// Sets and removes settings of two layers.
void write(ConfigurationManager &manager, int seed)
{
    QRandomGenerator random{quint32(seed)};
    for (int i = 0; i < writes; ++i) {
        const QString key = QString::number(random.bounded(3));
        const SettingsType type
                = random.bounded(2) ? SettingsType::Runtime : SettingsType::SystemProperties;
        if (random.bounded(4))
            manager.setValue(u"g"_s, key, random.bounded(5), type);
        else
            manager.removeValue(u"g"_s, key, type);
    }
}

// Delivers the events posted to objects of this thread.
void processEvents()
{
    QEventLoop().processEvents();
}

} // namespace

class tst_ChangeNotifierThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lastValueArrives();
    void contextsDieAtAnyTime();
    void othersDropAtAnyTime();
    void layersAreReplacedMeanwhile();
    void notifierDiesBeforeEventsArrive();
};

// Writers on some threads, subscribers on others. The last value of each subscriber is the
// reader's.
void tst_ChangeNotifierThreads::lastValueArrives()
{
    const Watchdog watchdog;
    Host host;
    std::atomic<int> writing = writers;
    std::atomic<int> differences = 0;
    std::vector<std::function<void()>> threads;
    for (int i = 0; i < writers; ++i) {
        threads.emplace_back([&, i] {
            write(host.manager, i);
            --writing;
        });
    }
    for (int i = 0; i < subscribers; ++i) {
        threads.emplace_back([&] {
            QObject context;
            QThread *const thread = QThread::currentThread();
            QHash<QString, QVariant> atStart; // or later: may be the first call's value
            QHash<QString, QVariant> last;
            QHash<QString, Change> lastOfAll;
            for (int key = 0; key < 3; ++key) {
                const QString name = QString::number(key);
                host.notifier->subscribe(u"g"_s, name, &context, [&](const Change &change) {
                    differences += QThread::currentThread() != thread;
                    differences
                            += last.contains(change.key) && last.value(change.key) == change.value;
                    last.insert(change.key, change.value);
                });
                atStart.insert(name, host.manager.value(u"g"_s, name));
            }
            host.notifier->subscribeGroup(u"g"_s, &context, [&](const Change &change) {
                lastOfAll.insert(change.key, change);
            });
            while (writing > 0)
                processEvents();
            processEvents();
            for (auto value = atStart.cbegin(); value != atStart.cend(); ++value) {
                differences += last.value(value.key(), *value)
                        != host.manager.value(u"g"_s, value.key());
            }
            for (const Change &change : std::as_const(lastOfAll)) {
                differences += change.value != host.manager.value(u"g"_s, change.key);
                differences += change.value.isValid() != change.origin.has_value();
            }
        });
    }
    runTogether(threads);
    QCOMPARE(differences, 0);
}

void tst_ChangeNotifierThreads::contextsDieAtAnyTime()
{
    const Watchdog watchdog;
    Host host;
    std::atomic<int> writing = writers;
    std::atomic<int> late = 0;
    std::vector<std::function<void()>> threads;
    for (int i = 0; i < writers; ++i) {
        threads.emplace_back([&, i] {
            write(host.manager, i);
            --writing;
        });
    }
    for (int i = 0; i < subscribers; ++i) {
        threads.emplace_back([&, i] {
            QRandomGenerator random{quint32(i)};
            while (writing > 0) {
                bool alive = true;
                auto context = std::make_unique<QObject>();
                const auto function = [&](const Change &) { late += !alive; };
                const QString key = QString::number(random.bounded(3));
                host.notifier->subscribe(u"g"_s, key, context.get(), function);
                host.notifier->subscribeAll(context.get(), function);
                Subscription subscription
                        = host.notifier->subscribeGroup(u"g"_s, context.get(), function);
                for (int rounds = random.bounded(3); rounds > 0; --rounds)
                    processEvents();
                if (random.bounded(2))
                    subscription.drop();
                context.reset();
                alive = false;
                processEvents();
            }
        });
    }
    runTogether(threads);
    QCOMPARE(late, 0);
}

// Subscriptions are dropped on other threads than the context's. No call begins after that.
void tst_ChangeNotifierThreads::othersDropAtAnyTime()
{
    const Watchdog watchdog;
    Host host;
    std::atomic<int> writing = writers;
    std::vector<std::function<void()>> threads;
    for (int i = 0; i < writers; ++i) {
        threads.emplace_back([&, i] {
            write(host.manager, i);
            --writing;
        });
    }
    QObject context; // on this thread, which runs no event loop until the others are done
    std::atomic<int> calls = 0;
    for (int i = 0; i < subscribers; ++i) {
        threads.emplace_back([&] {
            while (writing > 0) {
                Subscription subscription
                        = host.notifier->subscribeAll(&context, [&](const Change &) { ++calls; });
                host.notifier->subscribe(u"g"_s, u"0"_s, &context, [&](const Change &) { ++calls; })
                        .drop();
                subscription.drop();
            }
        });
    }
    runTogether(threads);
    QCoreApplication::processEvents();
    QCOMPARE(calls, 0);
}

// This thread, which made the notifier, replaces a layer. Others write to another one and
// subscribe.
void tst_ChangeNotifierThreads::layersAreReplacedMeanwhile()
{
    const Watchdog watchdog;
    Host host;
    std::atomic<bool> replacing = true;
    std::vector<std::thread> threads;
    std::atomic<int> started = 0;
    for (int i = 0; i < subscribers; ++i) {
        threads.emplace_back([&, i] {
            QObject context;
            const Setting<int> setting({u"g"_s, QString::number(i), 0}, &*host.notifier);
            setting.onChanged(&context, [&](int) {});
            host.notifier->subscribeAll(&context, [](const Change &) {});
            ++started;
            for (int n = 0; replacing; ++n) {
                setting.setValue(n % 7, SettingsType::SystemProperties);
                processEvents();
            }
        });
    }
    QObject context;
    int calls = 0;
    host.notifier->subscribeGroup(u"g"_s, &context, [&](const Change &) { ++calls; });
    while (started < subscribers)
        std::this_thread::yield();
    for (int n = 0; n < 200; ++n) {
        host.manager.initStorage(SettingsType::Rdm,
                                 groupMap(u"g"_s, {{u"0"_s, n}, {u"1"_s, n}, {u"x"_s, n}}));
        host.manager.clearStorage(SettingsType::Rdm);
        QCoreApplication::processEvents();
    }
    replacing = false;
    for (std::thread &thread : threads)
        thread.join();
    QVERIFY(calls >= 400); // "x" twice in each round
}

void tst_ChangeNotifierThreads::notifierDiesBeforeEventsArrive()
{
    const Watchdog watchdog;
    for (int round = 0; round < 50; ++round) {
        Host host;
        QSemaphore ready;
        std::atomic<bool> destroyed = false;
        std::thread subscriber([&] {
            QObject context;
            host.notifier->subscribeAll(&context, [](const Change &) {});
            Subscription subscription
                    = host.notifier->subscribe(u"g"_s, u"0"_s, &context, [](const Change &) {});
            ready.release();
            while (!destroyed)
                processEvents(); // before and after the notifier is destroyed
            subscription.drop();
        });
        ready.acquire();
        for (int n = 0; n < 20; ++n)
            host.manager.setValue(u"g"_s, u"0"_s, n, SettingsType::Runtime);
        host.notifier.reset();
        destroyed = true;
        subscriber.join();
    }
}

QTEST_GUILESS_MAIN(tst_ChangeNotifierThreads)
#include "tst_changenotifierthreads.moc"

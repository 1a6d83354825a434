// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"

#include <tamsel/host/changenotifier.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::host;
using namespace tamsel::tests;

static_assert(std::is_nothrow_copy_constructible_v<
                      Subscription> && std::is_nothrow_move_assignable_v<Subscription>);
static_assert(!std::is_copy_constructible_v<ChangeNotifier>);

namespace {

QString describe(const Change &change)
{
    return u"%1/%2 = %3 from %4"_s.arg(change.group, change.key, tests::describe(change.value),
                                       change.origin ? nameOf(*change.origin) : u"none"_s);
}

// A manager with Runtime, Rdm, SystemProperties and CustomConfPersistent, and a notifier. Functions
// from recorder() record the changes that they get.
class Host : public TestHost
{
public:
    Host()
    {
        for (const SettingsType type :
             {SettingsType::Runtime, SettingsType::Rdm, SettingsType::SystemProperties,
              SettingsType::CustomConfPersistent})
            prepare(type);
        manager.removeConfigurationHandler(&handler);
    }

    // A function that records "name: g/k = int(5) from Runtime".
    ChangeNotifier::Function recorder(const QString &name = u"got"_s)
    {
        return [this, name](const Change &change) {
            changes.append(name + ": "_L1 + describe(change));
        };
    }

    void set(const QVariant &value, SettingsType type = SettingsType::Runtime,
             const QString &group = u"g"_s, const QString &key = u"k"_s)
    {
        manager.setValue(group, key, value, type);
    }
    void remove(SettingsType type = SettingsType::Runtime)
    {
        manager.removeValue(u"g"_s, u"k"_s, type);
    }
    QStringList take() { return std::exchange(changes, {}); }

    QStringList changes; // used by one thread at a time
    std::optional<ChangeNotifier> notifier{&manager};
    QObject context;
};

// A thread with an event loop, on which the test can run something and wait for it.
class Worker
{
public:
    Worker()
    {
        m_object->moveToThread(&m_thread);
        m_thread.start();
    }
    ~Worker()
    {
        run([this] { m_object.reset(); });
        m_thread.quit();
        m_thread.wait();
    }

    template <typename Function> void run(Function function)
    {
        QSemaphore done;
        QMetaObject::invokeMethod(
                m_object.get(),
                [&] {
                    function();
                    done.release();
                },
                Qt::QueuedConnection);
        done.acquire();
    }
    QThread *thread() { return &m_thread; }
    QObject *object() { return m_object.get(); }

private:
    Q_DISABLE_COPY_MOVE(Worker)

    QThread m_thread;
    std::unique_ptr<QObject> m_object = std::make_unique<QObject>();
};

} // namespace

class tst_ChangeNotifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void notifiesOfOneSetting();
    void notifiesOfAGroup();
    void notifiesOfEverything();
    void valueIsTheReaders();
    void equalValueIsNotNotified();
    void valueAtTheSubscriptionCounts();
    void overriddenReplacementIsNotNotified();
    void subscribersAreCalledInOrder();

    void otherThreadsGetEvents();
    void waitingEventsBecomeOne();
    void waitingValueMayBeEqualAgain();
    void changesOfOtherThreadsHaveAnOrigin();
    void contextMayMove();
    void contextMayMoveInAFunction();

    void droppedSubscriptionIsNotCalled();
    void droppedSubscriptionGetsNoEvent();
    void subscriptionEndsWithItsContext();
    void functionMayDropSubscriptions();
    void functionMaySubscribe();
    void functionMayDestroyContexts();
    void aContextMayDieWithoutItsSignal();
    void functionMayChangeSettings();
    void functionMayDestroyTheNotifier();
    void functionMayThrow();
    void functionIsDestroyed();

    void notifierMayDieFirst();
    void notifierAppendsAndRemovesItself();
};

void tst_ChangeNotifier::notifiesOfOneSetting()
{
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.set(5);
    host.set(6, SettingsType::SystemProperties);
    host.set(7, SettingsType::Runtime, u"g"_s, u"other"_s);
    host.set(7, SettingsType::Runtime, u"other"_s, u"k"_s);
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(5) from Runtime"_s));
    host.remove();
    host.remove(SettingsType::SystemProperties);
    QCOMPARE(host.take(),
             QStringList({u"got: g/k = int(6) from SystemProperties"_s,
                          u"got: g/k = invalid from none"_s}));
}

void tst_ChangeNotifier::notifiesOfAGroup()
{
    Host host;
    host.notifier->subscribeGroup(u"g"_s, &host.context, host.recorder());
    host.set(1, SettingsType::Runtime, u"g"_s, u"a"_s);
    host.set(2, SettingsType::Runtime, u"g"_s, u"b"_s);
    host.set(3, SettingsType::Runtime, u"g/a"_s, u"a"_s);
    host.set(4, SettingsType::Runtime, QString(), u"a"_s);
    QCOMPARE(host.take(),
             QStringList(
                     {u"got: g/a = int(1) from Runtime"_s, u"got: g/b = int(2) from Runtime"_s}));
}

void tst_ChangeNotifier::notifiesOfEverything()
{
    Host host;
    host.notifier->subscribeAll(&host.context, host.recorder());
    host.set(1, SettingsType::Runtime, u"g"_s, u"a"_s);
    host.set(2, SettingsType::Runtime, QString(), u"b"_s);
    host.manager.clearStorage(SettingsType::Runtime);
    QCOMPARE(host.take(),
             QStringList({u"got: g/a = int(1) from Runtime"_s, u"got: /b = int(2) from Runtime"_s,
                          u"got: /b = invalid from none"_s, u"got: g/a = invalid from none"_s}));
}

// If a removal uncovers a value, handlers get it as text, but readers and subscribers do not.
void tst_ChangeNotifier::valueIsTheReaders()
{
    Host host;
    host.set(QStringList({u"a"_s, u"b"_s}), SettingsType::SystemProperties);
    host.set(true);
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.remove();
    QCOMPARE(host.take(),
             QStringList("got: g/k = "_L1 + tests::describe(QStringList({u"a"_s, u"b"_s}))
                         + " from SystemProperties"_L1));
}

void tst_ChangeNotifier::equalValueIsNotNotified()
{
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.notifier->subscribeAll(&host.context, host.recorder(u"all"_s));
    host.set(5, SettingsType::SystemProperties);
    host.take();
    host.set(5); // changes only the origin
    QCOMPARE(host.take(), QStringList(u"all: g/k = int(5) from Runtime"_s));
    host.set(6, SettingsType::SystemProperties);
    host.set(5.0, SettingsType::SystemProperties);
    host.remove(); // uncovers a value of another type
    QCOMPARE(host.take(),
             QStringList({u"got: g/k = double(5) from SystemProperties"_s,
                          u"all: g/k = double(5) from SystemProperties"_s}));
}

void tst_ChangeNotifier::valueAtTheSubscriptionCounts()
{
    Host host;
    host.set(5, SettingsType::SystemProperties);
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.set(5);
    QCOMPARE(host.take(), QStringList());
    host.set(6);
    host.set(5);
    QCOMPARE(host.take(),
             QStringList(
                     {u"got: g/k = int(6) from Runtime"_s, u"got: g/k = int(5) from Runtime"_s}));
}

// Handlers are notified of the overridden values of a replaced layer; a setting's subscribers are
// not.
void tst_ChangeNotifier::overriddenReplacementIsNotNotified()
{
    Host host;
    host.set(5);
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.notifier->subscribeGroup(u"g"_s, &host.context, host.recorder(u"group"_s));
    host.manager.initStorage(SettingsType::Rdm, groupMap(u"g"_s, {{u"k"_s, 1}, {u"other"_s, 2}}));
    QCOMPARE(host.take(),
             QStringList({u"group: g/k = int(5) from Runtime"_s,
                          u"group: g/other = int(2) from Rdm"_s}));
}

void tst_ChangeNotifier::subscribersAreCalledInOrder()
{
    Host host;
    for (const QString &name : {u"1"_s, u"2"_s}) {
        host.notifier->subscribeAll(&host.context, host.recorder(u"all "_s + name));
        host.notifier->subscribeGroup(u"g"_s, &host.context, host.recorder(u"group "_s + name));
        host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"one "_s + name));
    }
    host.set(5);
    QStringList names;
    for (const QString &change : host.take())
        names.append(change.section(u':', 0, 0));
    QCOMPARE(names,
             QStringList(
                     {u"one 1"_s, u"one 2"_s, u"group 1"_s, u"group 2"_s, u"all 1"_s, u"all 2"_s}));
}

void tst_ChangeNotifier::otherThreadsGetEvents()
{
    Worker worker;
    Host host;
    QThread *thread = nullptr;
    host.notifier->subscribe(u"g"_s, u"k"_s, worker.object(), [&](const Change &change) {
        thread = QThread::currentThread();
        host.changes.append(describe(change));
    });
    host.set(5);
    worker.run([] {});
    QCOMPARE(thread, worker.thread());
    QCOMPARE(host.take(), QStringList(u"g/k = int(5) from Runtime"_s));

    // In the other direction.
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    worker.run([&] { host.set(6); });
    QCOMPARE(host.take(), QStringList(u"g/k = int(6) from Runtime"_s)); // direct, on the worker
    QCoreApplication::processEvents();
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(6) from Runtime"_s));
}

void tst_ChangeNotifier::waitingEventsBecomeOne()
{
    Worker worker;
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"one"_s));
    host.notifier->subscribeAll(&host.context, host.recorder(u"all"_s));
    worker.run([&] {
        host.set(1, SettingsType::Runtime, u"g"_s, u"first"_s);
        for (int i = 0; i < 10; ++i)
            host.set(i);
        host.remove();
        host.set(u"last"_s, SettingsType::SystemProperties);
    });
    QCoreApplication::processEvents();
    QCOMPARE(host.take(),
             QStringList({u"all: g/first = int(1) from Runtime"_s,
                          u"one: g/k = QString(last) from SystemProperties"_s,
                          u"all: g/k = QString(last) from SystemProperties"_s}));
    // An event that a direct call has made superfluous calls nothing. The next change posts again.
    worker.run([&] { host.set(1); });
    host.set(2);
    QCoreApplication::processEvents();
    QCOMPARE(host.take(),
             QStringList(
                     {u"one: g/k = int(2) from Runtime"_s, u"all: g/k = int(2) from Runtime"_s}));
    worker.run([&] { host.set(3); });
    QCoreApplication::processEvents();
    QCOMPARE(host.take(),
             QStringList(
                     {u"one: g/k = int(3) from Runtime"_s, u"all: g/k = int(3) from Runtime"_s}));
}

void tst_ChangeNotifier::waitingValueMayBeEqualAgain()
{
    Worker worker;
    Host host;
    host.set(1);
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    worker.run([&] {
        host.set(2);
        host.set(1);
    });
    QCoreApplication::processEvents();
    QCOMPARE(host.take(), QStringList());
}

// Other threads cannot name the layers, which may be replaced meanwhile.
void tst_ChangeNotifier::changesOfOtherThreadsHaveAnOrigin()
{
    Worker worker;
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, worker.object(), host.recorder());
    host.notifier->subscribeAll(worker.object(), host.recorder(u"all"_s));
    worker.run([&] {
        host.set(QStringList(u"1"_s), SettingsType::SystemProperties);
        host.set(qQNaN());
        host.remove();
        host.remove(SettingsType::SystemProperties);
    });
    const QString list = tests::describe(QStringList(u"1"_s));
    const QStringList changes{list + " from SystemProperties"_L1,
                              tests::describe(qQNaN()) + " from Runtime"_L1,
                              list + " from SystemProperties"_L1, u"invalid from none"_s};
    QStringList expected;
    for (const QString &change : changes)
        expected << "got: g/k = "_L1 + change << "all: g/k = "_L1 + change;
    QCOMPARE(host.take(), expected);

    // The setting is gone when the event is delivered.
    Worker other;
    worker.run([&] {
        other.run([&] {
            host.set(1);
            host.remove();
        });
    });
    worker.run([] {});
    QCOMPARE(host.take(), QStringList(u"all: g/k = invalid from none"_s));
}

void tst_ChangeNotifier::contextMayMove()
{
    Worker worker;
    Host host;
    auto context = std::make_unique<QObject>();
    QThread *thread = nullptr;
    host.notifier->subscribe(u"g"_s, u"k"_s, context.get(), [&](const Change &change) {
        thread = QThread::currentThread();
        host.changes.append(describe(change));
    });
    worker.run([&] { host.set(5); });
    context->moveToThread(worker.thread()); // moves the event too
    worker.run([] {});
    QCOMPARE(thread, worker.thread());
    QCOMPARE(host.take(), QStringList(u"g/k = int(5) from Runtime"_s));
    host.set(6);
    worker.run([&] { context.reset(); });
    QCOMPARE(host.take(), QStringList(u"g/k = int(6) from Runtime"_s));
}

void tst_ChangeNotifier::contextMayMoveInAFunction()
{
    Worker worker;
    Host host;
    auto moved = std::make_unique<QObject>();
    QThread *thread = nullptr;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context,
                             [&](const Change &) { moved->moveToThread(worker.thread()); });
    host.notifier->subscribe(u"g"_s, u"k"_s, moved.get(), [&](const Change &change) {
        thread = QThread::currentThread();
        host.changes.append(describe(change));
    });
    host.set(5);
    worker.run([&] { moved.reset(); });
    QCOMPARE(thread, worker.thread());
    QCOMPARE(host.take(), QStringList(u"g/k = int(5) from Runtime"_s));
}

void tst_ChangeNotifier::droppedSubscriptionIsNotCalled()
{
    Host host;
    QList<Subscription> subscriptions{
            host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"one"_s)),
            host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"two"_s)),
            host.notifier->subscribeGroup(u"g"_s, &host.context, host.recorder(u"group"_s)),
            host.notifier->subscribeAll(&host.context, host.recorder(u"all"_s))};
    QStringList expected{u"one"_s, u"two"_s, u"group"_s, u"all"_s};
    for (int i = 0; !subscriptions.isEmpty(); ++i) {
        Subscription copy = subscriptions.takeFirst();
        copy.drop();
        copy.drop(); // ended already
        expected.removeFirst();
        host.set(i);
        QStringList names;
        for (const QString &change : host.take())
            names.append(change.section(u':', 0, 0));
        QCOMPARE(names, expected);
    }
    Subscription().drop();
}

void tst_ChangeNotifier::droppedSubscriptionGetsNoEvent()
{
    Worker worker;
    Host host;
    Subscription subscription
            = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    worker.run([&] { host.set(5); });
    subscription.drop();
    QCoreApplication::processEvents();
    QCOMPARE(host.take(), QStringList());
    subscription = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    worker.run([&] { subscription.drop(); });
    host.set(6);
    QCOMPARE(host.take(), QStringList());
}

void tst_ChangeNotifier::subscriptionEndsWithItsContext()
{
    Worker worker;
    Host host;
    auto context = std::make_unique<QObject>();
    Subscription subscription
            = host.notifier->subscribe(u"g"_s, u"k"_s, context.get(), host.recorder());
    host.notifier->subscribeAll(context.get(), host.recorder());
    worker.run([&] { host.set(5); });
    context.reset();
    QCoreApplication::processEvents();
    host.set(6);
    QCOMPARE(host.take(), QStringList());
    subscription.drop();
}

void tst_ChangeNotifier::functionMayDropSubscriptions()
{
    Host host;
    Subscription first;
    Subscription second;
    first = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, [&](const Change &change) {
        host.changes.append(u"first: "_s + describe(change));
        first.drop();
        second.drop();
        host.set(6); // calls neither
        host.changes.append(u"still here"_s);
    });
    second = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"second"_s));
    host.set(5);
    QCOMPARE(host.take(), QStringList({u"first: g/k = int(5) from Runtime"_s, u"still here"_s}));
}

void tst_ChangeNotifier::functionMaySubscribe()
{
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, [&](const Change &) {
        host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    });
    host.set(5);
    QCOMPARE(host.take(), QStringList()); // called first for the next change
    host.set(6);
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(6) from Runtime"_s));
}

void tst_ChangeNotifier::functionMayDestroyContexts()
{
    Host host;
    auto own = std::make_unique<QObject>();
    auto other = std::make_unique<QObject>();
    host.notifier->subscribe(u"g"_s, u"k"_s, own.get(), [&](const Change &change) {
        other.reset();
        own.reset();
        host.changes.append(describe(change));
    });
    host.notifier->subscribe(u"g"_s, u"k"_s, other.get(), host.recorder());
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.set(5);
    QCOMPARE(host.take(),
             QStringList({u"g/k = int(5) from Runtime"_s, u"got: g/k = int(5) from Runtime"_s}));
    host.set(6);
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(6) from Runtime"_s));
}

// disconnect() also removes the connections to destroyed().
void tst_ChangeNotifier::aContextMayDieWithoutItsSignal()
{
    Host host;
    auto context = std::make_unique<QObject>();
    host.notifier->subscribe(u"g"_s, u"k"_s, context.get(), host.recorder(u"dead"_s));
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    context->disconnect();
    host.set(5);
    QCOMPARE(host.take(),
             QStringList(
                     {u"dead: g/k = int(5) from Runtime"_s, u"got: g/k = int(5) from Runtime"_s}));
    context.reset();
    host.set(6);
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(6) from Runtime"_s));
}

// The other functions are called only once for a change made in a function.
void tst_ChangeNotifier::functionMayChangeSettings()
{
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, [&](const Change &change) {
        host.changes.append(u"first: "_s + describe(change));
        if (change.value == 5)
            host.set(6);
    });
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder(u"second"_s));
    host.notifier->subscribeAll(&host.context, host.recorder(u"all"_s));
    host.set(5);
    QCOMPARE(host.take(),
             QStringList({u"first: g/k = int(5) from Runtime"_s,
                          u"first: g/k = int(6) from Runtime"_s,
                          u"second: g/k = int(6) from Runtime"_s,
                          u"all: g/k = int(6) from Runtime"_s}));
}

void tst_ChangeNotifier::functionMayDestroyTheNotifier()
{
    Host host;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, [&](const Change &change) {
        host.notifier.reset();
        host.changes.append(describe(change));
    });
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.set(5);
    QCOMPARE(host.take(), QStringList(u"g/k = int(5) from Runtime"_s));
}

void tst_ChangeNotifier::functionMayThrow()
{
    Worker worker;
    Host host;
    bool throws = true;
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, [&](const Change &) {
        if (throws)
            throw std::runtime_error("thrown");
    });
    host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, host.set(5));
    throws = false;
    QCOMPARE(host.take(), QStringList());
    worker.run([&] { host.set(6); });
    QCoreApplication::processEvents();
    QCOMPARE(host.take(), QStringList(u"got: g/k = int(6) from Runtime"_s));
}

void tst_ChangeNotifier::functionIsDestroyed()
{
    Host host;
    const auto captured = std::make_shared<int>();
    const auto function = [captured](const Change &) {};
    const auto uses = [&] { return captured.use_count() - 2; }; // the two above
    {
        QObject context;
        host.notifier->subscribe(u"g"_s, u"k"_s, &context, function);
        host.notifier->subscribeGroup(u"g"_s, &context, function);
        host.notifier->subscribeAll(&context, function);
        QCOMPARE(uses(), 3);
    }
    QCOMPARE(uses(), 0);
    host.notifier->subscribeAll(&host.context, function).drop();
    QCOMPARE(uses(), 0);
    Subscription subscription = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, function);
    host.notifier->subscribeGroup(u"g"_s, &host.context, function);
    host.notifier->subscribeAll(&host.context, function);
    QCOMPARE(uses(), 3);
    host.notifier.reset();
    QCOMPARE(uses(), 0);
}

void tst_ChangeNotifier::notifierMayDieFirst()
{
    Worker worker;
    Host host;
    Subscription subscription
            = host.notifier->subscribe(u"g"_s, u"k"_s, &host.context, host.recorder());
    host.notifier->subscribeAll(&host.context, host.recorder());
    worker.run([&] { host.set(5); });
    host.notifier.reset();
    QCoreApplication::processEvents();
    host.set(6);
    subscription.drop();
    QCOMPARE(host.take(), QStringList());
}

void tst_ChangeNotifier::notifierAppendsAndRemovesItself()
{
    Host host;
    ConfigurationManager *const manager = &host.manager;
    QCOMPARE(host.notifier->settings(), manager);
    host.notifier->subscribeAll(&host.context, host.recorder());
    host.notifier.reset();
    host.notifier.emplace(manager);
    host.set(5); // a removed one is not called
    QCOMPARE(host.take(), QStringList());
}

QTEST_GUILESS_MAIN(tst_ChangeNotifier)
#include "tst_changenotifier.moc"

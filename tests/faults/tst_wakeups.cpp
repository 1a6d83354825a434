// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A thread changes a setting while the event loop of another one writes the file. Two functions of
// the C library that QSettings calls are replaced here, to stop it at the moments that matter, and
// the one of Qt by which the library asks for a flush, to count it.

#include "faultrun.h"

#include "testhost.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>
#include <QtTest/QTest>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <functional>
#include <thread>

#include <dlfcn.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr auto layer = CustomConfPersistent;

enum class Role { None, Flushing, Writing };
thread_local Role role = Role::None; // of this thread

std::atomic_bool isFlushing = false; // the flush holds the lock of the file's contents
std::atomic_bool isWaiting = false; // the writer waits for that lock
std::atomic_bool isWritten = false; // the writer is done
std::atomic_bool hasFailed = false; // one of these took too long
std::atomic_int posts = 0;
int postsOfQSettings = 0; // for one change; 0 where such a call stays inside Qt

void waitFor(const std::atomic_bool &flag)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
    while (!flag) {
        if (std::chrono::steady_clock::now() > end) {
            hasFailed = true;
            return;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

template <typename Function> Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool isFutex(long number)
{
#ifdef SYS_futex_time64
    if (number == SYS_futex_time64)
        return true;
#endif
    return number == SYS_futex;
}

} // namespace

#define POST_EVENT "_ZN16QCoreApplication9postEventEP7QObjectP6QEventi"
Q_DECL_EXPORT void postEvent(QObject *receiver, QEvent *event, int priority) asm(POST_EVENT);
void postEvent(QObject *receiver, QEvent *event, int priority)
{
    ++posts;
    static const auto real = next<void (*)(QObject *, QEvent *, int)>(POST_EVENT);
    real(receiver, event, priority);
}

// Called when the flush writes the new contents to the disk: lets the writer start, which has to
// wait.
extern "C" Q_DECL_EXPORT int fdatasync(int file)
{
    if (role == Role::Flushing) {
        isFlushing = true;
        waitFor(isWaiting);
    }
    static const auto real = next<int (*)(int)>("fdatasync");
    return real(file);
}

// Qt's locks wait and wake through this. After the flush has woken the writer, it waits for it.
extern "C" Q_DECL_EXPORT long syscall(long number, ...) noexcept
{
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long &argument : arguments)
        argument = va_arg(list, long);
    va_end(list);

    const long command = isFutex(number) ? arguments[1] & FUTEX_CMD_MASK : -1;
    if (role == Role::Writing && (command == FUTEX_WAIT || command == FUTEX_WAIT_BITSET))
        isWaiting = true;
    static const auto real = next<long (*)(long, ...)>("syscall");
    const long result = real(number, arguments[0], arguments[1], arguments[2], arguments[3],
                             arguments[4], arguments[5]);
    if (role == Role::Flushing && command == FUTEX_WAKE)
        waitFor(isWritten);
    return result;
}

namespace {

using Change = std::function<void()>;

// Runs the event loop once, which writes the file. Meanwhile makes the change on another thread:
// after the new contents were taken, but before the flush is over.
void changeDuringAFlush(const Change &change)
{
    isFlushing = isWaiting = isWritten = false;
    std::thread writer([&change] {
        waitFor(isFlushing);
        role = Role::Writing;
        change();
        isWritten = true;
    });
    role = Role::Flushing;
    QCoreApplication::sendPostedEvents();
    role = Role::None;
    writer.join();
}

// Counts the requests to write a file that the event loop of this thread delivers.
class RequestCounter final : public QObject
{
public:
    RequestCounter() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest && receiver->inherits("QSettings"))
            ++m_count;
        return false;
    }

    int take() { return std::exchange(m_count, 0); }

private:
    int m_count = 0;
};

// Keeps this thread, and those that it starts, on one core.
class OneCore
{
public:
    OneCore()
    {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        m_isSet = sched_getaffinity(0, sizeof m_before, &m_before) == 0
                && sched_setaffinity(0, sizeof one, &one) == 0;
    }
    ~OneCore()
    {
        if (m_isSet)
            sched_setaffinity(0, sizeof m_before, &m_before);
    }
    Q_DISABLE_COPY_MOVE(OneCore)

    bool isSet() const { return m_isSet; }

private:
    cpu_set_t m_before{};
    bool m_isSet;
};

} // namespace

class tst_WakeUps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void aChangeDuringAFlushIsWritten_data();
    void aChangeDuringAFlushIsWritten();
    void qSettingsAloneDoesNotWriteIt_data();
    void qSettingsAloneDoesNotWriteIt();
    void theOwnThreadIsLeftToQSettings();
    void changesByAnotherThreadWaitAsOneRequest();
    void requestsDoNotPileUpWhileTheFileIsWritten();
    void nothingIsLostOnOneCore();
};

void tst_WakeUps::initTestCase()
{
    const QTemporaryDir folder;
    QSettings settings(folder.filePath(u"custom.conf"_s), QSettings::IniFormat);
    settings.setValue(u"g/a"_s, 1);
    postsOfQSettings = posts;
}

void tst_WakeUps::init()
{
    hasFailed = false;
    posts = 0;
}

void tst_WakeUps::aChangeDuringAFlushIsWritten_data()
{
    QTest::addColumn<bool>("isRemoval");
    QTest::addColumn<bool>("layerDies");
    QTest::newRow("a value, by the event loop") << false << false;
    QTest::newRow("a value, by the destructor") << false << true;
    QTest::newRow("a removal, by the event loop") << true << false;
    QTest::newRow("a removal, by the destructor") << true << true;
}

void tst_WakeUps::aChangeDuringAFlushIsWritten()
{
    QFETCH(const bool, isRemoval);
    QFETCH(const bool, layerDies);
    TestHost host;
    host.manager.initStorage(layer);
    host.manager.setValue(u"g"_s, u"a"_s, 1, layer);
    host.manager.setValue(u"g"_s, u"b"_s, 1, layer);

    changeDuringAFlush([&] {
        if (isRemoval)
            host.manager.removeValue(u"g"_s, u"b"_s, layer);
        else
            host.manager.setValue(u"g"_s, u"b"_s, 2, layer);
    });
    QVERIFY(!hasFailed);
    QCOMPARE(readFile(host.filePath(layer)), "[g]\na=1\nb=1\n");

    if (layerDies)
        host.manager.clearStorage(layer);
    else
        QCoreApplication::sendPostedEvents();
    QCOMPARE(readFile(host.filePath(layer)),
             isRemoval ? QByteArray("[g]\na=1\n") : QByteArray("[g]\na=1\nb=2\n"));
}

void tst_WakeUps::qSettingsAloneDoesNotWriteIt_data()
{
    QTest::addColumn<bool>("objectDies");
    QTest::newRow("by the event loop") << false;
    QTest::newRow("by the destructor") << true;
}

// If this passes unexpectedly, that Qt no longer needs the library's own request.
void tst_WakeUps::qSettingsAloneDoesNotWriteIt()
{
    QFETCH(const bool, objectDies);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"custom.conf"_s);
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    settings->setValue(u"g/a"_s, 1);

    changeDuringAFlush([&] { settings->setValue(u"g/a"_s, 2); });
    QVERIFY(!hasFailed);
    QCOMPARE(readFile(path), "[g]\na=1\n");

    if (objectDies)
        settings.reset();
    else
        QCoreApplication::sendPostedEvents();
    QEXPECT_FAIL("", "QSettings has lost its wake-up", Continue);
    QCOMPARE(readFile(path), "[g]\na=2\n");
}

void tst_WakeUps::theOwnThreadIsLeftToQSettings()
{
    TestHost host;
    host.manager.initStorage(layer);
    RequestCounter requests;
    for (int i = 1; i <= 100; ++i) {
        host.manager.setValue(u"g"_s, u"number"_s, i, layer);
        host.manager.removeValue(u"g"_s, u"absent"_s, layer);
    }
    QCOMPARE(posts, postsOfQSettings);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(requests.take(), 1);
}

void tst_WakeUps::changesByAnotherThreadWaitAsOneRequest()
{
    constexpr int changes = 2000;
    TestHost host;
    host.manager.initStorage(layer);
    RequestCounter requests;
    std::thread writer([&] {
        for (int i = 1; i <= changes; ++i)
            host.manager.setValue(u"g"_s, u"number"_s, i, layer);
    });
    writer.join(); // the event loop of this thread does not run meanwhile
    QCOMPARE(posts, postsOfQSettings + 1);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(requests.take(), 1);
    QCOMPARE(readFile(host.filePath(layer)), "[g]\nnumber=2000\n");
    QCoreApplication::sendPostedEvents();
    QCOMPARE(requests.take(), 0);
}

void tst_WakeUps::requestsDoNotPileUpWhileTheFileIsWritten()
{
    constexpr int turns = 20;
    TestHost host;
    host.manager.initStorage(layer);
    RequestCounter requests;
    for (int i = 1; i <= turns; ++i) {
        host.manager.setValue(u"g"_s, u"a"_s, i, layer);
        changeDuringAFlush([&] { host.manager.setValue(u"g"_s, u"b"_s, i, layer); });
        QVERIFY(!hasFailed);
        QCOMPARE(requests.take(), 1);
        QCOMPARE(posts, i * (postsOfQSettings + 1));
    }
    QCoreApplication::sendPostedEvents();
    QCOMPARE(requests.take(), 1);
    QCOMPARE(readFile(host.filePath(layer)), "[g]\na=20\nb=20\n");
}

void tst_WakeUps::nothingIsLostOnOneCore()
{
    const OneCore core;
    if (!core.isSet())
        qInfo("the threads may run on several cores");
    QRandomGenerator random(seed());
    TestHost host;
    host.manager.initStorage(layer);
    int late = 0; // rounds in which the second change missed the first flush
    const int roundCount = rounds(20, 3000);
    for (int i = 1; i <= roundCount; ++i) {
        const auto delay = std::chrono::microseconds(random.bounded(2000));
        isWritten = false;
        host.manager.setValue(u"g"_s, u"a"_s, i, layer);
        std::thread writer([&] {
            std::this_thread::sleep_for(delay);
            host.manager.setValue(u"g"_s, u"b"_s, i, layer);
            isWritten = true;
        });
        QCoreApplication::sendPostedEvents();
        waitFor(isWritten);
        const QByteArray expected
                = "[g]\na=" + QByteArray::number(i) + "\nb=" + QByteArray::number(i) + '\n';
        late += readFile(host.filePath(layer)) == expected ? 0 : 1;
        QCoreApplication::sendPostedEvents();
        writer.join();
        QVERIFY(!hasFailed);
        QCOMPARE(readFile(host.filePath(layer)), expected);
    }
    qInfo("%d rounds; in %d of them the other thread's change missed the first flush", roundCount,
          late);
}

QTEST_GUILESS_MAIN(tst_WakeUps)
#include "tst_wakeups.moc"

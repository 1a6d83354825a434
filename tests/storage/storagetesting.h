// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_STORAGETESTING_H
#define TAMSEL_TESTS_STORAGETESTING_H

#include <QtCore/QDebug>
#include <QtCore/QSemaphore>
#include <QtCore/QVariant>

#include <atomic>
#include <thread>
#include <vector>

namespace tamsel::tests {

/*!
 * A value with the types of all its parts, for comparisons: QVariant itself takes the number 1, the
 * fraction 1.0 and the text "1" for equal.
 */
inline QString shown(const QVariant &value)
{
    return QDebug::toString(value);
}

/*! Ends the test program if its scope is not left for a minute: a deadlock fails, not hangs. */
class Watchdog
{
public:
    Watchdog()
        : m_thread([this] {
              if (!m_left.tryAcquire(1, 60'000))
                  qFatal("deadlock");
          })
    {
    }
    ~Watchdog()
    {
        m_left.release();
        m_thread.join();
    }

private:
    Q_DISABLE_COPY_MOVE(Watchdog)

    QSemaphore m_left;
    std::thread m_thread;
};

/*! Runs work(0) to work(count - 1) at the same time and waits for all of them. */
template <typename Work> void inThreads(int count, const Work &work)
{
    std::atomic<bool> started = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&started, &work, i] {
            while (!started)
                std::this_thread::yield();
            work(i);
        });
    }
    started = true;
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_STORAGETESTING_H

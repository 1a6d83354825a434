// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_THREADS_H
#define TAMSEL_TESTS_THREADS_H

#include <QtCore/QSemaphore>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace tamsel::tests {

// Runs work(0) to work(count - 1) at the same time, each on its own thread, and waits for them.
template <typename Work> void runTogether(int count, const Work &work)
{
    std::atomic<int> missing = count;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&missing, &work, i] {
            --missing;
            while (missing > 0)
                std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

// As above, with a function for each thread.
inline void runTogether(const std::vector<std::function<void()>> &bodies)
{
    runTogether(static_cast<int>(bodies.size()),
                [&bodies](int i) { bodies[static_cast<std::size_t>(i)](); });
}

// Ends the program if its scope is not left within a minute, so that a deadlock does not hang the
// test.
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

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_THREADS_H

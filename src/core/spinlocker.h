// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_SPINLOCKER_H
#define TAMSEL_SPINLOCKER_H

#include <QtCore/QMutex>

#include <thread>

namespace tamsel {

// Holds a mutex, as QMutexLocker does, but tries a few times to get it before it sleeps: a lookup takes
// less time than falling asleep and being woken. The pauses in between grow. Without them, two readers
// take the mutex from each other after every read, which costs more than the read.
class SpinLocker
{
public:
    explicit SpinLocker(QMutex *mutex) : m_mutex(mutex)
    {
        if (!m_mutex->tryLock())
            wait();
    }
    ~SpinLocker() { m_mutex->unlock(); }

private:
    Q_DISABLE_COPY_MOVE(SpinLocker)

    Q_NEVER_INLINE void wait()
    {
        for (int pause = 1; pause <= longestPause; pause *= 2) {
            for (int i = 0; i < pause; ++i)
                std::this_thread::yield();
            if (m_mutex->tryLock())
                return;
        }
        m_mutex->lock();
    }

    static constexpr int longestPause = 16;

    QMutex *const m_mutex;
};

} // namespace tamsel

#endif // TAMSEL_SPINLOCKER_H

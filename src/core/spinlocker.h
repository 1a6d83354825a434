// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_SPINLOCKER_H
#define TAMSEL_SPINLOCKER_H

#include <QtCore/QMutex>

#include <thread>

namespace tamsel {

// Locks a mutex as QMutexLocker does, but tries a few times before it blocks: a lookup takes less time
// than blocking and waking up. The pauses in between grow. Without them, two readers take the mutex
// from each other after every read, which costs more than the read.
class SpinLocker
{
public:
    explicit SpinLocker(QMutex *mutex) : m_mutex(mutex)
    {
        if (!m_mutex->tryLock())
            wait(m_mutex);
    }
    ~SpinLocker() { m_mutex->unlock(); }

private:
    Q_DISABLE_COPY_MOVE(SpinLocker)

    Q_NEVER_INLINE static void wait(QMutex *mutex)
    {
        for (int pause = 1; pause <= longestPause; pause *= 2) {
            for (int i = 0; i < pause; ++i)
                std::this_thread::yield();
            if (mutex->tryLock())
                return;
        }
        mutex->lock();
    }

    static constexpr int longestPause = 64; // with longer ones, two readers do not read more

    QMutex *const m_mutex;
};

} // namespace tamsel

#endif // TAMSEL_SPINLOCKER_H

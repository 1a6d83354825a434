// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_SPINLOCKER_H
#define TAMSEL_SPINLOCKER_H

#include <QtCore/QMutex>

namespace tamsel {

// Holds a mutex, as QMutexLocker does, but tries for a moment to get it before it sleeps. A lookup
// takes less time than falling asleep and being woken.
class SpinLocker
{
public:
    explicit SpinLocker(QMutex *mutex) : m_mutex(mutex)
    {
        for (int i = 0; i < attempts; ++i) {
            if (m_mutex->tryLock())
                return;
        }
        m_mutex->lock();
    }
    ~SpinLocker() { m_mutex->unlock(); }

private:
    Q_DISABLE_COPY_MOVE(SpinLocker)

    static constexpr int attempts = 100;

    QMutex *const m_mutex;
};

} // namespace tamsel

#endif // TAMSEL_SPINLOCKER_H

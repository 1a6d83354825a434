// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_DYNAMICMAPSTORAGE_H
#define TAMSEL_DYNAMICMAPSTORAGE_H

#include "lookupstorage.h"

#include <QtCore/QMap>
#include <QtCore/QMutex>

#include <atomic>

namespace tamsel {

// The writable layer in memory: starts empty, is never saved.
//
// Each operation is atomic under the storage's own lock. The handler is called after the lock has been
// released, so it may call this storage. Another thread may write in between.
class DynamicMapStorage : public LookupStorage
{
public:
    DynamicMapStorage(SettingsType type, IConfigurationChangeHandler *handler, ILogger *logger);
    ~DynamicMapStorage() override;

    bool isAvailable() const override;
    bool contains(const QString &group, const QString &key) const override;
    QVariant value(const QString &group, const QString &key) const override;
    bool lookup(const LookupKey &key, QVariant *value) const override;
    // A value equal to the stored one is neither written nor notified.
    void setValue(const QString &group, const QString &key, const QVariant &value) override;
    // Notifies only if the key was held.
    void remove(const QString &group, const QString &key) override;
    // Sorted by group, then by key.
    KeyList keys() const override;

private:
    // False only if no key of a group with this bit has ever been written.
    bool mayHold(quintptr groupBit) const
    {
        return (m_groupBits.load(std::memory_order_relaxed) & groupBit) != 0;
    }
    bool store(const QString &group, const QString &key, const QVariant &value);
    bool erase(const QString &group, const QString &key);

    QMap<QString, QVariantMap> m_values; // guarded by m_mutex; empty groups stay
    mutable QMutex m_mutex;
    std::atomic<quintptr> m_groupBits = 0; // of the groups in m_values; only grows
};

} // namespace tamsel

#endif // TAMSEL_DYNAMICMAPSTORAGE_H

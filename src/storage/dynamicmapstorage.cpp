// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "dynamicmapstorage.h"

#include "../core/spinlocker.h"

namespace tamsel {

DynamicMapStorage::DynamicMapStorage(SettingsType type, IConfigurationChangeHandler *handler,
                                     ILogger *logger)
    : LookupStorage(type, handler, logger)
{
}

DynamicMapStorage::~DynamicMapStorage() = default;

bool DynamicMapStorage::isAvailable() const
{
    return true;
}

bool DynamicMapStorage::contains(const QString &group, const QString &key) const
{
    if (!mayHold(groupBit(group)))
        return false;
    const SpinLocker locker(&m_mutex);
    const auto entries = m_values.constFind(group);
    return entries != m_values.cend() && entries->contains(key);
}

QVariant DynamicMapStorage::value(const QString &group, const QString &key) const
{
    QVariant result;
    lookup({group, key}, &result);
    return result;
}

bool DynamicMapStorage::lookup(const LookupKey &key, QVariant *value) const
{
    if (!mayHold(key.groupBit()))
        return false;
    const SpinLocker locker(&m_mutex);
    const auto entries = m_values.constFind(key.group());
    if (entries == m_values.cend())
        return false;
    const auto entry = entries->constFind(key.key());
    if (entry == entries->cend())
        return false;
    QVariant(*entry).swap(*value); // cheaper than the assignment
    return true;
}

void DynamicMapStorage::setValue(const QString &group, const QString &key, const QVariant &value)
{
    if (store(group, key, value))
        notify(group, key, value);
}

void DynamicMapStorage::remove(const QString &group, const QString &key)
{
    if (erase(group, key))
        notify(group, key, QVariant());
}

KeyList DynamicMapStorage::keys() const
{
    KeyList result;
    const SpinLocker locker(&m_mutex);
    for (auto group = m_values.cbegin(); group != m_values.cend(); ++group) {
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry)
            result.append({group.key(), entry.key()});
    }
    return result;
}

// Returns whether the value differed from the stored one and was written.
bool DynamicMapStorage::store(const QString &group, const QString &key, const QVariant &value)
{
    const SpinLocker locker(&m_mutex);
    QVariantMap &entries = m_values[group]; // inserts no group for an equal value
    const auto entry = entries.find(key);
    if (entry == entries.end()) {
        entries.insert(key, value);
        m_groupBits |= groupBit(group);
    } else if (*entry != value) {
        *entry = QVariant(value); // if the copy fails, the old value is still there
    } else {
        return false;
    }
    return true;
}

// Returns whether the key was held.
bool DynamicMapStorage::erase(const QString &group, const QString &key)
{
    const SpinLocker locker(&m_mutex);
    const auto entries = m_values.find(group);
    return entries != m_values.end() && entries->remove(key) > 0;
}

} // namespace tamsel

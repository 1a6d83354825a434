// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <tamsel/abstractstorage.h>

#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

namespace tamsel::bench {

namespace {

// The least that settings in memory can cost: one mutex, one map of maps, and a handler to call.
class BareMap final : public System
{
public:
    BareMap();

    void setTargets(const Settings &targets) override { m_targets = targets; }
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void registerLayer(const QVariantMap &map) override;
    void replaceLayer(const QVariantMap &map, const QVariantMap &previous) override;
    void clearLayer(const QVariantMap &map) override;

    qint64 notifications() const override { return m_counter.calls; }

private:
    QVariant value(const QString &group, const QString &key) const;
    bool store(const QString &group, const QString &key, const QVariant &value);

    QMap<QString, QVariantMap> m_values;
    mutable QMutex m_mutex;
    CountingHandler m_counter;
    IConfigurationChangeHandler *volatile m_handler = &m_counter; // keeps the calls virtual
    Settings m_targets;
    const QVariantList m_written = writtenValues();
};

const QVariantMap &entriesOf(const QVariant &group)
{
    return *static_cast<const QVariantMap *>(group.constData());
}

KeyList keysOf(const QVariantMap &map)
{
    KeyList result;
    for (auto group = map.cbegin(); group != map.cend(); ++group) {
        const QVariantMap &entries = entriesOf(*group);
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            result.append({group.key(), entry.key()});
    }
    return result;
}

QVariant valueIn(const QVariantMap &map, const QString &group, const QString &key)
{
    const auto entries = map.constFind(group);
    return entries != map.cend() ? entriesOf(*entries).value(key) : QVariant();
}

BareMap::BareMap()
{
    for (const auto &[group, key, text] : contents(SettingsType::Runtime))
        m_values[group].insert(key, text);
}

// R1: locks the mutex, looks up the group and the key.
QVariant BareMap::value(const QString &group, const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    const auto entries = m_values.constFind(group);
    return entries != m_values.cend() ? entries->value(key) : QVariant();
}

// W2: the same, and compares two variants; W1: assigns one too.
bool BareMap::store(const QString &group, const QString &key, const QVariant &value)
{
    const QMutexLocker locker(&m_mutex);
    const auto entries = m_values.find(group);
    if (entries == m_values.end())
        return false;
    const auto entry = entries->find(key);
    if (entry == entries->end() || *entry == value)
        return false;
    *entry = value;
    return true;
}

int BareMap::readAll() const
{
    int found = 0;
    for (const Setting &target : m_targets)
        found += value(target.group, target.key).isValid();
    return found;
}

void BareMap::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    for (const Setting &target : std::as_const(m_targets)) {
        if (store(target.group, target.key, value))
            m_handler->onValueChanged(type, target.group, target.key, value);
    }
}

QString BareMap::read(const Setting &setting) const
{
    return value(setting.group, setting.key).toString();
}

// L1: lists the keys, looks up each value, notifies the handler.
void BareMap::registerLayer(const QVariantMap &map)
{
    for (const auto &[group, key] : keysOf(map))
        m_handler->onValueChanged(SettingsType::Rdm, group, key, valueIn(map, group, key));
}

// L2: the same, but looks up each value in both maps, and notifies the handler if they differ.
void BareMap::replaceLayer(const QVariantMap &map, const QVariantMap &previous)
{
    for (const auto &[group, key] : keysOf(map)) {
        const QVariant value = valueIn(map, group, key);
        if (value != valueIn(previous, group, key))
            m_handler->onValueChanged(SettingsType::Rdm, group, key, value);
    }
}

// L3: lists the keys and notifies the handler.
void BareMap::clearLayer(const QVariantMap &map)
{
    for (const auto &[group, key] : keysOf(map))
        m_handler->onValueChanged(SettingsType::Rdm, group, key, QVariant());
}

} // namespace

SystemInfo bareMapInfo()
{
    return {"baremap",
            "bare map",
            true,
            {"R1", "R4-top", "W1", "W1-int", "W2", "L1", "L2", "L3"},
            [] { return std::unique_ptr<System>(std::make_unique<BareMap>()); }};
}

} // namespace tamsel::bench

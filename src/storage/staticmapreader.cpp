// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "staticmapreader.h"

namespace tamsel {

namespace {

// The map in `group`, without a copy; null if it holds another type. Every question to a fixed map asks
// this, and GCC would not inline it by itself.
Q_ALWAYS_INLINE const QVariantMap *asMap(const QVariant &group)
{
    if (group.metaType() != QMetaType::fromType<QVariantMap>())
        return nullptr;
    return static_cast<const QVariantMap *>(group.constData());
}

quintptr groupBits(const QVariantMap &groups)
{
    quintptr bits = 0;
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        bits |= groupBit(group.key());
    return bits;
}

// Whether the texts share their data, as a key and its copies do.
bool isShared(const QString &a, const QString &b)
{
    return a.constData() == b.constData() && a.size() == b.size();
}

// The entries of a group of another type than QVariantMap; empty if it does not convert to one. Converts
// for each call; nothing is cached.
QVariantMap toMap(const QVariant &group)
{
    const bool converts
            = QMetaType::canConvert(group.metaType(), QMetaType::fromType<QVariantMap>());
    return converts ? group.toMap() : QVariantMap();
}

} // namespace

StaticMapReader::StaticMapReader(SettingsType type, IConfigurationChangeHandler *handler,
                                 ILogger *logger, const QVariantMap &values)
    : LookupStorage(type, handler, logger), m_values(values), m_groupBits(groupBits(values))
{
}

StaticMapReader::~StaticMapReader() = default;

bool StaticMapReader::isAvailable() const
{
    return true;
}

bool StaticMapReader::contains(const QString &group, const QString &key) const
{
    if (!mayHold(groupBit(group)))
        return false;
    const auto found = m_values.constFind(group);
    if (found == m_values.cend())
        return false;
    if (const QVariantMap *entries = asMap(*found))
        return entries->contains(key);
    return toMap(*found).contains(key);
}

QVariant StaticMapReader::value(const QString &group, const QString &key) const
{
    const auto found = m_values.constFind(group);
    if (found == m_values.cend())
        return {};
    const QVariantMap *entries = asMap(*found);
    return entries ? entries->value(key) : toMap(*found).value(key);
}

bool StaticMapReader::lookup(const LookupKey &key, QVariant *value) const
{
    if (!mayHold(key.groupBit()))
        return false;
    const auto found = m_values.constFind(key.group());
    if (found == m_values.cend())
        return false;
    if (const QVariantMap *entries = asMap(*found)) {
        const auto entry = entries->constFind(key.key());
        if (entry == entries->cend())
            return false;
        QVariant(*entry).swap(*value); // cheaper than the assignment
        return true;
    }
    // Intentional: converted once by each of the two calls; the host's converter can count that.
    if (!contains(key.group(), key.key()))
        return false;
    *value = this->value(key.group(), key.key());
    return true;
}

KeyList StaticMapReader::keys() const
{
    KeyList result;
    qsizetype count = 0;
    for (const QVariant &group : m_values) {
        if (const QVariantMap *entries = asMap(group))
            count += entries->size();
    }
    result.reserve(count);
    for (auto group = m_values.cbegin(); group != m_values.cend(); ++group) {
        const QVariantMap *map = asMap(*group);
        const QVariantMap entries = map ? *map : toMap(*group);
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            result.emplaceBack(group.key(), entry.key());
    }
    return result;
}

const QVariant *StaticMapReader::Cursor::find(const QString &group, const QString &key)
{
    if (!isShared(m_group, group)) {
        m_group = group;
        const auto found = m_values.constFind(group);
        m_entries = found != m_values.cend() ? asMap(*found) : nullptr;
        if (m_entries)
            m_entry = m_entries->cbegin();
    }
    if (!m_entries)
        return nullptr;
    // The last one or the next; otherwise it is searched.
    for (int i = 0; i < 2 && m_entry != m_entries->cend(); ++i, ++m_entry) {
        if (isShared(m_entry.key(), key))
            return &*m_entry;
    }
    m_entry = m_entries->constFind(key);
    return m_entry != m_entries->cend() ? &*m_entry : nullptr;
}

} // namespace tamsel

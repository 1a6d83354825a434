// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_STATICMAPREADER_H
#define TAMSEL_STATICMAPREADER_H

#include "lookupstorage.h"

namespace tamsel {

// The read-only layer over a map of group name to the map of the group's entries.
//
// A value that cannot be converted to a QVariantMap is not a group and is ignored. The map never
// changes, so any number of threads may read without a lock. The base class refuses writes and
// removals.
class StaticMapReader : public LookupStorage
{
public:
    StaticMapReader(SettingsType type, IConfigurationChangeHandler *handler, ILogger *logger,
                    const QVariantMap &values);
    ~StaticMapReader() override;

    bool isAvailable() const override;
    bool contains(const QString &group, const QString &key) const override;
    QVariant value(const QString &group, const QString &key) const override;
    bool lookup(const LookupKey &key, QVariant *value) const override;
    // Sorted by group, then by key.
    KeyList keys() const override;

    // Reads the map without a copy. Cheapest in the order of keys(), where nothing is searched.
    // Borrows the map of the reader.
    class Cursor
    {
    public:
        explicit Cursor(const StaticMapReader &reader) : m_values(reader.m_values) { }

        // The value of the key; null if it is not held, or if its group has to be converted.
        const QVariant *find(const QString &group, const QString &key);

    private:
        Q_DISABLE_COPY_MOVE(Cursor)

        const QVariantMap &m_values;
        QString m_group;
        const QVariantMap *m_entries = nullptr; // of m_group; null if it has to be converted
        QVariantMap::const_iterator m_entry; // the last one found; valid if m_entries is not null
    };

private:
    bool mayHold(quintptr groupBit) const { return (m_groupBits & groupBit) != 0; }

    const QVariantMap m_values;
    const quintptr m_groupBits;
};

} // namespace tamsel

#endif // TAMSEL_STATICMAPREADER_H

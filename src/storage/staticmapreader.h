// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_STATICMAPREADER_H
#define TAMSEL_STATICMAPREADER_H

#include "lookupstorage.h"

namespace tamsel {

/*!
 * \internal
 * \brief The read-only layer over a map of group name to the map of the group's entries.
 *
 * An entry that cannot be converted to a QVariantMap is no group and is invisible. The map never
 * changes, so any number of threads may read without a lock. Writes and removals are refused by the
 * base.
 */
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
    /*! Sorted by group, then by key. */
    KeyList keys() const override;

private:
    const QVariantMap m_values;
};

} // namespace tamsel

#endif // TAMSEL_STATICMAPREADER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "staticmapreader.h"

namespace tamsel {

namespace {

/*!
 * The entries of a group. A variant that holds a QVariantMap is read in place, without a copy; one
 * that merely converts is converted afresh on every read, nothing is cached.
 */
class GroupEntries
{
public:
    explicit GroupEntries(const QVariant &group)
    {
        const auto mapType = QMetaType::fromType<QVariantMap>();
        if (group.metaType() == mapType) {
            m_entries = static_cast<const QVariantMap *>(group.constData());
        } else if (QMetaType::canConvert(group.metaType(), mapType)) {
            m_converted = group.toMap();
            m_entries = &m_converted;
        }
    }
    explicit operator bool() const { return m_entries != nullptr; }
    const QVariantMap *operator->() const { return m_entries; }

private:
    Q_DISABLE_COPY_MOVE(GroupEntries)

    QVariantMap m_converted;
    const QVariantMap *m_entries = nullptr;
};

} // namespace

StaticMapReader::StaticMapReader(SettingsType type, IConfigurationChangeHandler *handler,
                                 ILogger *logger, const QVariantMap &values)
    : AbstractStorage(type, handler, logger), m_values(values)
{
}

StaticMapReader::~StaticMapReader() = default;

bool StaticMapReader::isAvailable() const
{
    return true;
}

bool StaticMapReader::contains(const QString &group, const QString &key) const
{
    const auto found = m_values.constFind(group);
    if (found == m_values.cend())
        return false;
    const GroupEntries entries(*found);
    return entries && entries->contains(key);
}

QVariant StaticMapReader::value(const QString &group, const QString &key) const
{
    const auto found = m_values.constFind(group);
    if (found == m_values.cend())
        return {};
    const GroupEntries entries(*found);
    if (!entries)
        return {};
    const auto entry = entries->constFind(key);
    return entry != entries->cend() ? *entry : QVariant();
}

KeyList StaticMapReader::keys() const
{
    KeyList result;
    for (auto group = m_values.cbegin(); group != m_values.cend(); ++group) {
        const GroupEntries entries(*group);
        if (!entries)
            continue;
        for (auto entry = entries->cbegin(); entry != entries->cend(); ++entry)
            result.append({group.key(), entry.key()});
    }
    return result;
}

} // namespace tamsel

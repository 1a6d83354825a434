// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_LOOKUPSTORAGE_H
#define TAMSEL_LOOKUPSTORAGE_H

#include <tamsel/abstractstorage.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <array>
#include <memory>
#include <optional>

namespace tamsel {

// One bit of a word, chosen by the name of a group. A layer in memory keeps the bits of its groups: if
// the bit of a group is missing, the layer need not be searched. The hash uses only the length and the
// first and last character, because it has to be cheap.
inline quintptr groupBit(const QString &group)
{
    if (group.isEmpty())
        return 1;
    const quintptr hash = quintptr(group.size()) + group.front().unicode()
            + quintptr{4} * group.back().unicode();
    return quintptr{1} << hash % (8 * sizeof(quintptr));
}

// "group/key", as the file layers need it. Allocates only if it is unusually long.
class FullKey
{
public:
    FullKey(const QString &group, const QString &key);

    QStringView text() const { return {m_long ? m_long.get() : m_short.data(), m_size}; }

private:
    Q_DISABLE_COPY_MOVE(FullKey)

    const qsizetype m_size;
    // The text is in m_long if that is not null, otherwise in m_short.
    std::unique_ptr<char16_t[]> m_long; // NOLINT(*-avoid-c-arrays)
    std::array<char16_t, 128> m_short;
};

// The group and the key that a lookup is for. Borrows both.
class LookupKey
{
public:
    LookupKey(const QString &group, const QString &key)
        : m_group(group), m_key(key), m_groupBit(tamsel::groupBit(group))
    {
    }

    const QString &group() const { return m_group; }
    const QString &key() const { return m_key; }
    quintptr groupBit() const { return m_groupBit; }

    // Built when the first file layer asks for it: most reads do not need it.
    QStringView full() const
    {
        if (!m_full)
            m_full.emplace(m_group, m_key);
        return m_full->text();
    }

private:
    Q_DISABLE_COPY_MOVE(LookupKey)

    const QString &m_group;
    const QString &m_key;
    const quintptr m_groupBit;
    mutable std::optional<FullKey> m_full;
};

// The base class of the library's own storages. It adds contains() and value() in one step. Between two
// separate calls another thread may remove the key.
class LookupStorage : public AbstractStorage
{
public:
    using AbstractStorage::AbstractStorage;

    // Whether the layer holds the key. If so, *value is set to its value; otherwise it is unchanged.
    virtual bool lookup(const LookupKey &key, QVariant *value) const = 0;
};

} // namespace tamsel

#endif // TAMSEL_LOOKUPSTORAGE_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "fakestorage.h"

#include <QtCore/QStringBuilder>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

FakeStorage::FakeStorage(SettingsType type, IConfigurationChangeHandler *handler, Journal *journal,
                         const QString &name)
    : AbstractStorage(type, handler, nullptr), m_journal(journal), m_name(name)
{
}

FakeStorage::~FakeStorage()
{
    record(u"dies"_s);
}

void FakeStorage::put(const QString &group, const QString &key, const QVariant &value)
{
    m_values.insert({group, key}, value);
    list(group, key);
}

void FakeStorage::list(const QString &group, const QString &key)
{
    m_keys.append({group, key});
}

bool FakeStorage::isAvailable() const
{
    record(u"isAvailable"_s);
    return available;
}

bool FakeStorage::contains(const QString &group, const QString &key) const
{
    record("contains "_L1 % group % '/'_L1 % key);
    return m_values.contains({group, key});
}

QVariant FakeStorage::value(const QString &group, const QString &key) const
{
    record("value "_L1 % group % '/'_L1 % key);
    return m_values.value({group, key});
}

void FakeStorage::setValue(const QString &group, const QString &key, const QVariant &value)
{
    record("setValue "_L1 % group % '/'_L1 % key % " = "_L1 % describe(value));
}

void FakeStorage::remove(const QString &group, const QString &key)
{
    record("remove "_L1 % group % '/'_L1 % key);
}

KeyList FakeStorage::keys() const
{
    record(u"keys"_s);
    return m_keys;
}

void FakeStorage::record(const QString &call) const
{
    m_journal->add(m_name % ": "_L1 % call % (note ? note() : QString()));
}

} // namespace tamsel::tests

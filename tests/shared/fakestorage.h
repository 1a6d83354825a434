// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FAKESTORAGE_H
#define TAMSEL_TESTS_FAKESTORAGE_H

#include "recording.h"

#include <tamsel/abstractstorage.h>

#include <QtCore/QMap>

#include <functional>

namespace tamsel::tests {

// A layer that holds what a test puts into it and writes every call into a journal: "name: contains
// g/k", "name: keys", and at the end "name: dies". Writes and removals change nothing and are not
// notified.
class FakeStorage final : public AbstractStorage
{
public:
    FakeStorage(SettingsType type, IConfigurationChangeHandler *handler, Journal *journal,
                const QString &name);
    ~FakeStorage() override;

    // Holds value from now on. keys() lists the key once for each time it was put.
    void put(const QString &group, const QString &key, const QVariant &value);
    // keys() lists the key though the layer does not hold it, as an INI layer does for a/x/c.
    void list(const QString &group, const QString &key);
    using AbstractStorage::notify;

    bool isAvailable() const override;
    bool contains(const QString &group, const QString &key) const override;
    QVariant value(const QString &group, const QString &key) const override;
    void setValue(const QString &group, const QString &key, const QVariant &value) override;
    void remove(const QString &group, const QString &key) override;
    KeyList keys() const override;

    bool available = true;
    // Called for each line; its result is appended. May be empty.
    std::function<QString()> note;

private:
    void record(const QString &call) const;

    Journal *const m_journal; // borrowed
    const QString m_name;
    QMap<std::pair<QString, QString>, QVariant> m_values;
    KeyList m_keys;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FAKESTORAGE_H

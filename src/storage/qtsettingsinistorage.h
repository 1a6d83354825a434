// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_QTSETTINGSINISTORAGE_H
#define TAMSEL_QTSETTINGSINISTORAGE_H

#include "lookupstorage.h"

#include <memory>

namespace tamsel {

// The layer in an INI file: (group, key) is the key "group/key" of one QSettings.
//
// Nothing is cached here and sync() is never called: QSettings decides when the file is written, at the
// latest when the storage is destroyed. Only single calls of QSettings are atomic: of two threads that
// write the same value to one key, both may notify.
class QtSettingsIniStorage : public LookupStorage
{
public:
    QtSettingsIniStorage(SettingsType type, IConfigurationChangeHandler *handler, ILogger *logger,
                         const QString &fileName);
    ~QtSettingsIniStorage() override;

    bool isAvailable() const override;
    bool contains(const QString &group, const QString &key) const override;
    QVariant value(const QString &group, const QString &key) const override;
    bool lookup(const LookupKey &key, QVariant *value) const override;
    // Logs an error if the file is not writable, also for a value that would not change.
    void setValue(const QString &group, const QString &key, const QVariant &value) override;
    // Also removes every key that starts with `key` + "/", as QSettings does. Always notifies, once.
    void remove(const QString &group, const QString &key) override;
    // In the order of QSettings::allKeys(): the first and the last segment of each key.
    KeyList keys() const override;

private:
    class Settings;

    const std::unique_ptr<Settings> m_settings;
};

} // namespace tamsel

#endif // TAMSEL_QTSETTINGSINISTORAGE_H

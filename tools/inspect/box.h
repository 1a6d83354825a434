// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef BOX_H
#define BOX_H

#include "inifile.h"
#include "options.h"
#include "setting.h"
#include "source.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

// The maps of the layers without a file, which a host would create. Read once: a pipe cannot be read
// again.
class HostValues
{
public:
    // Throws a UserError.
    explicit HostValues(const Options &options);

    QVariantMap mapOf(tamsel::SettingsType layer) const;
    // The file that holds the value; empty for --set.
    QString fileOf(tamsel::SettingsType layer, const SettingName &name) const;

private:
    QHash<tamsel::SettingsType, QVariantMap> m_fromFiles;
    QHash<tamsel::SettingsType, QVariantMap> m_assigned;
    QHash<tamsel::SettingsType, QString> m_files;
};

// The settings of a box, from its files and from the maps that its host would create.
//
// A manager returns no overridden value, so each layer is read through a manager of its own.
class Box final : public Source
{
public:
    // The box with the files in the storage directory. Throws a UserError.
    Box(const Options &options, const QString &storage, const HostValues &hostValues);

    void visit(const std::function<void(const Setting &)> &visitor) const override;
    Setting setting(const SettingName &name) const override;
    QString fileOf(tamsel::SettingsType layer) const override { return m_files.value(layer); }
    std::optional<bool> fileExists(tamsel::SettingsType layer) const override;
    QString placeText(tamsel::SettingsType layer, const QString &file) const override;
    // Faults in files that programs read nevertheless.
    QStringList warnings() const override;

private:
    using Key = std::pair<QString, QString>; // group and key
    using Keys = std::vector<Key>;

    // A value in a layer.
    struct Held
    {
        Key key;
        tamsel::SettingsType layer;
        QVariant value;
    };
    using HeldIterator = std::vector<Held>::const_iterator;

    // The tool prints its own messages.
    class NoLogger final : public tamsel::ILogger
    {
        void error(const QString &) override { }
        void warning(const QString &) override { }
        void info(const QString &) override { }
        void debug(const QString &) override { }
    };

    static bool isBefore(const Key &key, const Key &other);
    static void sort(Keys *keys);
    void addHostKeys(const QVariantMap &groups);
    void addLayer(tamsel::SettingsType layer, const QString &storage, const QString &assets);
    static void writeAll(tamsel::ConfigurationManager &settings, const QVariantMap &groups,
                         tamsel::SettingsType layer);
    Keys addFileLayer(tamsel::ConfigurationManager &settings, tamsel::SettingsType layer);
    Keys keysIn(const IniFile &file, tamsel::SettingsType layer);
    void takeValues(const tamsel::ConfigurationManager &settings, tamsel::SettingsType layer,
                    const Keys &keys);
    Setting settingOf(const Key &key, HeldIterator begin, HeldIterator end) const;
    bool isLookedAt(tamsel::SettingsType layer) const;

    bool isSecret(const Key &key, const QString &entry = {}) const;
    Value valueOf(bool isSecret, const Key &key, const QVariant &value) const;

    const std::optional<tamsel::SettingsType> m_onlyLayer;
    const tamsel::host::Redaction m_redaction;
    const HostValues &m_hostValues;
    std::vector<std::unique_ptr<IniFile>> m_iniFiles;
    Keys m_hostKeys; // keys from options and maps; a file may hold them under another full key
    QHash<tamsel::SettingsType, QString> m_files;
    std::vector<Held> m_held; // by key, lowest layer first
    std::map<Key, QList<LayerValue>> m_unreadable; // lowest layer first
};

#endif // BOX_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef BOX_H
#define BOX_H

#include "options.h"
#include "settingscatalogue.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <map>
#include <optional>
#include <utility>

// What one layer has to say about a setting.
struct LayerValue
{
    tamsel::SettingsType layer;
    QVariant value;
    QString file; // where it stands; empty for what --set brought
    // The name in the file of an entry that the layer lists as this setting although no reader of
    // the setting gets it; empty for all others.
    QString entry;

    // Whether no name gets the entry: QSettings skips empty parts of what it is asked for.
    bool isLost() const;
};

// A setting as readers see it, and everything that they do not see of it.
struct Setting
{
    SettingName name;
    std::optional<LayerValue> answer; // none: the setting is hidden everywhere
    QList<LayerValue> hidden; // highest layer first, unreadable entries last
};

// The settings of a box, from its files and from what its processes would bring along.
//
// The manager tells no value of a layer below the one that answers. So the layers are created from
// the lowest up, and each is asked for its values while it is the highest.
class Box
{
public:
    // The box of options with the files in storage. Throws a UserError.
    Box(const Options &options, const QString &storage);

    // All settings that options asks for, by group and key.
    QList<Setting> settings(const Options &options) const;
    // What is known of one setting, which may be nothing.
    Setting setting(const SettingName &name) const;
    // The file of the layer type; empty if it has none.
    QString fileOf(tamsel::SettingsType type) const { return m_files.value(type); }

private:
    Q_DISABLE_COPY_MOVE(Box)

    using Pair = std::pair<QString, QString>;

    // The tool says itself what there is to say.
    class NoLogger final : public tamsel::ILogger
    {
        void error(const QString &) override { }
        void warning(const QString &) override { }
        void info(const QString &) override { }
        void debug(const QString &) override { }
    };

    void addLayer(tamsel::SettingsType type);
    void addWrittenLayer(tamsel::SettingsType type);
    QVariantMap fixedMap(tamsel::SettingsType type) const;
    void addFileLayer(tamsel::SettingsType type);
    void listEntries(tamsel::SettingsType type);
    void takeValues(tamsel::SettingsType type);
    QString originOf(tamsel::SettingsType type, const Pair &pair) const;

    NoLogger m_logger;
    tamsel::ConfigurationManager m_settings;
    SettingsCatalogue m_catalogue;
    QHash<tamsel::SettingsType, QString> m_files;
    QHash<tamsel::SettingsType, QMap<QString, QVariantMap>> m_assigned; // by --set, group to keys
    QHash<Pair, QList<LayerValue>> m_layerValues; // lowest layer first
    std::map<Pair, QList<LayerValue>> m_unreadable; // lowest layer first
};

#endif // BOX_H

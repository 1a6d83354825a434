// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTING_H
#define SETTING_H

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

// A group and a key, given and shown with a "/" between them.
struct SettingName
{
    QString group;
    QString key;

    QString text() const { return group + u'/' + key; }
};

// What one layer holds for a setting.
struct LayerValue
{
    tamsel::SettingsType layer;
    QVariant value;
    QString file; // empty for what --set brought
    // The name in the file of an entry that the layer lists as this setting although no reader of
    // the setting gets it; empty for all others.
    QString entry;

    // Whether no name reads the entry: QSettings skips empty parts of what it is asked for.
    bool isLost() const;
};

// A setting, where its effective value comes from, and everything that readers do not see of it.
struct Setting
{
    SettingName name;
    std::optional<LayerValue> origin; // none: no reader gets a value
    QList<LayerValue> overridden; // highest layer first, unreadable entries last
};

#endif // SETTING_H

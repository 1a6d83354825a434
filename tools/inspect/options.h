// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef OPTIONS_H
#define OPTIONS_H

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

// A group and a key, as they are given and shown with a "/" between them.
struct SettingName
{
    QString group;
    QString key;
};

// A value for a layer that has no file, from --set.
struct Assignment
{
    tamsel::SettingsType layer;
    SettingName name;
    QString value;
};

// Whether the layer is an INI file.
bool isFileLayer(tamsel::SettingsType layer);

// The command line.
struct Options
{
    QString storage; // directories end with "/"
    QString assets;
    QString otherStorage; // --diff; empty without it
    QString rdmFile;
    QString featureKeysFile;
    QList<Assignment> assignments;
    std::optional<SettingName> explained;
    QList<QRegularExpression> patterns;
    bool json = false;
    bool colour = true;
    QString answer; // the text that --help or --version asks for; nothing else is done then

    // Whether one of the patterns is that of group / key, or there is none at all.
    bool wants(const QString &group, const QString &key) const;
};

// Reads arguments, the program's name first. Throws a UserError.
Options parseOptions(const QStringList &arguments);

#endif // OPTIONS_H

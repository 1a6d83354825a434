// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef OPTIONS_H
#define OPTIONS_H

#include "pattern.h"
#include "setting.h"

#include <tamsel/host/redaction.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

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
    QString snapshot; // "-" is standard input; empty without it
    QString otherStorage; // --diff with a directory; empty without it
    QString otherSnapshot; // --diff with a file; empty without it
    QString otherAssets; // --diff-assets; empty without it
    QString rdmFile; // "-" is standard input
    QString featureKeysFile;
    QList<Assignment> assignments;
    std::optional<tamsel::SettingsType> layer; // the only one to look at
    std::optional<SettingName> explained;
    std::optional<SettingName> wanted; // --get
    QList<Pattern> patterns;
    tamsel::host::Redaction redaction;
    bool changes = false;
    bool onlyOverridden = false;
    bool json = false;
    bool wide = false;
    bool colour = true;
    QString answer; // the text of --help or --version; if there is one, it is all that is printed

    // Whether one of the patterns matches, or there are no patterns.
    bool wants(const SettingName &name) const;
    bool wants(const Setting &setting) const;
    // Whether two boxes or snapshots are compared.
    bool isDifference() const;
    // Whether a box's files are read, not just snapshots.
    bool needsFiles() const;
};

// Parses arguments, of which the first is the program's name. Throws a UserError.
Options parseOptions(const QStringList &arguments);

#endif // OPTIONS_H

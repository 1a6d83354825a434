// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_WORKLOAD_H
#define TAMSEL_BENCH_WORKLOAD_H

// The layers, settings, files and texts that every system is measured with.

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>

namespace tamsel::bench {

struct Setting
{
    QString group;
    QString key;
    QString text;
};
using Settings = QList<Setting>;

// The settings of the layer `type`: 200 groups of 20 in the lowest, 50 in each of the others.
Settings contents(SettingsType type);

// One setting of each group that only the lowest layer holds.
Settings bottomSettings();
// Keys that no layer holds, in the groups of the lowest.
Settings missingSettings();

// The values to write, by choice: two texts and two numbers. Each is a change from the other.
constexpr int firstText = 0;
constexpr int firstNumber = 2;
QVariantList writtenValues();

// A map of group name to the map of the group's entries, for the read-only layers.
QVariantMap toMap(const Settings &settings);

// `count` settings in groups of 20; if `changed`, one in a hundred has another text.
Settings manySettings(int count, bool changed = false);

// The settings in the INI format that all systems read.
QByteArray iniText(const Settings &settings);
void writeFile(const QString &path, const QByteArray &content);

// The library's name for the file of `type`; other layers have similar names.
QString fileName(SettingsType type);

// A temporary folder with a file for each layer.
class LayerFiles
{
public:
    LayerFiles();
    // The folder, with a "/" at the end.
    QString prefix() const { return m_folder.path() + u'/'; }
    QString path(SettingsType type) const { return prefix() + fileName(type); }

private:
    const QTemporaryDir m_folder;
};

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_WORKLOAD_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_WORKLOAD_H
#define TAMSEL_BENCH_WORKLOAD_H

// What every system is measured with: the same layers, settings, files and texts.

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

// What the layer `type` holds: 200 groups of 20 settings in the lowest, 50 settings elsewhere.
Settings contents(SettingsType type);

// One setting of each group that only the lowest layer holds.
Settings bottomSettings();
// Keys that no layer holds, in the groups of the lowest.
Settings missingSettings();

// What can be written, by choice: two texts and two numbers. Each write of the other one is a change.
constexpr int firstText = 0;
constexpr int firstNumber = 2;
QVariantList writtenValues();

// Group name to the map of the group's entries, as the read-only layers take it.
QVariantMap toMap(const Settings &settings);

// `count` settings in groups of 20; one in a hundred has another text if `changed`.
Settings manySettings(int count, bool changed = false);

// The settings in the INI format that all the systems read.
QByteArray iniText(const Settings &settings);
void writeFile(const QString &path, const QByteArray &content);

// The name that the library gives to the file of `type`; the others are named in its manner.
QString fileName(SettingsType type);

// A folder with a file for each layer, for as long as it lives.
class LayerFiles
{
public:
    LayerFiles();
    // The folder with a "/" behind it.
    QString prefix() const { return m_folder.path() + u'/'; }
    QString path(SettingsType type) const { return prefix() + fileName(type); }

private:
    const QTemporaryDir m_folder;
};

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_WORKLOAD_H

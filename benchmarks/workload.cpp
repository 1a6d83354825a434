// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "workload.h"

#include <QtCore/QFile>
#include <QtCore/QMap>

using namespace Qt::StringLiterals;

namespace tamsel::bench {

namespace {

constexpr int groupSize = 20;
constexpr int fileGroups = 200;

QString numbered(QLatin1StringView name, int width, int number)
{
    return name + QString::number(number).rightJustified(width, u'0');
}

QString groupName(int number)
{
    return numbered("group"_L1, 3, number);
}

Settings defaults()
{
    Settings result;
    for (int i = 0; i < fileGroups * groupSize; ++i) {
        result.append({groupName(i / groupSize), numbered("setting"_L1, 2, i % groupSize),
                       numbered("the shipped default "_L1, 4, i)});
    }
    return result;
}

} // namespace

Settings contents(SettingsType type)
{
    if (type == SettingsType::RavonaConfDefault)
        return defaults();
    // Ten settings in each of five groups that the lowest layer has too.
    const QString prefix = numbered("layer"_L1, 1, priorityOf(type));
    Settings result;
    for (int i = 0; i < 50; ++i) {
        result.append({groupName(i / 10 * (fileGroups / 5)), prefix + numbered("key"_L1, 2, i),
                       prefix + numbered("'s own text "_L1, 2, i)});
    }
    return result;
}

Settings bottomSettings()
{
    const Settings all = defaults();
    Settings result;
    for (int group = 0; group < fileGroups; ++group)
        result.append(all.at(group * groupSize + group % groupSize));
    return result;
}

Settings missingSettings()
{
    Settings result = bottomSettings();
    for (Setting &setting : result)
        setting = {setting.group, setting.key + u'x', QString()};
    return result;
}

QVariantList writtenValues()
{
    return {u"the first written text"_s, u"the other written text"_s, 12345, 67890};
}

QVariantMap toMap(const Settings &settings)
{
    QMap<QString, QVariantMap> groups;
    for (const auto &[group, key, text] : settings)
        groups[group].insert(key, text);
    QVariantMap result;
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        result.insert(group.key(), *group);
    return result;
}

Settings manySettings(int count, bool changed)
{
    Settings result;
    for (int i = 0; i < count; ++i) {
        const auto text = changed && i % 100 == 0 ? "a changed text "_L1 : "the original text "_L1;
        result.append({numbered("many"_L1, 5, i / groupSize),
                       numbered("setting"_L1, 2, i % groupSize), numbered(text, 6, i)});
    }
    return result;
}

QByteArray iniText(const Settings &settings)
{
    QByteArray result;
    QString openGroup;
    for (const auto &[group, key, text] : settings) {
        if (group != openGroup)
            result += '[' + group.toUtf8() + "]\n";
        openGroup = group;
        result += key.toUtf8() + '=' + text.toUtf8() + '\n';
    }
    return result;
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qUtf8Printable(path));
}

QString fileName(SettingsType type)
{
    switch (type) {
    case SettingsType::CustomConfPersistent:
        return u"custom.conf"_s;
    case SettingsType::SelviDb:
        return u"selvi.db"_s;
    case SettingsType::RavonaConfDefault:
        return u"ravona.conf"_s;
    default:
        return numbered("layer"_L1, 1, priorityOf(type)) + ".conf"_L1;
    }
}

LayerFiles::LayerFiles()
{
    for (const SettingsType type : storagePriority)
        writeFile(path(type), iniText(contents(type)));
}

} // namespace tamsel::bench

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "box.h"

#include "format.h"
#include "jsonmap.h"
#include "usererror.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// Whether hosts write the layer value by value; it cannot be given a map.
bool isWritten(SettingsType type)
{
    return type == SettingsType::Runtime || type == SettingsType::SystemProperties;
}

void checkDirectory(const QString &directory)
{
    if (!QFileInfo(directory).isDir())
        throw UserError(u"there is no directory %1"_s.arg(directory));
    // Where it must not be entered, its files look as if they were missing.
    if (!QFileInfo(directory).isExecutable())
        throw UserError(u"cannot enter %1: permission denied"_s.arg(directory));
}

// A box that was never used has neither of its own files, but the defaults are always shipped.
void checkFile(const QString &fileName, SettingsType type)
{
    const QFileInfo info(fileName);
    if (info.isSymLink() && !info.exists())
        throw UserError(u"cannot read %1: the link leads nowhere"_s.arg(fileName));
    if (!info.exists()) {
        if (type == SettingsType::RavonaConfDefault)
            throw UserError(u"there is no file %1"_s.arg(fileName));
        return;
    }
    if (!info.isFile())
        throw UserError(u"cannot read %1: it is not a regular file"_s.arg(fileName));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw UserError(u"cannot read %1: %2"_s.arg(fileName, file.errorString()));
}

} // namespace

bool LayerValue::isLost() const
{
    return entry.startsWith(u'/') || entry.endsWith(u'/') || entry.contains("//"_L1);
}

Box::Box(const Options &options, const QString &storage)
    : m_settings(&m_logger), m_catalogue(&m_settings)
{
    checkDirectory(storage);
    checkDirectory(options.assets);
    m_settings.setPersistentStoragePath(storage);
    m_settings.setAssetsPrefix(options.assets);
    m_files = {
            {SettingsType::CustomConfPersistent, storage + "custom.conf"_L1},
            {SettingsType::SelviDb, storage + "selvi.db"_L1},
            {SettingsType::RavonaConfDefault, options.assets + "ravona.conf"_L1},
            {SettingsType::Rdm, options.rdmFile},
            {SettingsType::FeatureKeys, options.featureKeysFile},
    };
    for (const auto &[layer, name, value] : options.assignments)
        m_assigned[layer][name.group].insert(name.key, value);
    if (options.explained)
        m_catalogue.remember(options.explained->group, options.explained->key);
    std::for_each(tamsel::storagePriority.crbegin(), tamsel::storagePriority.crend(),
                  [this](SettingsType type) { addLayer(type); });
}

void Box::addLayer(SettingsType type)
{
    if (isFileLayer(type))
        addFileLayer(type);
    else if (isWritten(type))
        addWrittenLayer(type);
    else
        m_settings.initStorage(type, fixedMap(type));
    takeValues(type);
}

void Box::addWrittenLayer(SettingsType type)
{
    m_settings.initStorage(type);
    const auto groups = m_assigned.value(type);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry)
            m_settings.setValue(group.key(), entry.key(), *entry, type);
    }
}

// What the host would bring along for the layer type.
QVariantMap Box::fixedMap(SettingsType type) const
{
    const QString fileName = m_files.value(type);
    QVariantMap result = fileName.isEmpty() ? QVariantMap() : readJsonMap(fileName);
    const auto groups = m_assigned.value(type);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        QVariantMap entries = result.value(group.key()).toMap();
        entries.insert(*group);
        result.insert(group.key(), entries);
    }
    return result;
}

void Box::addFileLayer(SettingsType type)
{
    const QString fileName = m_files.value(type);
    checkFile(fileName, type);
    m_settings.initStorage(type);
    if (!m_settings.storageAvailable(type))
        throw UserError(u"%1 is malformed: it is not in the INI format"_s.arg(fileName));
    listEntries(type);
}

// Looks at the names in the file itself: the layer lists an entry by the first and the last part of
// its name, and reads it by what stands in front of the first "/" and behind it.
void Box::listEntries(SettingsType type)
{
    const QString fileName = m_files.value(type);
    const QSettings file(fileName, QSettings::IniFormat); // shares what the layer has loaded
    const QStringList entries = file.allKeys();
    for (const QString &entry : entries) {
        const qsizetype first = entry.indexOf(u'/');
        const Pair listed{entry.left(first), entry.mid(entry.lastIndexOf(u'/') + 1)};
        const Pair read{first < 0 ? QString() : listed.first, entry.mid(first + 1)};
        LayerValue layerValue{type, {}, fileName, entry};
        if (!layerValue.isLost()) {
            m_catalogue.remember(read.first, read.second);
            if (listed == read)
                continue;
            layerValue.value = file.value(entry);
        }
        m_unreadable[listed].append(layerValue);
    }
}

// Of the layer type, which is the highest one now: it answers for every pair it holds.
void Box::takeValues(SettingsType type)
{
    for (const auto &pair : m_catalogue.pairs()) {
        const auto &[group, key] = pair;
        if (m_settings.contains(group, key, type))
            m_layerValues[pair].append(
                    {type, m_settings.value(group, key), originOf(type, pair), {}});
    }
}

QString Box::originOf(SettingsType type, const Pair &pair) const
{
    const auto assigned = m_assigned.constFind(type);
    if (assigned != m_assigned.cend()) {
        const auto group = assigned->constFind(pair.first);
        if (group != assigned->cend() && group->contains(pair.second))
            return {};
    }
    return m_files.value(type);
}

Setting Box::setting(const SettingName &name) const
{
    const Pair pair{name.group, name.key};
    Setting result{name, std::nullopt, m_layerValues.value(pair)};
    std::reverse(result.hidden.begin(), result.hidden.end());
    if (!result.hidden.isEmpty())
        result.answer = result.hidden.takeFirst();
    if (const auto unreadable = m_unreadable.find(pair); unreadable != m_unreadable.cend()) {
        QList<LayerValue> entries = unreadable->second;
        std::stable_sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) {
            return tamsel::priorityOf(a.layer) < tamsel::priorityOf(b.layer);
        });
        result.hidden += entries;
    }
    return result;
}

QList<Setting> Box::settings(const Options &options) const
{
    SettingsCatalogue::Pairs pairs = m_catalogue.pairs();
    for (const auto &[pair, entries] : m_unreadable)
        pairs.insert(pair);
    QList<Setting> result;
    for (const auto &[group, key] : pairs) {
        if (!options.wants(group, key))
            continue;
        Setting found = setting({group, key});
        if (found.answer || !found.hidden.isEmpty())
            result.append(found);
    }
    return result;
}

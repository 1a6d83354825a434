// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "box.h"

#include "format.h"
#include "jsonmap.h"
#include "usererror.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// Whether hosts write the layer value by value, because initStorage() ignores its map.
bool isWritten(SettingsType layer)
{
    return layer == SettingsType::Runtime || layer == SettingsType::SystemProperties;
}

void checkDirectory(const QString &directory)
{
    if (!QFileInfo(directory).isDir())
        throw UserError(u"there is no directory %1"_s.arg(directory));
    // Without permission to enter it, its files would look as if they were missing.
    if (!QFileInfo(directory).isExecutable())
        throw UserError(u"cannot enter %1: permission denied"_s.arg(directory));
}

// The type of a value that no layer can hold.
struct NotHeld
{
};

bool holds(const QVariantMap &map, const SettingName &name)
{
    return map.value(name.group).toMap().contains(name.key);
}

} // namespace

Q_DECLARE_METATYPE(NotHeld)

HostValues::HostValues(const Options &options)
    : m_files{{SettingsType::Rdm, options.rdmFile},
              {SettingsType::FeatureKeys, options.featureKeysFile}}
{
    for (const SettingsType layer : {SettingsType::Rdm, SettingsType::FeatureKeys}) {
        if (!m_files.value(layer).isEmpty())
            m_fromFiles.insert(layer, readJsonMap(m_files.value(layer)));
    }
    QHash<SettingsType, QMap<QString, QVariantMap>> assigned;
    for (const auto &[layer, name, value] : options.assignments)
        assigned[layer][name.group].insert(name.key, value);
    for (auto layer = assigned.cbegin(); layer != assigned.cend(); ++layer) {
        for (auto group = layer->cbegin(); group != layer->cend(); ++group)
            m_assigned[layer.key()].insert(group.key(), *group);
    }
}

QVariantMap HostValues::mapOf(SettingsType layer) const
{
    QVariantMap result = m_fromFiles.value(layer);
    const QVariantMap assigned = m_assigned.value(layer);
    for (auto group = assigned.cbegin(); group != assigned.cend(); ++group) {
        QVariantMap entries = result.value(group.key()).toMap();
        entries.insert(group->toMap());
        result.insert(group.key(), entries);
    }
    return result;
}

QString HostValues::fileOf(SettingsType layer, const SettingName &name) const
{
    return holds(m_assigned.value(layer), name) ? QString() : m_files.value(layer);
}

Box::Box(const Options &options, const QString &storage, const HostValues &hostValues)
    : m_onlyLayer(options.layer), m_redaction(options.redaction), m_hostValues(hostValues)
{
    checkDirectory(storage);
    checkDirectory(options.assets);
    m_files = {
            {SettingsType::CustomConfPersistent, storage + "custom.conf"_L1},
            {SettingsType::SelviDb, storage + "selvi.db"_L1},
            {SettingsType::RavonaConfDefault, options.assets + "ravona.conf"_L1},
            {SettingsType::Rdm, options.rdmFile},
            {SettingsType::FeatureKeys, options.featureKeysFile},
    };
    for (const auto &name : {options.explained, options.wanted}) {
        if (name)
            m_hostKeys.emplace_back(name->group, name->key);
    }
    for (const SettingsType layer : tamsel::storagePriority)
        addHostKeys(m_hostValues.mapOf(layer));
    sort(&m_hostKeys);
    std::for_each(tamsel::storagePriority.crbegin(), tamsel::storagePriority.crend(),
                  [&](SettingsType layer) { addLayer(layer, storage, options.assets); });
}

// The order of std::pair, but the groups are compared only once.
bool Box::isBefore(const Key &key, const Key &other)
{
    const int groups = key.first.compare(other.first);
    return groups != 0 ? groups < 0 : key.second < other.second;
}

void Box::sort(Keys *keys)
{
    if (!std::is_sorted(keys->cbegin(), keys->cend(), isBefore)) // most files are
        std::sort(keys->begin(), keys->end(), isBefore);
    keys->erase(std::unique(keys->begin(), keys->end()), keys->end());
}

void Box::addHostKeys(const QVariantMap &groups)
{
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const QVariantMap entries = group->toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            m_hostKeys.emplace_back(group.key(), entry.key());
    }
}

void Box::addLayer(SettingsType layer, const QString &storage, const QString &assets)
{
    NoLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    settings.setPersistentStoragePath(storage);
    settings.setAssetsPrefix(assets);
    if (isFileLayer(layer)) {
        takeValues(settings, layer, addFileLayer(settings, layer));
        return;
    }
    const QVariantMap groups = m_hostValues.mapOf(layer);
    if (groups.isEmpty())
        return;
    settings.initStorage(layer, groups);
    if (isWritten(layer))
        writeAll(settings, groups, layer);
    takeValues(settings, layer, m_hostKeys);
}

void Box::writeAll(tamsel::ConfigurationManager &settings, const QVariantMap &groups,
                   SettingsType layer)
{
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const QVariantMap entries = group->toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            settings.setValue(group.key(), entry.key(), *entry, layer);
    }
}

// Returns the keys that the layer may hold.
Box::Keys Box::addFileLayer(tamsel::ConfigurationManager &settings, SettingsType layer)
{
    const QString fileName = m_files.value(layer);
    const QFileInfo info(fileName);
    // A box that was never used has only the shipped defaults, so its other files may be missing.
    if (layer == SettingsType::RavonaConfDefault && !info.exists() && !info.isSymLink())
        throw UserError(u"there is no file %1"_s.arg(fileName));
    m_iniFiles.push_back(std::make_unique<IniFile>(fileName));
    settings.initStorage(layer); // shares the contents that IniFile has loaded
    Keys keys = keysIn(*m_iniFiles.back(), layer);
    keys.insert(keys.end(), m_hostKeys.cbegin(), m_hostKeys.cend());
    sort(&keys);
    return keys;
}

// Looks at the entries of the file itself: the layer lists an entry by the first and the last part
// of its full key, but reads it by the texts before and after the first "/".
Box::Keys Box::keysIn(const IniFile &file, SettingsType layer)
{
    Keys result;
    result.reserve(static_cast<std::size_t>(file.entries().size()));
    QString group; // shared by consecutive entries
    for (const QString &entry : file.entries()) {
        const qsizetype first = entry.indexOf(u'/');
        const qsizetype last = entry.lastIndexOf(u'/');
        const bool isUsual = first == last && first > 0 && last + 1 < entry.size();
        if (group != QStringView(entry).left(first))
            group = entry.left(first);
        const Key listed{group, entry.mid(last + 1)};
        if (isUsual) { // read as it is listed
            result.push_back(listed);
            continue;
        }
        const Key read{first < 0 ? QString() : listed.first, entry.mid(first + 1)};
        LayerValue layerValue{layer, Value(), m_files.value(layer), entry};
        if (!layerValue.isLost()) {
            result.push_back(read);
            if (listed == read)
                continue;
            const QVariant value = file.settings().value(entry);
            layerValue.value = valueOf(isSecret(listed, entry), listed, value);
        }
        m_unreadable[listed].append(layerValue);
    }
    return result;
}

// The manager has no other layer, so this one is the origin of everything that it holds.
void Box::takeValues(const tamsel::ConfigurationManager &settings, SettingsType layer,
                     const Keys &keys)
{
    const QVariant notHeld = QVariant::fromValue(NotHeld());
    const auto before = static_cast<std::ptrdiff_t>(m_held.size());
    for (const Key &key : keys) {
        const QVariant value = settings.value(key.first, key.second, notHeld);
        if (value.metaType() != notHeld.metaType())
            m_held.push_back({key, layer, value});
    }
    // Values of one key stay in the order of the layers.
    std::inplace_merge(
            m_held.begin(), m_held.begin() + before, m_held.end(),
            [](const Held &held, const Held &other) { return isBefore(held.key, other.key); });
}

bool Box::isLookedAt(SettingsType layer) const
{
    return m_onlyLayer.value_or(layer) == layer;
}

// The values of the key are those from begin to end.
Setting Box::settingOf(const Key &key, HeldIterator begin, HeldIterator end) const
{
    Setting result{{key.first, key.second}, std::nullopt, {}};
    const bool secret = isSecret(key);
    while (end != begin) {
        const Held &held = *--end;
        if (!isLookedAt(held.layer))
            continue;
        const QString file = isFileLayer(held.layer) ? m_files.value(held.layer)
                                                     : m_hostValues.fileOf(held.layer, result.name);
        const LayerValue layerValue{held.layer, valueOf(secret, key, held.value), file, {}};
        if (result.origin)
            result.overridden.append(layerValue);
        else
            result.origin = layerValue;
    }
    if (const auto unreadable = m_unreadable.find(key); unreadable != m_unreadable.cend()) {
        QList<LayerValue> entries = unreadable->second;
        std::stable_sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) {
            return tamsel::priorityOf(a.layer) < tamsel::priorityOf(b.layer);
        });
        for (const LayerValue &entry : std::as_const(entries)) {
            if (isLookedAt(entry.layer))
                result.overridden.append(entry);
        }
    }
    return result;
}

Setting Box::setting(const SettingName &name) const
{
    const Key key{name.group, name.key};
    const auto begin = std::lower_bound(
            m_held.cbegin(), m_held.cend(), key,
            [](const Held &held, const Key &other) { return isBefore(held.key, other); });
    return settingOf(key, begin, std::find_if(begin, m_held.cend(), [&key](const Held &held) {
                         return held.key != key;
                     }));
}

void Box::visit(const std::function<void(const Setting &)> &visitor) const
{
    const auto visitOne = [&](const Key &key, HeldIterator begin, HeldIterator end) {
        const Setting setting = settingOf(key, begin, end);
        if (setting.origin || !setting.overridden.isEmpty())
            visitor(setting);
    };
    auto unreadable = m_unreadable.cbegin();
    for (auto begin = m_held.cbegin(); begin != m_held.cend();) {
        const Key &key = begin->key;
        for (; unreadable != m_unreadable.cend() && unreadable->first <= key; ++unreadable) {
            if (unreadable->first != key)
                visitOne(unreadable->first, begin, begin);
        }
        auto end = std::next(begin);
        while (end != m_held.cend() && end->key == key)
            ++end;
        visitOne(key, begin, end);
        begin = end;
    }
    for (; unreadable != m_unreadable.cend(); ++unreadable)
        visitOne(unreadable->first, m_held.cend(), m_held.cend());
}

// A setting is a secret if its key matches, or the key that its entry is read by.
bool Box::isSecret(const Key &key, const QString &entry) const
{
    if (m_redaction.matches(key.first, key.second))
        return true;
    const qsizetype slash = entry.indexOf(u'/');
    const QString group = slash < 0 ? QString() : entry.left(slash);
    return !entry.isEmpty() && m_redaction.matches(group, entry.mid(slash + 1));
}

// The value as it may be shown.
Value Box::valueOf(bool isSecret, const Key &key, const QVariant &value) const
{
    if (isSecret)
        return {value, true, tamsel::host::Redaction::placeholder()};
    if (value.typeId() == QMetaType::QString) // by far the most common type; texts are not searched
        return {value, false, value};
    return {value, false, m_redaction.redacted(key.first, key.second, value)};
}

std::optional<bool> Box::fileExists(SettingsType layer) const
{
    const QString file = fileOf(layer);
    return file == "-"_L1 || (!file.isEmpty() && QFileInfo::exists(file));
}

QString Box::placeText(SettingsType layer, const QString &file) const
{
    Q_UNUSED(layer)
    if (file.isEmpty())
        return u"--set"_s;
    return file == "-"_L1 ? u"standard input"_s : escaped(file);
}

QStringList Box::warnings() const
{
    QStringList result;
    for (const auto &file : m_iniFiles)
        result += file->warnings();
    return result;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "model.h"

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// Not the library's list, which is what this one is compared with.
constexpr std::array byRank{
        SettingsType::Runtime,         SettingsType::Rdm,
        SettingsType::FeatureKeys,     SettingsType::SystemProperties,
        SettingsType::CommandLineArgs, SettingsType::CustomConfPersistent,
        SettingsType::SelviDb,         SettingsType::RavonaConfDefault,
};

std::size_t rankOf(SettingsType type)
{
    return static_cast<std::size_t>(
            std::distance(byRank.begin(), std::find(byRank.begin(), byRank.end(), type)));
}

QString nameOf(SettingsType type)
{
    return QVariant::fromValue(type).toString();
}

bool isAmong(const Key &key, const std::vector<Key> &keys)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

// The full key in an INI file: QSettings drops every "/" that separates nothing.
QString fullKeyOf(const Key &key)
{
    const QString path = key.first + u'/' + key.second;
    return path.split(u'/', Qt::SkipEmptyParts).join(u'/');
}

// What is left of a value once it has been text in an INI file.
QVariant readBack(const QVariant &value)
{
    if (!value.isValid())
        return value;
    if (value.metaType() == QMetaType::fromType<QStringList>() && value.toStringList().size() > 1)
        return value;
    return value.toString();
}

} // namespace

// A file as QSettings keeps it in memory while a layer has it open: values keep their types until
// the last layer lets go of the file. A layer that replaces another one on the same file shares it.
class ModelFile
{
public:
    std::map<QString, QVariant> entries;
    int users = 0;
    bool wellFormed = true; // of the file on the disk

    // Writes changes back, which mends a malformed file.
    void flush()
    {
        const bool removed = std::any_of(m_saved.begin(), m_saved.end(), [this](const auto &entry) {
            return entries.count(entry.first) == 0;
        });
        if (removed || !m_written.empty())
            wellFormed = true;
        markSaved();
    }

    void markSaved()
    {
        m_saved = entries;
        m_written.clear();
    }

    void write(const QString &fullKey, const QVariant &value)
    {
        entries[fullKey] = value;
        m_written.insert(fullKey);
    }

    // Takes everything below the key with it.
    void remove(const QString &fullKey)
    {
        for (auto entry = entries.begin(); entry != entries.end();) {
            if (entry->first == fullKey || entry->first.startsWith(fullKey + u'/')) {
                m_written.erase(entry->first);
                entry = entries.erase(entry);
            } else {
                ++entry;
            }
        }
    }

private:
    std::map<QString, QVariant> m_saved;
    std::set<QString> m_written;
};

class ModelLayer
{
public:
    virtual ~ModelLayer() = default;

    virtual bool isAvailable() const { return true; }
    virtual bool contains(const Key &key) const = 0;
    virtual QVariant value(const Key &key) const = 0;
    virtual std::vector<Key> keys() const = 0;
    // Whether there is a change to report.
    virtual bool write(const Key &key, const QVariant &value, ILogger *logger) = 0;
    virtual bool remove(const Key &key, ILogger *logger) = 0;
};

namespace {

class MemoryLayer : public ModelLayer
{
public:
    bool contains(const Key &key) const override { return m_values.count(key) > 0; }

    QVariant value(const Key &key) const override
    {
        return contains(key) ? m_values.at(key) : QVariant();
    }

    std::vector<Key> keys() const override
    {
        std::vector<Key> result;
        for (const auto &[key, value] : m_values)
            result.push_back(key);
        return result;
    }

    bool write(const Key &key, const QVariant &value, ILogger *) override
    {
        if (contains(key) && m_values.at(key) == value)
            return false;
        m_values[key] = value;
        return true;
    }

    bool remove(const Key &key, ILogger *) override { return m_values.erase(key) > 0; }

protected:
    std::map<Key, QVariant> m_values;
};

class FixedLayer final : public MemoryLayer
{
public:
    explicit FixedLayer(const QVariantMap &groups)
    {
        for (auto group = groups.begin(); group != groups.end(); ++group) {
            if (!group->canConvert<QVariantMap>())
                continue;
            const QVariantMap entries = group->toMap();
            for (auto entry = entries.begin(); entry != entries.end(); ++entry)
                m_values[{group.key(), entry.key()}] = entry.value();
        }
    }

    bool write(const Key &, const QVariant &, ILogger *logger) override
    {
        logger->error(u"The storage doesn't support writing!"_s);
        return false;
    }

    bool remove(const Key &, ILogger *logger) override
    {
        logger->error(u"The storage doesn't support removing!"_s);
        return false;
    }
};

class FileLayer final : public ModelLayer
{
public:
    FileLayer(const QString &fileName, bool writable, std::shared_ptr<ModelFile> file)
        : m_fileName(fileName), m_writable(writable), m_file(std::move(file))
    {
        if (m_file->users > 0) {
            m_file->flush();
        } else {
            for (auto &[fullKey, value] : m_file->entries)
                value = readBack(value);
            m_file->markSaved();
            m_available = m_file->wellFormed; // only who reads the file knows its state
        }
        ++m_file->users;
    }

    ~FileLayer() override
    {
        if (m_changed)
            m_file->flush();
        --m_file->users;
    }

    bool isAvailable() const override { return m_available; }

    bool contains(const Key &key) const override
    {
        return m_file->entries.count(fullKeyOf(key)) > 0;
    }

    QVariant value(const Key &key) const override
    {
        return contains(key) ? m_file->entries.at(fullKeyOf(key)) : QVariant();
    }

    std::vector<Key> keys() const override
    {
        std::vector<Key> result;
        for (const auto &[fullKey, value] : m_file->entries) {
            const QStringList parts = fullKey.split(u'/');
            result.emplace_back(parts.first(), parts.last());
        }
        return result;
    }

    bool write(const Key &key, const QVariant &newValue, ILogger *logger) override
    {
        if (!m_writable) {
            const QString text = newValue.toString();
            logger->error(u"unable to write value "_s + text + u" ("_s + key.first + u'/'
                          + key.second + u") to "_s + m_fileName + u", file is not writable"_s);
            return false;
        }
        if (value(key) == newValue)
            return false;
        m_file->write(fullKeyOf(key), newValue);
        m_changed = true;
        return true;
    }

    bool remove(const Key &key, ILogger *logger) override
    {
        if (!m_writable) {
            logger->error(u"unable to remove value "_s + key.first + u'/' + key.second + u" from "_s
                          + m_fileName);
            return false;
        }
        m_file->remove(fullKeyOf(key));
        m_changed = true;
        return true;
    }

private:
    const QString m_fileName;
    const bool m_writable;
    const std::shared_ptr<ModelFile> m_file;
    bool m_available = true;
    bool m_changed = false;
};

} // namespace

Model::Model(ILogger *logger) : m_logger(logger) { }

Model::~Model() = default;

void Model::setPersistentStoragePath(const QString &path)
{
    m_persistentStoragePath = path;
}

void Model::setAssetsPrefix(const QString &prefix)
{
    m_assetsPrefix = prefix;
}

QVariant Model::value(const QString &group, const QString &key, const QVariant &defaultValue) const
{
    const ModelLayer *layer = top({group, key});
    return layer ? layer->value({group, key}) : defaultValue;
}

bool Model::contains(const QString &group, const QString &key) const
{
    return top({group, key}) != nullptr;
}

bool Model::contains(const QString &group, const QString &key, SettingsType type) const
{
    const ModelLayer *layer = find(type);
    return layer != nullptr && layer->contains({group, key});
}

void Model::setValue(const QString &group, const QString &key, const QVariant &value,
                     SettingsType type)
{
    ModelLayer *layer = find(type);
    if (layer != nullptr && layer->write({group, key}, value, m_logger))
        changed(type, {group, key}, value);
}

void Model::removeValue(const QString &group, const QString &key, SettingsType type)
{
    ModelLayer *layer = find(type);
    if (layer != nullptr && layer->contains({group, key}) && layer->remove({group, key}, m_logger))
        changed(type, {group, key}, QVariant());
}

bool Model::storageAvailable(SettingsType type) const
{
    const ModelLayer *layer = find(type);
    return layer != nullptr && layer->isAvailable();
}

void Model::initStorage(SettingsType type, const QVariantMap &values)
{
    const auto layer = makeLayer(type, values);
    if (!layer)
        return;
    if (find(type))
        replaceLayer(type, layer);
    else
        addLayer(type, layer);
}

void Model::clearStorage(SettingsType type)
{
    const ModelLayer *layer = find(type);
    if (!layer) {
        m_logger->warning(u"Unable to remove storage "_s + nameOf(type)
                          + u". Storage does not exist"_s);
        return;
    }
    const std::vector<Key> keys = layer->keys();
    m_layers.erase(rankOf(type));
    m_logger->info(u"Storage: "_s + nameOf(type) + u" cleared"_s);
    for (const Key &key : keys)
        changed(type, key, QVariant());
}

bool Model::appendConfigurationHandler(IConfigurationChangeHandler *handler)
{
    for (const Registration &registration : m_registrations) {
        if (registration.handler == handler)
            return true;
    }
    m_registrations.push_back({handler, m_nextNumber++});
    return true;
}

bool Model::removeConfigurationHandler(IConfigurationChangeHandler *handler)
{
    for (auto registration = m_registrations.begin(); registration != m_registrations.end();
         ++registration) {
        if (registration->handler == handler) {
            m_registrations.erase(registration);
            return true;
        }
    }
    return false;
}

void Model::forbidWriting(const QString &prefix)
{
    m_unwritablePrefix = prefix;
}

void Model::replaceFile(const QString &fileName, const IniFile &file)
{
    const auto replacement = std::make_shared<ModelFile>();
    replacement->entries = file.entries;
    replacement->wellFormed = file.wellFormed;
    m_files[fileName] = replacement;
}

ModelLayer *Model::find(SettingsType type) const
{
    const auto layer = m_layers.find(rankOf(type));
    return layer != m_layers.end() ? layer->second.get() : nullptr;
}

ModelLayer *Model::top(const Key &key) const
{
    for (const auto &[rank, layer] : m_layers) {
        if (layer->contains(key))
            return layer.get();
    }
    return nullptr;
}

std::shared_ptr<ModelLayer> Model::makeLayer(SettingsType type, const QVariantMap &values)
{
    switch (type) {
    case SettingsType::CommandLineArgs:
    case SettingsType::Rdm:
    case SettingsType::FeatureKeys:
        return std::make_shared<FixedLayer>(values);
    case SettingsType::SystemProperties:
    case SettingsType::Runtime:
        return std::make_shared<MemoryLayer>();
    case SettingsType::CustomConfPersistent:
        return openFile(m_persistentStoragePath + u"custom.conf"_s);
    case SettingsType::SelviDb:
        return openFile(m_persistentStoragePath + u"selvi.db"_s);
    case SettingsType::RavonaConfDefault:
        return openFile(m_assetsPrefix + u"ravona.conf"_s);
    }
    return nullptr;
}

std::shared_ptr<ModelLayer> Model::openFile(const QString &fileName)
{
    if (!m_files[fileName])
        m_files[fileName] = std::make_shared<ModelFile>();
    const bool writable = m_unwritablePrefix.isEmpty() || !fileName.startsWith(m_unwritablePrefix);
    return std::make_shared<FileLayer>(fileName, writable, m_files[fileName]);
}

void Model::addLayer(SettingsType type, const std::shared_ptr<ModelLayer> &layer)
{
    m_layers[rankOf(type)] = layer;
    m_logger->info(u"Storage: "_s + nameOf(type) + u" initialized"_s);

    std::vector<Key> candidates;
    for (const Key &key : layer->keys()) {
        const bool overridden
                = std::any_of(m_layers.begin(), m_layers.find(rankOf(type)),
                              [&key](const auto &higher) { return higher.second->contains(key); });
        if (!overridden)
            candidates.push_back(key);
    }
    report(type, *layer, candidates);
}

void Model::replaceLayer(SettingsType type, const std::shared_ptr<ModelLayer> &layer)
{
    const std::shared_ptr<ModelLayer> old = m_layers.at(rankOf(type));
    const std::vector<Key> newKeys = layer->keys();
    const std::vector<Key> oldKeys = old->keys();

    std::vector<Key> removed;
    for (const Key &key : oldKeys) {
        if (!isAmong(key, newKeys))
            removed.push_back(key);
    }
    std::vector<Key> candidates; // also overridden ones, changed or not
    for (const Key &key : newKeys) {
        const bool unchanged = isAmong(key, oldKeys) && top(key) == old.get()
                && old->value(key) == layer->value(key);
        if (!unchanged)
            candidates.push_back(key);
    }

    m_layers[rankOf(type)] = layer;
    m_logger->info(u"Storage: "_s + nameOf(type) + u" reinitialized"_s);
    for (const Key &key : removed)
        changed(type, key, QVariant());
    report(type, *layer, candidates);
}

void Model::report(SettingsType type, const ModelLayer &layer, const std::vector<Key> &candidates)
{
    if (candidates.empty())
        return;
    if (candidates.size() == 1) {
        changed(type, candidates.front(), layer.value(candidates.front()));
        return;
    }
    QStringList parts;
    for (const Key &key : candidates) {
        const QString text = layer.value(key).toString();
        parts.append(key.first + u'/' + key.second + u" = '"_s + text + u'\'');
    }
    log(type, u"Top values changed: "_s + nameOf(type) + u": { "_s + parts.join(u", "_s) + u" }"_s);
    for (const Key &key : candidates)
        notify(type, key, layer.value(key));
}

// A layer holds another value for a key, or with an invalid value, none any more. Handlers get a
// copy: they may overwrite the caller's variable.
void Model::changed(SettingsType type, const Key &key, QVariant value)
{
    const auto top = std::find_if(m_layers.begin(), m_layers.end(), [&key](const auto &layer) {
        return layer.second->contains(key);
    });
    if (top == m_layers.end()) {
        log(type, u"Parameter removed from all storages: "_s + key.first + u':' + key.second);
        notify(type, key, value);
        return;
    }

    const std::size_t topRank = top->first;
    SettingsType visibleType = type;
    if (!value.isValid()) {
        if (topRank <= rankOf(type))
            return;
        visibleType = byRank.at(topRank);
        value = top->second->value(key).toString();
    } else if (topRank != rankOf(type)) {
        return;
    }
    log(type,
        u"Top value changed "_s + nameOf(visibleType) + u": "_s + key.first + u'/' + key.second
                + u" = '"_s + value.toString() + u'\'');
    notify(visibleType, key, value);
}

void Model::log(SettingsType type, const QString &message) const
{
    switch (type) {
    case SettingsType::Rdm:
    case SettingsType::SystemProperties:
        m_logger->info(message);
        break;
    case SettingsType::CommandLineArgs:
    case SettingsType::CustomConfPersistent:
    case SettingsType::Runtime:
    case SettingsType::SelviDb:
        m_logger->debug(message);
        break;
    case SettingsType::RavonaConfDefault:
    case SettingsType::FeatureKeys:
        break;
    }
}

// Those registered now, but none that is removed meanwhile.
void Model::notify(SettingsType type, const Key &key, const QVariant &value) const
{
    const std::vector<Registration> now = m_registrations;
    for (const Registration &registration : now) {
        if (isRegistered(registration.number))
            registration.handler->onValueChanged(type, key.first, key.second, value);
    }
}

bool Model::isRegistered(int number) const
{
    return std::any_of(
            m_registrations.begin(), m_registrations.end(),
            [number](const Registration &registration) { return registration.number == number; });
}

} // namespace tamsel::tests

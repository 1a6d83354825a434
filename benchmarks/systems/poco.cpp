// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "system.h"

#include <Poco/Delegate.h>
#include <Poco/Exception.h>
#include <Poco/Util/IniFileConfiguration.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <array>
#include <string>

using Poco::AutoPtr;
using Poco::Util::AbstractConfiguration;
using Poco::Util::IniFileConfiguration;
using Poco::Util::LayeredConfiguration;
using Poco::Util::MapConfiguration;

namespace tamsel::bench {

namespace {

std::string keyOf(const Setting &setting)
{
    const QString key = setting.group + u'.' + setting.key;
    return key.toStdString();
}

bool holds(const AbstractConfiguration &layer, const std::string &key, int number)
{
    try {
        return layer.getInt(key) == number;
    } catch (const Poco::SyntaxException &) { // a text
        return false;
    }
}

// Poco's LayeredConfiguration over maps and INI files. It is thread-safe. It cannot write INI files, so
// CustomConfPersistent is a map too and would have to be saved in another way.
class Layered final : public System
{
public:
    Layered();

    void setTargets(const Settings &targets) override;
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void load(const QString &prefix) override;
    int loadedSettings() const override;
    void unload() override { m_loaded = nullptr; }

    qint64 notifications() const override { return m_changes; }

private:
    void onChange(const AbstractConfiguration::KeyValue &) { ++m_changes; }

    const LayerFiles m_files;
    AutoPtr<LayeredConfiguration> m_configuration{new LayeredConfiguration};
    std::array<AutoPtr<AbstractConfiguration>, 8> m_layers; // by rank
    AutoPtr<IniFileConfiguration> m_loaded;
    qint64 m_changes = 0;
    std::vector<std::string> m_keys; // of the targets
    const QVariantList m_written = writtenValues();
    const std::string m_texts[firstNumber]{m_written.at(0).toString().toStdString(),
                                           m_written.at(1).toString().toStdString()};
    const std::string m_default;
};

Layered::Layered()
{
    for (const SettingsType type : storagePriority) {
        AutoPtr<AbstractConfiguration> layer;
        if (type == SettingsType::SelviDb || type == SettingsType::RavonaConfDefault) {
            layer = new IniFileConfiguration(m_files.path(type).toStdString());
        } else {
            layer = new MapConfiguration;
            for (const Setting &setting : contents(type))
                layer->setString(keyOf(setting), setting.text.toStdString());
        }
        layer->propertyChanged += Poco::delegate(this, &Layered::onChange);
        const int rank = priorityOf(type);
        m_configuration->add(layer, rank);
        m_layers[static_cast<std::size_t>(rank)] = layer;
    }
}

void Layered::setTargets(const Settings &targets)
{
    m_keys.clear();
    for (const Setting &target : targets)
        m_keys.push_back(keyOf(target));
}

int Layered::readAll() const
{
    int found = 0;
    for (const std::string &key : m_keys)
        found += !m_configuration->getString(key, m_default).empty();
    return found;
}

// Compares first, because Poco would notify an equal value too.
void Layered::writeAll(SettingsType type, int choice)
{
    AbstractConfiguration &layer = *m_layers[static_cast<std::size_t>(priorityOf(type))];
    if (choice < firstNumber) {
        const std::string &text = m_texts[choice];
        for (const std::string &key : m_keys) {
            if (layer.getString(key, m_default) != text)
                layer.setString(key, text);
        }
        return;
    }
    const int number = m_written.at(choice).toInt();
    for (const std::string &key : m_keys) {
        if (!holds(layer, key, number))
            layer.setInt(key, number);
    }
}

QString Layered::read(const Setting &setting) const
{
    return QString::fromStdString(m_configuration->getString(keyOf(setting), m_default));
}

void Layered::load(const QString &prefix)
{
    const QString path = prefix + fileName(SettingsType::RavonaConfDefault);
    m_loaded = new IniFileConfiguration(path.toStdString());
}

// Each call of keys() searches the whole file.
int Layered::loadedSettings() const
{
    AbstractConfiguration::Keys groups;
    m_loaded->keys(groups);
    std::size_t count = 0;
    for (const std::string &group : groups) {
        AbstractConfiguration::Keys keys;
        m_loaded->keys(group, keys);
        count += keys.size();
    }
    return static_cast<int>(count);
}

} // namespace

SystemInfo pocoInfo()
{
    return {"poco",
            "Poco",
            false,
            {"R1", "R2", "R3", "R4-top", "R4-bottom", "W1", "W1-int", "W2", "W3", "I1"},
            [] { return std::unique_ptr<System>(std::make_unique<Layered>()); }};
}

} // namespace tamsel::bench

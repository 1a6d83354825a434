// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QSettings>

namespace tamsel::bench {

namespace {

// The simplest code without a library: one QSettings per layer; the first that holds the key has the value.
class EightQSettings final : public System
{
public:
    EightQSettings();

    void setTargets(const Settings &targets) override { m_targets = targets; }
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void load(const QString &prefix) override;
    int loadedSettings() const override { return m_loadedSettings; }
    void unload() override { m_loaded.reset(); }

    qint64 notifications() const override { return m_handler.calls; }

private:
    QVariant value(const QString &group, const QString &key) const;
    void setValue(const QString &group, const QString &key, const QVariant &value,
                  SettingsType type);

    const LayerFiles m_files;
    std::vector<std::unique_ptr<QSettings>> m_layers; // by rank
    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_loaded;
    int m_loadedSettings = 0;
    CountingHandler m_handler;
    Settings m_targets;
    const QVariantList m_written = writtenValues();
};

EightQSettings::EightQSettings()
{
    for (const SettingsType type : storagePriority)
        m_layers.push_back(std::make_unique<QSettings>(m_files.path(type), QSettings::IniFormat));
}

QVariant EightQSettings::value(const QString &group, const QString &key) const
{
    const QString fullKey = group + u'/' + key;
    const QMutexLocker locker(&m_mutex);
    for (const auto &layer : m_layers) {
        if (layer->contains(fullKey))
            return layer->value(fullKey);
    }
    return {};
}

void EightQSettings::setValue(const QString &group, const QString &key, const QVariant &value,
                              SettingsType type)
{
    const QString fullKey = group + u'/' + key;
    {
        const QMutexLocker locker(&m_mutex);
        const auto rank = static_cast<std::size_t>(priorityOf(type));
        if (m_layers[rank]->value(fullKey) == value)
            return;
        m_layers[rank]->setValue(fullKey, value);
        for (std::size_t i = 0; i < rank; ++i) {
            if (m_layers[i]->contains(fullKey))
                return;
        }
    }
    m_handler.onValueChanged(type, group, key, value);
}

int EightQSettings::readAll() const
{
    int found = 0;
    for (const Setting &target : m_targets)
        found += value(target.group, target.key).isValid();
    return found;
}

void EightQSettings::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    for (const Setting &target : std::as_const(m_targets))
        setValue(target.group, target.key, value, type);
}

QString EightQSettings::read(const Setting &setting) const
{
    return value(setting.group, setting.key).toString();
}

// Splits the keys, so that each setting can be notified.
void EightQSettings::load(const QString &prefix)
{
    m_loaded = std::make_unique<QSettings>(prefix + fileName(SettingsType::RavonaConfDefault),
                                           QSettings::IniFormat);
    const QStringList fullKeys = m_loaded->allKeys();
    for (const QString &fullKey : fullKeys) {
        const QStringList parts = fullKey.split(u'/');
        m_handler.onValueChanged(SettingsType::RavonaConfDefault, parts.first(), parts.last(),
                                 m_loaded->value(fullKey));
    }
    m_loadedSettings = static_cast<int>(fullKeys.size());
}

} // namespace

SystemInfo eightQSettingsInfo()
{
    return {"eightqsettings",
            "eight QSettings",
            false,
            {"R1", "R2", "R3", "R4-top", "R4-bottom", "W1", "W1-int", "W2", "W3", "I1"},
            [] { return std::unique_ptr<System>(std::make_unique<EightQSettings>()); }};
}

} // namespace tamsel::bench

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <QtCore/QSettings>

namespace tamsel::bench {

namespace {

// The least that settings in files can cost: the calls of QSettings that three file layers need,
// with full keys built in advance. QSettings parses a section when it is first needed. It looks for
// unparsed sections in each call until its keys are listed, so they are listed here, as the library
// does.
class BareQSettings final : public System
{
public:
    BareQSettings();

    void setTargets(const Settings &targets) override;
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void load(const QString &prefix) override;
    int loadedSettings() const override { return m_loadedSettings; }
    void unload() override { m_loaded.reset(); }

    qint64 notifications() const override { return m_counter.calls; }

private:
    QVariant value(const QString &fullKey) const;
    bool store(const QString &fullKey, const QVariant &value);

    const LayerFiles m_files;
    QSettings m_custom{m_files.path(SettingsType::CustomConfPersistent), QSettings::IniFormat};
    QSettings m_database{m_files.path(SettingsType::SelviDb), QSettings::IniFormat};
    QSettings m_defaults{m_files.path(SettingsType::RavonaConfDefault), QSettings::IniFormat};
    const QSettings *const m_layers[3]{&m_custom, &m_database, &m_defaults};
    std::unique_ptr<QSettings> m_loaded;
    int m_loadedSettings = 0;
    CountingHandler m_counter;
    IConfigurationChangeHandler *volatile m_handler = &m_counter; // keeps the calls virtual
    Settings m_targets;
    QStringList m_fullKeys; // of the targets
    const QVariantList m_written = writtenValues();
};

QString fullKeyOf(const Setting &setting)
{
    return setting.group + u'/' + setting.key;
}

BareQSettings::BareQSettings()
{
    for (const QSettings *layer : m_layers) {
        if (layer->allKeys().isEmpty())
            qFatal("%s holds nothing", qUtf8Printable(layer->fileName()));
    }
}

void BareQSettings::setTargets(const Settings &targets)
{
    m_targets = targets;
    m_fullKeys.clear();
    for (const Setting &target : targets)
        m_fullKeys.append(fullKeyOf(target));
}

// R2, R3: one value() for each layer until one holds the key.
QVariant BareQSettings::value(const QString &fullKey) const
{
    for (const QSettings *layer : m_layers) {
        QVariant found = layer->value(fullKey);
        if (found.isValid())
            return found;
    }
    return {};
}

// W3: checks that the file is writable and the value differs, writes it, looks up the key.
bool BareQSettings::store(const QString &fullKey, const QVariant &value)
{
    if (!m_custom.isWritable() || m_custom.value(fullKey) == value)
        return false;
    m_custom.setValue(fullKey, value);
    return m_custom.contains(fullKey);
}

int BareQSettings::readAll() const
{
    int found = 0;
    for (const QString &fullKey : m_fullKeys)
        found += value(fullKey).isValid();
    return found;
}

void BareQSettings::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    for (qsizetype i = 0; i < m_targets.size(); ++i) {
        if (store(m_fullKeys.at(i), value))
            m_handler->onValueChanged(type, m_targets.at(i).group, m_targets.at(i).key, value);
    }
}

QString BareQSettings::read(const Setting &setting) const
{
    return value(fullKeyOf(setting)).toString();
}

// I1: loads, lists the keys, and then looks up each value and notifies the handler.
void BareQSettings::load(const QString &prefix)
{
    m_loaded = std::make_unique<QSettings>(prefix + fileName(SettingsType::RavonaConfDefault),
                                           QSettings::IniFormat);
    const QStringList fullKeys = m_loaded->allKeys();
    QString group; // shared by consecutive keys of a group
    for (const QString &fullKey : fullKeys) {
        const qsizetype slash = fullKey.indexOf(u'/');
        if (group != QStringView(fullKey).left(slash))
            group = fullKey.left(slash);
        m_handler->onValueChanged(SettingsType::RavonaConfDefault, group, fullKey.mid(slash + 1),
                                  m_loaded->value(fullKey));
    }
    m_loadedSettings = static_cast<int>(fullKeys.size());
}

} // namespace

SystemInfo bareQSettingsInfo()
{
    return {"bareqsettings", "bare QSettings", true, {"R2", "R3", "R4-bottom", "W3", "I1"}, [] {
                return std::unique_ptr<System>(std::make_unique<BareQSettings>());
            }};
}

} // namespace tamsel::bench

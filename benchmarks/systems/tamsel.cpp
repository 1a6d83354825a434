// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <tamsel/configurationmanager.h>

namespace tamsel::bench {

namespace {

class Tamsel final : public System
{
public:
    Tamsel();

    void setTargets(const Settings &targets) override { m_targets = targets; }
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void registerLayer(const QVariantMap &map) override;
    void replaceLayer(const QVariantMap &map, const QVariantMap &previous) override;
    void clearLayer(const QVariantMap &map) override;

    void load(const QString &prefix) override;
    void removeHandler() override;
    int loadedSettings() const override;
    void unload() override;

    qint64 notifications() const override { return m_handler.calls; }

private:
    const LayerFiles m_files;
    CountingLogger m_logger;
    CountingHandler m_handler;
    ConfigurationManager m_manager{&m_logger};
    std::unique_ptr<ConfigurationManager> m_loader; // has no layer before load()
    int m_loadedSettings = 0;
    bool m_isSilent = false; // load() has no handler
    Settings m_targets;
    const QVariant m_default;
    const QVariantList m_written = writtenValues();
};

Tamsel::Tamsel()
{
    m_manager.setPersistentStoragePath(m_files.prefix());
    m_manager.setAssetsPrefix(m_files.prefix());
    for (const SettingsType type : storagePriority) {
        const Settings settings = contents(type);
        m_manager.initStorage(type, toMap(settings));
        if (type == SettingsType::Runtime || type == SettingsType::SystemProperties) {
            for (const auto &[group, key, text] : settings)
                m_manager.setValue(group, key, text, type);
        }
    }
    m_manager.appendConfigurationHandler(&m_handler);
    unload();
}

int Tamsel::readAll() const
{
    int found = 0;
    for (const Setting &target : m_targets)
        found += m_manager.value(target.group, target.key, m_default).isValid();
    return found;
}

void Tamsel::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    for (const Setting &target : std::as_const(m_targets))
        m_manager.setValue(target.group, target.key, value, type);
}

QString Tamsel::read(const Setting &setting) const
{
    return m_manager.value(setting.group, setting.key).toString();
}

void Tamsel::registerLayer(const QVariantMap &map)
{
    m_manager.initStorage(SettingsType::Rdm, map);
}

void Tamsel::replaceLayer(const QVariantMap &map, const QVariantMap &)
{
    m_manager.initStorage(SettingsType::Rdm, map);
}

void Tamsel::clearLayer(const QVariantMap &)
{
    m_manager.clearStorage(SettingsType::Rdm);
}

void Tamsel::load(const QString &prefix)
{
    const qint64 before = m_handler.calls;
    m_loader->setAssetsPrefix(prefix);
    m_loader->initStorage(SettingsType::RavonaConfDefault);
    m_loadedSettings = static_cast<int>(m_handler.calls - before);
}

void Tamsel::removeHandler()
{
    m_isSilent = m_loader->removeConfigurationHandler(&m_handler);
}

int Tamsel::loadedSettings() const
{
    if (!m_isSilent)
        return m_loadedSettings;
    CountingHandler handler;
    m_loader->appendConfigurationHandler(&handler);
    m_loader->clearStorage(SettingsType::RavonaConfDefault);
    return static_cast<int>(handler.calls);
}

void Tamsel::unload()
{
    m_isSilent = false;
    m_loader = std::make_unique<ConfigurationManager>(&m_logger);
    m_loader->appendConfigurationHandler(&m_handler);
}

} // namespace

SystemInfo tamselInfo()
{
    return {"tamsel",
            "libtamsel",
            false,
            {"R1", "R2", "R3", "R4-top", "R4-bottom", "W1", "W1-int", "W2", "W3", "L1", "L2", "L3",
             "I1", "I1-silent"},
            [] { return std::unique_ptr<System>(std::make_unique<Tamsel>()); }};
}

} // namespace tamsel::bench

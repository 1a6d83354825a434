// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settingscatalogue.h"

#include <tamsel/configurationmanager.h>

#include <iterator>

using tamsel::SettingsType;

SettingsCatalogue::SettingsCatalogue(tamsel::ConfigurationManager *settings) : m_settings(settings)
{
    m_settings->appendConfigurationHandler(this);
}

SettingsCatalogue::~SettingsCatalogue()
{
    m_settings->removeConfigurationHandler(this);
}

void SettingsCatalogue::onValueChanged(SettingsType type, const QString &group, const QString &key,
                                       const QVariant &value)
{
    // Only the pair counts: who answers, and with what, is asked for when somebody wants to know.
    Q_UNUSED(type)
    Q_UNUSED(value)
    remember(group, key);
}

// Layers tell their pairs in order: most stand right behind the one before, and are not searched.
void SettingsCatalogue::remember(const QString &group, const QString &key)
{
    m_next = std::next(m_pairs.insert(m_next, {group, key}));
}

QList<EffectiveSetting> SettingsCatalogue::settings() const
{
    QList<EffectiveSetting> result;
    for (const auto &[group, key] : m_pairs) {
        QList<SettingsType> layers = layersHolding(group, key);
        if (layers.isEmpty())
            continue;
        const SettingsType top = layers.takeFirst();
        result.append({group, key, m_settings->value(group, key), top, layers});
    }
    return result;
}

// Highest precedence first.
QList<SettingsType> SettingsCatalogue::layersHolding(const QString &group, const QString &key) const
{
    QList<SettingsType> result;
    for (const SettingsType layer : tamsel::storagePriority) {
        if (m_settings->contains(group, key, layer))
            result.append(layer);
    }
    return result;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTINGSCATALOGUE_H
#define SETTINGSCATALOGUE_H

#include <tamsel/iconfigurationchangehandler.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <set>
#include <utility>

namespace tamsel {
class ConfigurationManager;
}

// A setting as readers see it, and where it comes from.
struct EffectiveSetting
{
    QString group;
    QString key;
    QVariant value;
    tamsel::SettingsType layer; // the one that answers
    QList<tamsel::SettingsType> hidden; // the lower ones that hold it too, highest first
};

// Knows all settings there are, although the manager lists none: it remembers each group
// and key that it is notified of.
//
// Make it before the first layer. A pair is then heard of once some layer brings it, if not for
// this layer, then for the higher one that hides it. What escapes it: a pair that comes alone,
// written or as the only news of a layer, with an invalid value; remember() takes it from who knows
// better.
//
// It has no lock and runs on the thread that changes the setting: for programs with one thread.
class SettingsCatalogue final : public tamsel::IConfigurationChangeHandler
{
public:
    using Pairs = std::set<std::pair<QString, QString>>;

    // settings is borrowed and outlives the catalogue.
    explicit SettingsCatalogue(tamsel::ConfigurationManager *settings);
    ~SettingsCatalogue() override;

    void onValueChanged(tamsel::SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;

    // Knows of the pair from now on.
    void remember(const QString &group, const QString &key);

    // All pairs ever heard of, by group and key, those that no layer can be asked for included.
    const Pairs &pairs() const { return m_pairs; }

    // What holds now, by group and key. Pairs that no layer holds any more are not among it.
    QList<EffectiveSetting> settings() const;

private:
    Q_DISABLE_COPY_MOVE(SettingsCatalogue)

    QList<tamsel::SettingsType> layersHolding(const QString &group, const QString &key) const;

    tamsel::ConfigurationManager *const m_settings;
    Pairs m_pairs; // grows only
    Pairs::const_iterator m_next = m_pairs.cend(); // where the next pair is expected
};

#endif // SETTINGSCATALOGUE_H

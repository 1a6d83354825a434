// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <KConfig>
#include <KConfigGroup>

namespace tamsel::bench {

namespace {

// KConfig over eight files. It merges the layers once, when it loads them, and writes only to the top
// one, which is therefore both Runtime and CustomConfPersistent.
class Merged final : public System
{
public:
    Merged();

    void setTargets(const Settings &targets) override { m_targets = targets; }
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void load(const QString &prefix) override;
    int loadedSettings() const override;
    void unload() override { m_loaded.reset(); }

    qint64 notifications() const override { return m_handler.calls; }

private:
    QString value(const QString &group, const QString &key) const;
    template <typename T> bool store(const QString &group, const QString &key, const T &value);
    template <typename T>
    void writeEach(SettingsType type, const T &value, const QVariant &reported);

    const LayerFiles m_files;
    mutable QMutex m_mutex;
    KConfig m_config{m_files.path(SettingsType::Runtime), KConfig::NoGlobals}; // alone if simple
    std::unique_ptr<KConfig> m_loaded;
    CountingHandler m_handler;
    Settings m_targets;
    const QVariantList m_written = writtenValues();
};

Merged::Merged()
{
    QStringList lower;
    for (const SettingsType type : storagePriority) {
        if (type != SettingsType::Runtime)
            lower.prepend(m_files.path(type));
    }
    m_config.addConfigSources(lower); // the last one has the highest precedence
}

QString Merged::value(const QString &group, const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    return m_config.group(group).readEntry(key, QString());
}

template <typename T> bool Merged::store(const QString &group, const QString &key, const T &value)
{
    const QMutexLocker locker(&m_mutex);
    KConfigGroup entries = m_config.group(group);
    if (entries.readEntry(key, T()) == value)
        return false;
    entries.writeEntry(key, value);
    return true;
}

int Merged::readAll() const
{
    int found = 0;
    for (const Setting &target : m_targets)
        found += !value(target.group, target.key).isEmpty();
    return found;
}

template <typename T>
void Merged::writeEach(SettingsType type, const T &value, const QVariant &reported)
{
    for (const Setting &target : std::as_const(m_targets)) {
        if (store(target.group, target.key, value))
            m_handler.onValueChanged(type, target.group, target.key, reported);
    }
}

void Merged::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    if (choice < firstNumber)
        writeEach(type, value.toString(), value);
    else
        writeEach(type, value.toInt(), value);
}

QString Merged::read(const Setting &setting) const
{
    return value(setting.group, setting.key);
}

void Merged::load(const QString &prefix)
{
    m_loaded = std::make_unique<KConfig>(prefix + fileName(SettingsType::RavonaConfDefault),
                                         KConfig::SimpleConfig);
}

int Merged::loadedSettings() const
{
    qsizetype count = 0;
    const QStringList groups = m_loaded->groupList();
    for (const QString &group : groups)
        count += m_loaded->group(group).keyList().size();
    return static_cast<int>(count);
}

} // namespace

SystemInfo kconfigInfo()
{
    return {"kconfig",
            "KConfig",
            false,
            {"R1", "R2", "R3", "R4-top", "R4-bottom", "W1", "W1-int", "W2", "W3", "I1"},
            [] { return std::unique_ptr<System>(std::make_unique<Merged>()); }};
}

} // namespace tamsel::bench

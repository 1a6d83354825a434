// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/settingscatalogue.h>

#include <tamsel/configurationmanager.h>

#include <QtCore/QHash>
#include <QtCore/QMutex>

#include <algorithm>
#include <vector>

namespace tamsel::host {

namespace {

// A SettingChange without its number, and with a time that costs nothing to take.
struct RecordedChange
{
    qint64 time = 0; // in milliseconds since 1970
    SettingsType type = SettingsType::CommandLineArgs;
    QString group;
    QString key;
    QVariant value;
};

} // namespace

class SettingsCataloguePrivate
{
public:
    ConfigurationManager *settings = nullptr;
    std::size_t changesKept = 0;
    mutable QMutex mutex;
    QHash<std::pair<QString, QString>, quint64> changeCounts; // guarded by mutex
    std::vector<RecordedChange> ring; // guarded by mutex; number n is at (n - 1) % changesKept
    quint64 changeCount = 0; // guarded by mutex
};

SettingsCatalogue::SettingsCatalogue(ConfigurationManager *settings, int changesKept)
    : d(std::make_unique<SettingsCataloguePrivate>())
{
    d->settings = settings;
    d->changesKept = static_cast<std::size_t>(std::max(changesKept, 0));
    settings->appendConfigurationHandler(this);
}

SettingsCatalogue::~SettingsCatalogue()
{
    d->settings->removeConfigurationHandler(this);
}

void SettingsCatalogue::onValueChanged(SettingsType type, const QString &group, const QString &key,
                                       const QVariant &value)
{
    RecordedChange change{QDateTime::currentMSecsSinceEpoch(), type, group, key, value};
    const QMutexLocker locker(&d->mutex);
    ++d->changeCounts[{group, key}];
    const quint64 index = d->changeCount++;
    if (d->ring.size() < d->changesKept)
        d->ring.push_back(std::move(change));
    else if (d->changesKept > 0)
        // What was here before is destroyed with `change`, when the lock is free.
        std::swap(d->ring[static_cast<std::size_t>(index % d->changesKept)], change);
}

void SettingsCatalogue::remember(const QString &group, const QString &key)
{
    const QMutexLocker locker(&d->mutex);
    if (const std::pair name(group, key); !d->changeCounts.contains(name))
        d->changeCounts.insert(name, 0);
}

QList<std::pair<QString, QString>> SettingsCatalogue::keys() const
{
    QList<std::pair<QString, QString>> result;
    {
        const QMutexLocker locker(&d->mutex);
        result = d->changeCounts.keys();
    }
    std::sort(result.begin(), result.end());
    return result;
}

quint64 SettingsCatalogue::changeCount(const QString &group, const QString &key) const
{
    const QMutexLocker locker(&d->mutex);
    return d->changeCounts.value({group, key});
}

quint64 SettingsCatalogue::changeCount() const
{
    const QMutexLocker locker(&d->mutex);
    return d->changeCount;
}

QList<SettingChange> SettingsCatalogue::lastChanges() const
{
    std::vector<RecordedChange> changes;
    quint64 count = 0;
    {
        const QMutexLocker locker(&d->mutex);
        changes = d->ring;
        count = d->changeCount;
    }
    QList<SettingChange> result;
    result.reserve(static_cast<qsizetype>(changes.size()));
    for (quint64 i = count - changes.size(); i < count; ++i) {
        const RecordedChange &change = changes[static_cast<std::size_t>(i % d->changesKept)];
        result.append({i + 1, QDateTime::fromMSecsSinceEpoch(change.time).toUTC(), change.type,
                       change.group, change.key, change.value});
    }
    return result;
}

} // namespace tamsel::host

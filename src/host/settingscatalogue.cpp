// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/settingscatalogue.h>

#include <tamsel/configurationmanager.h>

#include "keyhash.h"

#include <QtCore/QMutex>

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <vector>

namespace tamsel::host {

class SettingsCataloguePrivate
{
public:
    // A SettingChange without its number, and with a time that costs nothing to take.
    struct RecordedChange
    {
        qint64 time = 0; // in milliseconds since 1970
        SettingsType type = SettingsType::CommandLineArgs;
        QString group;
        QString key;
        QVariant value;
    };

    ConfigurationManager *settings = nullptr;
    std::size_t changesKept = 0;
    mutable QMutex mutex;
    std::unordered_map<Key, quint64, KeyHash> changeCounts; // guarded by mutex
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
    SettingsCataloguePrivate::RecordedChange change{QDateTime::currentMSecsSinceEpoch(), type,
                                                    group, key, value};
    const QMutexLocker locker(&d->mutex);
    ++d->changeCounts[{group, key}];
    if (d->ring.size() < d->changesKept)
        d->ring.push_back(std::move(change));
    else if (d->changesKept > 0)
        // What was here before is destroyed with `change`, when the lock is free.
        std::swap(d->ring[static_cast<std::size_t>(d->changeCount % d->changesKept)], change);
    ++d->changeCount; // only once it is in the ring: push_back() may run out of memory
}

void SettingsCatalogue::remember(const QString &group, const QString &key)
{
    const QMutexLocker locker(&d->mutex);
    d->changeCounts[{group, key}]; // 0, if it was not known
}

QList<std::pair<QString, QString>> SettingsCatalogue::keys() const
{
    std::vector<Key> result;
    {
        const QMutexLocker locker(&d->mutex);
        result.resize(d->changeCounts.size());
        std::transform(d->changeCounts.cbegin(), d->changeCounts.cend(), result.begin(),
                       [](const auto &entry) { return entry.first; });
    }
    // Intentional: std::sort() takes 1800 bytes more on MIPS32.
    std::make_heap(result.begin(), result.end());
    std::sort_heap(result.begin(), result.end());
    return {result.cbegin(), result.cend()};
}

quint64 SettingsCatalogue::changeCount(const QString &group, const QString &key) const
{
    const QMutexLocker locker(&d->mutex);
    const auto entry = d->changeCounts.find({group, key});
    return entry == d->changeCounts.cend() ? 0 : entry->second;
}

quint64 SettingsCatalogue::changeCount() const
{
    const QMutexLocker locker(&d->mutex);
    return d->changeCount;
}

QList<SettingChange> SettingsCatalogue::lastChanges() const
{
    std::vector<SettingsCataloguePrivate::RecordedChange> changes;
    quint64 count = 0;
    {
        const QMutexLocker locker(&d->mutex);
        changes = d->ring;
        count = d->changeCount;
    }
    std::vector<SettingChange> result(changes.size());
    quint64 index = count - changes.size();
    for (SettingChange &shown : result) {
        const auto &change = changes[static_cast<std::size_t>(index % d->changesKept)];
        shown.number = ++index;
        shown.time = QDateTime::fromMSecsSinceEpoch(change.time).toUTC();
        shown.type = change.type;
        shown.group = change.group;
        shown.key = change.key;
        shown.value = change.value;
    }
    return {result.cbegin(), result.cend()};
}

} // namespace tamsel::host

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Creates, replaces and removes layers, and works out which values readers see change by it.

#include "configurationmanager_p.h"

#include "../core/spinlocker.h"
#include "../storage/dynamicmapstorage.h"
#include "../storage/qtsettingsinistorage.h"
#include "../storage/staticmapreader.h"

#include <tamsel/ilogger.h>

#include <QtCore/QStringBuilder>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

/*!
 * Tells which pairs are in a list. Pairs are best asked for in the order of the list: two layers of
 * a type list their keys in the same order, and then nothing needs to be searched.
 */
class KeyLookup
{
public:
    explicit KeyLookup(const KeyList &keys) : m_keys(keys), m_next(m_keys.cbegin()) { }

    bool contains(const KeyList::value_type &pair)
    {
        if (m_next == m_keys.cend() || *m_next != pair) {
            sort();
            m_next = std::lower_bound(m_keys.cbegin(), m_keys.cend(), pair);
            if (m_next == m_keys.cend() || *m_next != pair)
                return false;
        }
        ++m_next;
        return true;
    }

private:
    Q_DISABLE_COPY_MOVE(KeyLookup)

    void sort()
    {
        if (m_isSorted)
            return;
        if (!std::is_sorted(m_keys.cbegin(), m_keys.cend())) {
            // Appended one by one: a QList that detaches does not notice that memory runs out.
            KeyList sorted;
            sorted.reserve(m_keys.size());
            std::copy(m_keys.cbegin(), m_keys.cend(), std::back_inserter(sorted));
            std::sort(sorted.begin(), sorted.end());
            m_keys = std::move(sorted);
        }
        m_isSorted = true;
    }

    KeyList m_keys;
    KeyList::const_iterator m_next;
    bool m_isSorted = false; // found out when a search is needed
};

/*! \a keys without those in \a others; order and duplicates are kept. */
KeyList without(const KeyList &keys, const KeyList &others)
{
    KeyLookup dropped(others);
    KeyList result;
    for (const auto &pair : keys) {
        if (!dropped.contains(pair))
            result.append(pair);
    }
    return result;
}

/*!
 * A new layer. QSharedPointer::create() cannot be left by an exception: where memory runs out, it
 * destroys what it has not made yet.
 */
template <typename Storage, typename... Arguments>
QSharedPointer<AbstractStorage> makeStorage(Arguments &&...arguments)
{
    auto storage = std::make_unique<Storage>(std::forward<Arguments>(arguments)...);
    QSharedPointer<AbstractStorage> shared(storage.get());
    static_cast<void>(storage.release());
    return shared;
}

} // namespace

void ConfigurationManagerPrivate::initStorage(SettingsType type, const QVariantMap &values)
{
    switch (type) {
    case SettingsType::CommandLineArgs:
    case SettingsType::Rdm:
    case SettingsType::FeatureKeys:
        registerStorage(makeStorage<StaticMapReader>(type, this, logger, values));
        break;
    case SettingsType::SystemProperties:
    case SettingsType::Runtime:
        registerStorage(makeStorage<DynamicMapStorage>(type, this, logger));
        break;
    case SettingsType::CustomConfPersistent:
        registerStorage(makeStorage<QtSettingsIniStorage>(
                type, this, logger, persistentStoragePath + "custom.conf"_L1));
        break;
    case SettingsType::SelviDb:
        registerStorage(makeStorage<QtSettingsIniStorage>(type, this, logger,
                                                          persistentStoragePath + "selvi.db"_L1));
        break;
    case SettingsType::RavonaConfDefault:
        registerStorage(makeStorage<QtSettingsIniStorage>(type, this, logger,
                                                          assetsPrefix + "ravona.conf"_L1));
        break;
    }
}

/*! Inserts a newly made layer at its rank, or puts it in the place of the one of its type. */
void ConfigurationManagerPrivate::registerStorage(const QSharedPointer<AbstractStorage> &storage)
{
    if (const auto previous = sharedStorage(storage->type()))
        replaceStorage(previous, storage);
    else
        insertStorage(storage);
}

void ConfigurationManagerPrivate::clearStorage(SettingsType type)
{
    QSharedPointer<AbstractStorage> storage = sharedStorage(type);
    if (!storage) {
        logger->warning("Unable to remove storage "_L1 % typeName(type)
                        % ". Storage does not exist"_L1);
        return;
    }
    const KeyList keys = storage->keys();
    {
        const SpinLocker locker(&mutex);
        storages.removeIf([type](const auto &other) { return other->type() == type; });
    }
    storage.reset(); // dies with the lock free: a file layer writes its file now
    logger->info("Storage: "_L1 % typeName(type) % " cleared"_L1);
    for (const auto &[group, key] : keys)
        onValueChanged(type, group, key, QVariant());
}

void ConfigurationManagerPrivate::insertStorage(const QSharedPointer<AbstractStorage> &storage)
{
    const SettingsType type = storage->type();
    KeyList candidates = storage->keys();
    placeStorage(storage);
    logger->info("Storage: "_L1 % typeName(type) % " initialized"_L1);

    candidates.removeIf(
            [this, type](const auto &pair) { return isHidden(pair.first, pair.second, type); });
    reportCandidates(*storage, candidates);
}

/*!
 * Keys that a higher layer hides stay candidates here, unlike in insertStorage(): among two or more
 * they are reported, a single one is dropped by onValueChanged(). Kept as it is.
 */
void ConfigurationManagerPrivate::replaceStorage(const QSharedPointer<AbstractStorage> &previous,
                                                 const QSharedPointer<AbstractStorage> &storage)
{
    const SettingsType type = storage->type();
    KeyList candidates = storage->keys();
    const KeyList previousKeys = previous->keys();
    const KeyList removed = without(previousKeys, candidates);
    // Asked while the previous layer is in place: does it answer, and does the new one agree?
    KeyLookup previouslyHeld(previousKeys);
    candidates.removeIf([&](const auto &pair) {
        if (!previouslyHeld.contains(pair))
            return false;
        const auto &[group, key] = pair;
        return isOrigin(type, group, key)
                && previous->value(group, key) == storage->value(group, key);
    });

    placeStorage(storage);
    logger->info("Storage: "_L1 % typeName(type) % " reinitialized"_L1);
    for (const auto &[group, key] : removed)
        onValueChanged(type, group, key, QVariant());
    reportCandidates(*storage, candidates);
}

/*! The layer \a type with a reference counted, or null. */
QSharedPointer<AbstractStorage> ConfigurationManagerPrivate::sharedStorage(SettingsType type) const
{
    const SpinLocker locker(&mutex);
    return storages.value(indexOfStorage(type));
}

/*! Puts \a storage in the place of the layer of its type, or at its rank where there is none. */
void ConfigurationManagerPrivate::placeStorage(const QSharedPointer<AbstractStorage> &storage)
{
    const SettingsType type = storage->type();
    const auto isItsPlace = [type, rank = priorityOf(type)](const auto &other) {
        return other->type() == type || rank < priorityOf(other->type());
    };
    const SpinLocker locker(&mutex);
    const auto place = std::find_if(storages.cbegin(), storages.cend(), isItsPlace);
    if (place != storages.cend() && (*place)->type() == type)
        storages.replace(std::distance(storages.cbegin(), place), storage);
    else
        storages.insert(place, storage);
}

/*! Tells of the pairs of a newly placed layer that may have changed what readers see. */
void ConfigurationManagerPrivate::reportCandidates(const AbstractStorage &storage,
                                                   const KeyList &candidates)
{
    const SettingsType type = storage.type();
    if (candidates.size() == 1) {
        const auto &[group, key] = candidates.first();
        onValueChanged(type, group, key, storage.value(group, key));
        return;
    }
    if (candidates.size() > 1 && isLogged(type))
        logCandidates(storage, candidates);
    for (const auto &[group, key] : candidates)
        notifyHandlers(type, group, key, storage.value(group, key));
}

void ConfigurationManagerPrivate::logCandidates(const AbstractStorage &storage,
                                                const KeyList &candidates) const
{
    QString line = "Top values changed: "_L1 % typeName(storage.type()) % ": {"_L1;
    for (const auto &[group, key] : candidates)
        line += u' ' % group % u'/' % key % u" = '" % storage.value(group, key).toString() % u"',";
    line.chop(1); // the comma behind the last value
    line += " }"_L1;
    logForType(storage.type(), line);
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Creates, replaces and removes layers, and finds out which effective values this changes.

#include "configurationmanager_p.h"

#include "../core/spinlocker.h"
#include "../storage/ownstorages.h"

#include <tamsel/ilogger.h>

#include <QtCore/QStringBuilder>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <typeinfo>
#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

// A position in a list of keys. Two layers of a type list their keys in the same order, so the wanted
// key is usually the next one. Otherwise the list is sorted, once, and searched.
class KeyCursor
{
public:
    explicit KeyCursor(const KeyList &keys) : m_keys(keys), m_next(m_keys.cbegin()) { }

    // The key in the list that equals `key`, or null. The cursor moves to the one after it.
    const KeyList::value_type *moveBehind(const KeyList::value_type &key)
    {
        if (!isNext(key)) {
            sort();
            m_next = std::lower_bound(m_keys.cbegin(), m_keys.cend(), key);
            if (!isNext(key))
                return nullptr;
        }
        return &*m_next++;
    }

private:
    Q_DISABLE_COPY_MOVE(KeyCursor)

    bool isNext(const KeyList::value_type &key) const
    {
        return m_next != m_keys.cend() && *m_next == key;
    }

    void sort()
    {
        if (m_isSorted)
            return;
        if (!std::is_sorted(m_keys.cbegin(), m_keys.cend())) {
            // Not by detaching: a QList that detaches does not check whether memory ran out.
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
    bool m_isSorted = false; // checked when the first search is needed
};

// `keys` without those in `others`; order and duplicates stay.
KeyList without(const KeyList &keys, const KeyList &others)
{
    KeyCursor dropped(others);
    KeyList result;
    for (const auto &key : keys) {
        if (!dropped.moveBehind(key))
            result.append(key);
    }
    return result;
}

// Reads the values of a layer; fastest in the order of its keys. Borrows the layer.
class ValueReader
{
public:
    explicit ValueReader(const AbstractStorage &storage) : m_storage(storage)
    {
        if (typeid(storage) == typeid(StaticMapReader))
            // NOLINTNEXTLINE(*-static-cast-downcast)
            m_cursor.emplace(static_cast<const StaticMapReader &>(storage));
    }

    // The value in a fixed map, without a copy; null if the layer is not one or find() finds nothing.
    const QVariant *inPlace(const KeyList::value_type &key)
    {
        return m_cursor ? m_cursor->find(key.first, key.second) : nullptr;
    }

    // Valid until the next call.
    const QVariant &value(const KeyList::value_type &key)
    {
        if (const QVariant *found = inPlace(key))
            return *found;
        m_fetched = m_storage.value(key.first, key.second);
        return m_fetched;
    }

private:
    Q_DISABLE_COPY_MOVE(ValueReader)

    const AbstractStorage &m_storage;
    std::optional<StaticMapReader::Cursor> m_cursor;
    QVariant m_fetched;
};

QString topValuesChanged(const AbstractStorage &storage, const KeyList &candidates)
{
    constexpr qsizetype roomForValue = 32; // and its punctuation; an estimate
    const QLatin1StringView name = typeName(storage.type());
    qsizetype size = 32 + name.size();
    for (const auto &[group, key] : candidates)
        size += group.size() + key.size() + roomForValue;

    QString line;
    line.reserve(2 * size); // += of a concatenation allocates again once the line is half full
    line += "Top values changed: "_L1 % name % ": {"_L1;
    ValueReader reader(storage);
    for (const auto &candidate : candidates) {
        line += u' ' % candidate.first % u'/' % candidate.second % u" = '"
                % reader.value(candidate).toString() % u"',";
    }
    line.chop(1); // the comma after the last value
    line += " }"_L1;
    return line;
}

// A new layer. Not QSharedPointer::create(): if the constructor throws, it destroys an object that was
// never constructed.
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

// Inserts a new layer at its rank, or replaces the layer of its type. Takes ownership, so that the layer
// is destroyed at once if a handler clears it during the last notification.
void ConfigurationManagerPrivate::registerStorage(QSharedPointer<AbstractStorage> storage)
{
    if (const auto previous = sharedStorage(storage->type()))
        replaceStorage(*previous, std::move(storage));
    else
        insertStorage(std::move(storage));
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
    storage.reset(); // destroyed without the lock: a file layer writes its file now
    logger->info("Storage: "_L1 % typeName(type) % " cleared"_L1);
    for (const auto &[group, key] : keys)
        onValueChanged(type, group, key, QVariant());
}

void ConfigurationManagerPrivate::insertStorage(QSharedPointer<AbstractStorage> storage)
{
    const SettingsType type = storage->type();
    KeyList candidates = storage->keys();
    placeStorage(storage);
    logger->info("Storage: "_L1 % typeName(type) % " initialized"_L1);
    if (!logOperation(type) && handlers.isEmpty())
        return;

    candidates.removeIf(
            [this, type](const auto &key) { return isOverridden(key.first, key.second, type); });
    reportCandidates(std::move(storage), candidates);
}

// Intentional: overridden keys stay candidates here, unlike in insertStorage(). Among two or more they
// are notified, a single one is dropped by onValueChanged().
void ConfigurationManagerPrivate::replaceStorage(const AbstractStorage &previous,
                                                 QSharedPointer<AbstractStorage> storage)
{
    const SettingsType type = storage->type();
    KeyList candidates = storage->keys();
    const KeyList previousKeys = previous.keys();
    const KeyList removed = without(previousKeys, candidates);
    // While the previous layer is in place: do readers get its value, and is the new one equal?
    KeyCursor cursor(previousKeys);
    ValueReader previousReader(previous);
    ValueReader reader(*storage);
    candidates.removeIf([&](const auto &key) {
        const auto *previousKey = cursor.moveBehind(key);
        if (!previousKey)
            return false;
        const QVariant *held = previousReader.inPlace(*previousKey);
        if (!isOrigin(type, key.first, key.second, held ? &previous : nullptr))
            return false;
        return (held ? *held : previousReader.value(*previousKey)) == reader.value(key);
    });

    placeStorage(storage);
    logger->info("Storage: "_L1 % typeName(type) % " reinitialized"_L1);
    for (const auto &[group, key] : removed)
        onValueChanged(type, group, key, QVariant());
    reportCandidates(std::move(storage), candidates);
}

// The layer `type` with a counted reference, or null.
QSharedPointer<AbstractStorage> ConfigurationManagerPrivate::sharedStorage(SettingsType type) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->type() == type)
            return storage;
    }
    return {};
}

// Replaces the layer of the type of `storage`, or inserts `storage` at its rank.
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

// Logs and notifies the keys of a newly placed layer whose effective values may have changed.
void ConfigurationManagerPrivate::reportCandidates(QSharedPointer<AbstractStorage> storage,
                                                   const KeyList &candidates)
{
    if (candidates.isEmpty())
        return;
    const SettingsType type = storage->type();
    const bool isSingle = candidates.size() == 1;
    if (!isSingle)
        logForType(type, [&] { return topValuesChanged(*storage, candidates); });

    ValueReader reader(*storage);
    for (auto key = candidates.cbegin(); key != std::prev(candidates.cend()); ++key)
        notifyHandlers(type, key->first, key->second, reader.value(*key));

    const auto &[group, key] = candidates.last();
    const QVariant value = reader.value(candidates.last());
    storage.reset(); // a handler may clear the layer, which then has to be destroyed
    if (isSingle)
        onValueChanged(type, group, key, value);
    else
        notifyHandlers(type, group, key, value);
}

} // namespace tamsel

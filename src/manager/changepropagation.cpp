// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Decides which changes readers can see, logs them and tells the host's handlers.

#include "configurationmanager_p.h"

#include "../core/spinlocker.h"
#include "../storage/lookupstorage.h"

#include <tamsel/ilogger.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QScopeGuard>
#include <QtCore/QStringBuilder>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

constexpr int lowestRank = std::numeric_limits<int>::max();

using LogOperation = void (ILogger::*)(const QString &message);

/*! The operation that takes the change messages of \a type; null if they are not logged. */
LogOperation logOperation(SettingsType type)
{
    switch (type) {
    case SettingsType::Rdm:
    case SettingsType::SystemProperties:
        return &ILogger::info;
    case SettingsType::CommandLineArgs:
    case SettingsType::CustomConfPersistent:
    case SettingsType::Runtime:
    case SettingsType::SelviDb:
        return &ILogger::debug;
    case SettingsType::RavonaConfDefault:
    case SettingsType::FeatureKeys:
        break;
    }
    return nullptr;
}

QString topValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QString &value)
{
    return "Top value changed "_L1 % typeName(type) % ": "_L1 % group % '/'_L1 % key % " = '"_L1
            % value % '\''_L1;
}

} // namespace

QLatin1StringView typeName(SettingsType type)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 9, 0)
    using Number = quint64;
#else
    using Number = int;
#endif
    static const auto metaEnum = QMetaEnum::fromType<SettingsType>();
    return QLatin1StringView(metaEnum.valueToKey(static_cast<Number>(type)));
}

// Called by the layers after each change of their own, and by the registry.
void ConfigurationManagerPrivate::onValueChanged(SettingsType type, const QString &group,
                                                 const QString &key, const QVariant &value)
{
    // A handler may change the variable behind the reference.
    const QVariant reported = value; // NOLINT(performance-unnecessary-copy-initialization)
    const bool isRemoval = !reported.isValid();
    const Origin origin = findOrigin(group, key, isRemoval ? priorityOf(type) : lowestRank);

    if (!origin.isHeld) {
        if (isLogged(type))
            logForType(type, "Parameter removed from all storages: "_L1 % group % ':'_L1 % key);
        notifyHandlers(type, group, key, reported);
        return;
    }
    if (!isRemoval) {
        if (origin.type != type)
            return; // overridden
        if (isLogged(type))
            logForType(type, topValueChanged(type, group, key, reported.toString()));
        notifyHandlers(type, group, key, reported);
        return;
    }
    // A removal changes the effective value only where it uncovers that of a lower layer, which is
    // passed on as text, whatever its type.
    if (priorityOf(origin.type) <= priorityOf(type))
        return;
    const QString uncovered = origin.value.toString();
    if (isLogged(type))
        logForType(type, topValueChanged(origin.type, group, key, uncovered));
    notifyHandlers(origin.type, group, key, uncovered);
}

// The layer that holds the key and, if its rank is below `rank`, its value. A layer of the library's own
// says both in one step: no other thread comes between them. Any other is asked for the value after the
// lock has been released. No layer is kept alive by the result: the logger or a handler may clear it.
ConfigurationManagerPrivate::Origin
ConfigurationManagerPrivate::findOrigin(const QString &group, const QString &key, int rank) const
{
    Origin origin;
    QSharedPointer<AbstractStorage> asked; // counted: another thread may clear the layer meanwhile
    const LookupKey wanted(group, key);
    {
        const SpinLocker locker(&mutex);
        for (const auto &storage : storages) {
            const bool isBelow = rank < priorityOf(storage->type());
            const LookupStorage *own = isBelow ? toLookupStorage(*storage) : nullptr;
            origin.isHeld
                    = own ? own->lookup(wanted, &origin.value) : storage->contains(group, key);
            if (!origin.isHeld)
                continue;
            origin.type = storage->type();
            if (isBelow && !own)
                asked = storage;
            break;
        }
    }
    if (asked)
        origin.value = asked->value(group, key);
    return origin;
}

/*! The layer that answers for the pair, or null; uncounted, as findStorage(). */
AbstractStorage *ConfigurationManagerPrivate::topStorage(const QString &group,
                                                         const QString &key) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->contains(group, key))
            return storage.data();
    }
    return nullptr;
}

/*!
 * Whether a layer above \a type holds the pair. As long as it is in the list, the layer \a type and
 * those below are not asked.
 */
bool ConfigurationManagerPrivate::isHidden(const QString &group, const QString &key,
                                           SettingsType type) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->type() == type)
            break;
        if (storage->contains(group, key))
            return priorityOf(storage->type()) < priorityOf(type);
    }
    return false;
}

// Whether the effective value of the key comes from the layer `type`.
bool ConfigurationManagerPrivate::isOrigin(SettingsType type, const QString &group,
                                           const QString &key) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->contains(group, key))
            return storage->type() == type;
    }
    return false;
}

/*! Whether changes of the layer \a type are logged at all; if not, no text needs to be built. */
bool ConfigurationManagerPrivate::isLogged(SettingsType type)
{
    return logOperation(type) != nullptr;
}

/*! Passes \a message to the logger operation chosen for \a type; for some types to none. */
void ConfigurationManagerPrivate::logForType(SettingsType type, const QString &message) const
{
    if (const LogOperation log = logOperation(type))
        (logger->*log)(message);
}

/*!
 * Calls the handlers registered now, in their order. A handler may append and remove handlers: one
 * that is removed is not called any more, one that is appended is left to the next walk. Where
 * nobody does so, the walk is one pass over the list.
 */
void ConfigurationManagerPrivate::notifyHandlers(SettingsType type, const QString &group,
                                                 const QString &key, const QVariant &value) const
{
    const quint64 end = nextHandlerTicket;
    qsizetype i = 0;
    while (i < handlers.size() && handlerTickets.at(i) < end) {
        const quint64 ticket = handlerTickets.at(i);
        handlers.at(i)->onValueChanged(type, group, key, value);
        if (i < handlers.size() && handlerTickets.at(i) == ticket) {
            ++i;
        } else { // handlers were removed at or before this place
            const auto next
                    = std::upper_bound(handlerTickets.cbegin(), handlerTickets.cend(), ticket);
            i = std::distance(handlerTickets.cbegin(), next);
        }
    }
}

bool ConfigurationManagerPrivate::appendHandler(IConfigurationChangeHandler *handler)
{
    if (!handlers.contains(handler)) {
        handlerTickets.append(nextHandlerTicket);
        // If memory runs out, neither list has grown.
        auto withdrawal = qScopeGuard([this] { handlerTickets.removeLast(); });
        handlers.append(handler);
        withdrawal.dismiss();
        ++nextHandlerTicket;
    }
    return true;
}

bool ConfigurationManagerPrivate::removeHandler(IConfigurationChangeHandler *handler)
{
    const qsizetype index = handlers.indexOf(handler);
    if (index < 0)
        return false;
    handlers.removeAt(index);
    handlerTickets.removeAt(index);
    return true;
}

} // namespace tamsel

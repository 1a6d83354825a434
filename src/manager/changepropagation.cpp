// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Finds out which changes alter an effective value, logs them and notifies the host's handlers.

#include "configurationmanager_p.h"

#include "../core/spinlocker.h"
#include "../storage/ownstorages.h"

#include <QtCore/QStringBuilder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tamsel {

// Not a table of views: the dynamic linker would have to relocate its pointers.
QLatin1StringView typeName(SettingsType type)
{
    switch (type) {
    case SettingsType::CommandLineArgs:
        return "CommandLineArgs"_L1;
    case SettingsType::CustomConfPersistent:
        return "CustomConfPersistent"_L1;
    case SettingsType::Rdm:
        return "Rdm"_L1;
    case SettingsType::RavonaConfDefault:
        return "RavonaConfDefault"_L1;
    case SettingsType::SystemProperties:
        return "SystemProperties"_L1;
    case SettingsType::Runtime:
        return "Runtime"_L1;
    case SettingsType::SelviDb:
        return "SelviDb"_L1;
    case SettingsType::FeatureKeys:
        return "FeatureKeys"_L1;
    }
    return {};
}

ConfigurationManagerPrivate::LogOperation
ConfigurationManagerPrivate::logOperation(SettingsType type)
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

// Called by the layers after each change of their own, and by the registry.
void ConfigurationManagerPrivate::onValueChanged(SettingsType type, const QString &group,
                                                 const QString &key, const QVariant &value)
{
    // A handler may change the variable behind the reference.
    const QVariant reported = value; // NOLINT(performance-unnecessary-copy-initialization)
    if (reported.isValid()) {
        const auto origin = findOrigin(group, key);
        if (!origin)
            reportLoss(type, group, key, reported);
        else if (*origin == type) // otherwise it is overridden
            reportTopValue(type, type, group, key, reported);
        return;
    }
    QVariant uncovered;
    const auto origin = findUncovered(type, group, key, &uncovered);
    if (!origin)
        reportLoss(type, group, key, reported);
    else if (priorityOf(*origin) > priorityOf(type)) // Intentional: as text, whatever its type
        reportTopValue(type, *origin, group, key, uncovered.toString());
}

// Logs and notifies that no layer holds the key any more.
void ConfigurationManagerPrivate::reportLoss(SettingsType type, const QString &group,
                                             const QString &key, const QVariant &value) const
{
    logForType(type, [&]() -> QString {
        return "Parameter removed from all storages: "_L1 % group % ':'_L1 % key;
    });
    notifyHandlers(type, group, key, value);
}

// Logs, as a change of the layer `changed`, and notifies that the effective value of the key is now
// `value` of the layer `origin`.
void ConfigurationManagerPrivate::reportTopValue(SettingsType changed, SettingsType origin,
                                                 const QString &group, const QString &key,
                                                 const QVariant &value) const
{
    logForType(changed, [&]() -> QString {
        return u"Top value changed " % typeName(origin) % u": " % group % u'/' % key % u" = '"
                % value.toString() % u'\'';
    });
    notifyHandlers(origin, group, key, value);
}

// The highest layer that holds the key, if any.
std::optional<SettingsType> ConfigurationManagerPrivate::findOrigin(const QString &group,
                                                                    const QString &key) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->contains(group, key))
            return storage->type();
    }
    return std::nullopt;
}

// As findOrigin(), but also returns the value if that layer is below `removed`, which has lost the key.
// The library's own layers are asked for both in one step, so that no other thread can remove the key
// in between. Any other layer is asked for its value after the lock is released. No reference to a
// layer is kept after that: a logger or a handler that clears the layer destroys it.
std::optional<SettingsType> ConfigurationManagerPrivate::findUncovered(SettingsType removed,
                                                                       const QString &group,
                                                                       const QString &key,
                                                                       QVariant *value) const
{
    const int rank = priorityOf(removed);
    const LookupKey wanted(group, key);
    QSharedPointer<AbstractStorage> other; // a reference: another thread may clear it meanwhile
    {
        const SpinLocker locker(&mutex);
        for (const auto &storage : storages) {
            const SettingsType type = storage->type();
            const bool isBelow = rank < priorityOf(type);
            if (const LookupStorage *own = isBelow ? toLookupStorage(*storage) : nullptr) {
                if (own->lookup(wanted, value))
                    return type;
            } else if (storage->contains(group, key)) {
                if (!isBelow)
                    return type;
                other = storage;
                break;
            }
        }
    }
    if (!other)
        return std::nullopt;
    *value = other->value(group, key);
    return other->type();
}

// The highest layer that holds the key, or null. A raw pointer, as findStorage().
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

// Whether a layer above `type` holds the key. If the layer `type` is in the list, neither it nor those
// below are searched.
bool ConfigurationManagerPrivate::isOverridden(const QString &group, const QString &key,
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

// Whether the effective value of the key comes from the layer `type`. `holder` may be null, or a layer
// that is known to hold the key and is therefore not searched.
bool ConfigurationManagerPrivate::isOrigin(SettingsType type, const QString &group,
                                           const QString &key, const AbstractStorage *holder) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage.data() == holder || storage->contains(group, key))
            return storage->type() == type;
    }
    return false;
}

// Calls the handlers in their order. A handler may append and remove handlers: removed ones are not
// called again, appended ones are first called for the next change.
void ConfigurationManagerPrivate::notifyHandlers(SettingsType type, const QString &group,
                                                 const QString &key, const QVariant &value) const
{
    const quint64 end = nextHandlerId;
    qsizetype i = 0;
    while (i < handlers.size() && handlers.at(i).id < end) {
        const auto [handler, id] = handlers.at(i);
        handler->onValueChanged(type, group, key, value);
        if (i < handlers.size() && handlers.at(i).id == id) {
            ++i;
        } else { // handlers were removed at or before this position
            const auto next
                    = std::find_if(handlers.cbegin(), handlers.cend(),
                                   [last = id](const auto &other) { return other.id > last; });
            i = std::distance(handlers.cbegin(), next);
        }
    }
}

qsizetype
ConfigurationManagerPrivate::indexOfHandler(const IConfigurationChangeHandler *handler) const
{
    for (qsizetype i = 0; i < handlers.size(); ++i) {
        if (handlers.at(i).handler == handler)
            return i;
    }
    return -1;
}

bool ConfigurationManagerPrivate::appendHandler(IConfigurationChangeHandler *handler)
{
    if (indexOfHandler(handler) < 0) {
        handlers.append(RegisteredHandler{handler, nextHandlerId});
        ++nextHandlerId;
    }
    return true;
}

bool ConfigurationManagerPrivate::removeHandler(IConfigurationChangeHandler *handler)
{
    const qsizetype index = indexOfHandler(handler);
    if (index < 0)
        return false;
    handlers.removeAt(index);
    return true;
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Decides which changes readers can see, logs them and tells the host's handlers.

#include "configurationmanager_p.h"

#include <tamsel/ilogger.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QMutexLocker>
#include <QtCore/QScopeGuard>
#include <QtCore/QStringBuilder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

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

/*! Called by the layers after each change of their own, and by the registry. */
void ConfigurationManagerPrivate::onValueChanged(SettingsType type, const QString &group,
                                                 const QString &key, const QVariant &value)
{
    // A handler may change the variable behind the reference.
    const QVariant reported = value; // NOLINT(performance-unnecessary-copy-initialization)
    QSharedPointer<AbstractStorage> top = sharedTopStorage(group, key);

    if (!top) {
        if (isLogged(type))
            logForType(type, "Parameter removed from all storages: "_L1 % group % ':'_L1 % key);
        notifyHandlers(type, group, key, reported);
        return;
    }

    const SettingsType topType = top->type();
    if (reported.isValid()) {
        top.reset(); // a logger or a handler may clear that layer, and then it has to die
        if (topType != type)
            return; // hidden by a higher layer
        if (isLogged(type))
            logForType(type, topValueChanged(type, group, key, reported.toString()));
        notifyHandlers(type, group, key, reported);
        return;
    }

    // A removal. It is visible only where it uncovers the value of a lower layer, and that value is
    // passed on as text, whatever its type.
    if (priorityOf(topType) <= priorityOf(type))
        return;
    const QString uncovered = top->value(group, key).toString();
    top.reset(); // as above
    if (isLogged(type))
        logForType(type, topValueChanged(topType, group, key, uncovered));
    notifyHandlers(topType, group, key, uncovered);
}

/*! The layer that answers for the pair, or null; uncounted, as findStorage(). */
AbstractStorage *ConfigurationManagerPrivate::topStorage(const QString &group,
                                                         const QString &key) const
{
    const QMutexLocker locker(&mutex);
    const qsizetype index = indexOfTopStorage(group, key);
    return index < 0 ? nullptr : storages.at(index).data();
}

/*! As topStorage(), with a reference counted: another thread may clear that layer meanwhile. */
QSharedPointer<AbstractStorage>
ConfigurationManagerPrivate::sharedTopStorage(const QString &group, const QString &key) const
{
    const QMutexLocker locker(&mutex);
    return storages.value(indexOfTopStorage(group, key));
}

/*! The place in `storages` of the layer that answers, or -1. The caller holds `mutex`. */
qsizetype ConfigurationManagerPrivate::indexOfTopStorage(const QString &group,
                                                         const QString &key) const
{
    for (qsizetype i = 0; i < storages.size(); ++i) {
        if (storages.at(i)->contains(group, key))
            return i;
    }
    return -1;
}

/*!
 * Whether a layer above \a type holds the pair. As long as it is in the list, the layer \a type and
 * those below are not asked.
 */
bool ConfigurationManagerPrivate::isHidden(const QString &group, const QString &key,
                                           SettingsType type) const
{
    const QMutexLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->type() == type)
            break;
        if (storage->contains(group, key))
            return priorityOf(storage->type()) < priorityOf(type);
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

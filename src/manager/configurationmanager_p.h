// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_CONFIGURATIONMANAGER_P_H
#define TAMSEL_CONFIGURATIONMANAGER_P_H

#include <tamsel/abstractstorage.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

#include <optional>

namespace tamsel {

// A handler of the host and the id of its registration. The id is unique and ascending, because the list
// may change while its handlers are called.
struct RegisteredHandler
{
    IConfigurationChangeHandler *handler; // borrowed
    quint64 id;
};

// The state of a ConfigurationManager, and the change handler of every layer it creates.
//
// `mutex` is held while `storages` is searched or changed, which includes the layers' lookup(),
// contains() and value() during a read. It is not recursive. It is not held while a layer lists its
// keys or is written, while a message is logged, or while a handler runs.
class ConfigurationManagerPrivate final : public IConfigurationChangeHandler
{
public:
    ConfigurationManagerPrivate(ConfigurationManager *facade, ILogger *hostLogger);
    ~ConfigurationManagerPrivate() override;

    // configurationmanager.cpp
    AbstractStorage *findStorage(SettingsType type) const;

    // storageregistry.cpp
    void initStorage(SettingsType type, const QVariantMap &values);
    void registerStorage(QSharedPointer<AbstractStorage> storage);
    void clearStorage(SettingsType type);

    // changepropagation.cpp
    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;
    AbstractStorage *topStorage(const QString &group, const QString &key) const;
    bool isOverridden(const QString &group, const QString &key, SettingsType type) const;
    bool isOrigin(SettingsType type, const QString &group, const QString &key,
                  const AbstractStorage *holder) const;
    using LogOperation = void (ILogger::*)(const QString &message);
    // The operation that logs the changes of `type`; null if they are not logged.
    static LogOperation logOperation(SettingsType type);
    // Logs the text that `build` returns with that operation. Calls `build` only if there is one.
    template <typename Build> void logForType(SettingsType type, const Build &build) const
    {
        if (const LogOperation log = logOperation(type))
            (logger->*log)(build());
    }
    void logForType(SettingsType type, const QString &message) const
    {
        logForType(type, [&message] { return message; });
    }
    void notifyHandlers(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) const;
    bool appendHandler(IConfigurationChangeHandler *handler);
    bool removeHandler(IConfigurationChangeHandler *handler);

    ConfigurationManager *const q; // the public object, by Qt's convention; not used yet
    QString persistentStoragePath;
    QString assetsPrefix;
    ILogger *const logger; // borrowed
    // Guarded by mutex; at most one of each type, sorted by priorityOf().
    QList<QSharedPointer<AbstractStorage>> storages;
    mutable QMutex mutex;
    QList<RegisteredHandler> handlers; // no lock, see notifyHandlers()
    quint64 nextHandlerId = 0;

private:
    std::optional<SettingsType> findOrigin(const QString &group, const QString &key) const;
    std::optional<SettingsType> findUncovered(SettingsType removed, const QString &group,
                                              const QString &key, QVariant *value) const;
    void reportLoss(SettingsType type, const QString &group, const QString &key,
                    const QVariant &value) const;
    void reportTopValue(SettingsType changed, SettingsType origin, const QString &group,
                        const QString &key, const QVariant &value) const;
    qsizetype indexOfHandler(const IConfigurationChangeHandler *handler) const;
    QSharedPointer<AbstractStorage> sharedStorage(SettingsType type) const;
    void insertStorage(QSharedPointer<AbstractStorage> storage);
    void replaceStorage(const AbstractStorage &previous, QSharedPointer<AbstractStorage> storage);
    void placeStorage(const QSharedPointer<AbstractStorage> &storage);
    void reportCandidates(QSharedPointer<AbstractStorage> storage, const KeyList &candidates);
};

// The key of `type` in its enumeration, as log messages show it; empty if unknown.
QLatin1StringView typeName(SettingsType type);

} // namespace tamsel

#endif // TAMSEL_CONFIGURATIONMANAGER_P_H

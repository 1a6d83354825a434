// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_CONFIGURATIONMANAGER_P_H
#define TAMSEL_CONFIGURATIONMANAGER_P_H

#include <tamsel/abstractstorage.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>

#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

namespace tamsel {

/*!
 * \internal
 * \brief The state of a ConfigurationManager, and the change handler of every layer it creates.
 *
 * `mutex` is held while `storages` is walked or changed, which includes the layers' contains() and
 * value() during a read. It is not recursive and is never held while a layer lists its keys or is
 * written, while anything is logged, or while a handler runs.
 */
class ConfigurationManagerPrivate final : public IConfigurationChangeHandler
{
public:
    ConfigurationManagerPrivate(ConfigurationManager *facade, ILogger *hostLogger);
    ~ConfigurationManagerPrivate() override;

    // configurationmanager.cpp
    AbstractStorage *findStorage(SettingsType type) const;

    // storageregistry.cpp
    void initStorage(SettingsType type, const QVariantMap &values);
    void registerStorage(const QSharedPointer<AbstractStorage> &storage);
    void clearStorage(SettingsType type);

    // changepropagation.cpp
    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;
    AbstractStorage *topStorage(const QString &group, const QString &key) const;
    bool isHidden(const QString &group, const QString &key, SettingsType type) const;
    bool isOrigin(SettingsType type, const QString &group, const QString &key) const;
    static bool isLogged(SettingsType type);
    void logForType(SettingsType type, const QString &message) const;
    void notifyHandlers(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) const;
    bool appendHandler(IConfigurationChangeHandler *handler);
    bool removeHandler(IConfigurationChangeHandler *handler);

    ConfigurationManager *const q;
    QString persistentStoragePath;
    QString assetsPrefix;
    ILogger *const logger; // borrowed
    QList<QSharedPointer<AbstractStorage>>
            storages; // guarded by mutex; one a type, by priorityOf()
    mutable QMutex mutex;
    QList<IConfigurationChangeHandler *> handlers; // borrowed; no lock, see notifyHandlers()
    // One for each handler and ascending: tells a walk what came and what went while it called out.
    QList<quint64> handlerTickets;
    quint64 nextHandlerTicket = 0;

private:
    struct Origin
    {
        bool isHeld = false;
        SettingsType type{}; // the layer, if the key is held
        QVariant value;
    };

    Origin findOrigin(const QString &group, const QString &key, int rank) const;
    qsizetype indexOfStorage(SettingsType type) const;
    QSharedPointer<AbstractStorage> sharedStorage(SettingsType type) const;
    void insertStorage(const QSharedPointer<AbstractStorage> &storage);
    void replaceStorage(const QSharedPointer<AbstractStorage> &previous,
                        const QSharedPointer<AbstractStorage> &storage);
    void placeStorage(const QSharedPointer<AbstractStorage> &storage);
    void reportCandidates(const AbstractStorage &storage, const KeyList &candidates);
    void logCandidates(const AbstractStorage &storage, const KeyList &candidates) const;
};

/*! \internal The key of \a type in its enumeration, as log messages show it; empty if unknown. */
QLatin1StringView typeName(SettingsType type);

} // namespace tamsel

#endif // TAMSEL_CONFIGURATIONMANAGER_P_H

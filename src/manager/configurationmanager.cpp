// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/configurationmanager.h>

#include "configurationmanager_p.h"

#include "../core/spinlocker.h"
#include "../storage/ownstorages.h"

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {
ConfigurationManager *publishedManager = nullptr; // NOLINT(*-non-const-global-variables)
} // namespace

ConfigurationManagerPrivate::ConfigurationManagerPrivate(ConfigurationManager *facade,
                                                         ILogger *hostLogger)
    : q(facade), logger(hostLogger)
{
}

ConfigurationManagerPrivate::~ConfigurationManagerPrivate() = default;

// The layer `type`, or null. A raw pointer: callers use it after the lock is released, see the thread
// rules of ConfigurationManager.
AbstractStorage *ConfigurationManagerPrivate::findStorage(SettingsType type) const
{
    const SpinLocker locker(&mutex);
    for (const auto &storage : storages) {
        if (storage->type() == type)
            return storage.data();
    }
    return nullptr;
}

ConfigurationManager::ConfigurationManager(ILogger *logger)
    : d(std::make_unique<ConfigurationManagerPrivate>(this, logger))
{
}

ConfigurationManager::~ConfigurationManager() = default;

void ConfigurationManager::setPersistentStoragePath(const QString &path)
{
    d->persistentStoragePath = path;
}

QString ConfigurationManager::persistentStoragePath() const
{
    return d->persistentStoragePath;
}

void ConfigurationManager::setAssetsPrefix(const QString &prefix)
{
    d->assetsPrefix = prefix;
}

QString ConfigurationManager::startupScreenDirPath() const
{
    return d->persistentStoragePath + "startup_screen/"_L1;
}

QVariant ConfigurationManager::value(const QString &group, const QString &key,
                                     const QVariant &defaultValue) const
{
    QVariant result = defaultValue;
    const LookupKey wanted(group, key);
    const SpinLocker locker(&d->mutex);
    for (const auto &storage : std::as_const(d->storages)) {
        if (const LookupStorage *own = toLookupStorage(*storage)) {
            if (own->lookup(wanted, &result))
                break;
        } else if (storage->contains(wanted.group(), wanted.key())) {
            result = storage->value(wanted.group(), wanted.key());
            break;
        }
    }
    return result;
}

bool ConfigurationManager::contains(const QString &group, const QString &key) const
{
    return d->topStorage(group, key) != nullptr;
}

bool ConfigurationManager::contains(const QString &group, const QString &key,
                                    SettingsType type) const
{
    const AbstractStorage *storage = d->findStorage(type);
    return storage != nullptr && storage->contains(group, key);
}

void ConfigurationManager::setValue(const QString &group, const QString &key, const QVariant &value,
                                    SettingsType type)
{
    if (AbstractStorage *storage = d->findStorage(type))
        storage->setValue(group, key, value);
}

void ConfigurationManager::removeValue(const QString &group, const QString &key, SettingsType type)
{
    AbstractStorage *storage = d->findStorage(type);
    // Intentional: unlike a write, a removal reaches the layer only if it holds the key. So a
    // read-only layer does not refuse to remove an absent key.
    if (storage && storage->contains(group, key))
        storage->remove(group, key);
}

bool ConfigurationManager::storageAvailable(SettingsType type) const
{
    const AbstractStorage *storage = d->findStorage(type);
    return storage != nullptr && storage->isAvailable();
}

void ConfigurationManager::initStorage(SettingsType type, const QMap<QString, QVariant> &values)
{
    d->initStorage(type, values);
}

void ConfigurationManager::clearStorage(SettingsType type)
{
    d->clearStorage(type);
}

bool ConfigurationManager::appendConfigurationHandler(IConfigurationChangeHandler *handler)
{
    return d->appendHandler(handler);
}

bool ConfigurationManager::removeConfigurationHandler(IConfigurationChangeHandler *handler)
{
    return d->removeHandler(handler);
}

ConfigurationManager *qmlConfigManager() noexcept
{
    return publishedManager;
}

void setQmlConfigManager(ConfigurationManager *manager) noexcept
{
    publishedManager = manager;
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_MANAGERPRIVATE_H
#define TAMSEL_TESTS_MANAGERPRIVATE_H

#include "fakestorage.h"
#include "manager/configurationmanager_p.h"
#include "testhost.h"

namespace tamsel::tests {

// The state of \a manager. For tests with the library's internals; include once per program.
ConfigurationManagerPrivate &privateOf(ConfigurationManager &manager);

// Only an explicit instantiation may name a private member of another class.
template <auto member> struct PrivateMember
{
    friend ConfigurationManagerPrivate &privateOf(ConfigurationManager &manager)
    {
        return *(manager.*member);
    }
};
template struct PrivateMember<&ConfigurationManager::d>;

inline bool isLocked(QMutex *mutex)
{
    const bool isFree = mutex->tryLock();
    if (isFree)
        mutex->unlock();
    return !isFree;
}

// A layer for the host's manager, with \a entries in the group "g"; not registered yet. It adds
// ", locked" to each call during which the manager's lock is held.
inline QSharedPointer<FakeStorage> makeLayer(TestHost *host, SettingsType type, const QString &name,
                                             const QVariantMap &entries = {})
{
    auto layer = QSharedPointer<FakeStorage>::create(type, &privateOf(host->manager),
                                                     &host->journal, name);
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
        layer->put(QStringLiteral("g"), entry.key(), entry.value());
    layer->note = [mutex = &privateOf(host->manager).mutex] {
        return isLocked(mutex) ? QStringLiteral(", locked") : QString();
    };
    return layer;
}

// As makeLayer(), and registers it.
inline QSharedPointer<FakeStorage> registerLayer(TestHost *host, SettingsType type,
                                                 const QString &name,
                                                 const QVariantMap &entries = {})
{
    auto layer = makeLayer(host, type, name, entries);
    privateOf(host->manager).registerStorage(layer);
    return layer;
}

// As registerLayer(), but drops its calls, messages and notifications from the journal.
inline QSharedPointer<FakeStorage> addLayer(TestHost *host, SettingsType type, const QString &name,
                                            const QVariantMap &entries = {})
{
    auto layer = registerLayer(host, type, name, entries);
    host->journal.take();
    return layer;
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_MANAGERPRIVATE_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "dispatcher.h"

#include "qmlsetting.h"
#include "qmlsettingsmodel.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/qml/qmlhost.h>

#include <QtCore/QMutex>
#include <QtCore/QPointer>
#include <QtCore/QVarLengthArray>
#include <QtQml/QQmlInfo>

#include <atomic>
#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel::qml {

namespace {

// What engines on several threads share.
struct Shared
{
    QMutex mutex;
    std::shared_ptr<Notifier> lent; // by the host; guarded by mutex
    host::SettingsCatalogue *catalogue = nullptr; // by the host; guarded by mutex
    host::Redaction redaction; // by the host; guarded by mutex
    std::weak_ptr<Notifier> own; // the module's, if the host lends none; guarded by mutex
    ConfigurationManager *ownManager = nullptr; // of `own`; may be destroyed; guarded by mutex
    std::atomic<bool> warned = false; // that no manager is published
};

Shared &shared()
{
    static Shared object;
    return object;
}

// The notifier of the published manager.
std::shared_ptr<Notifier> sharedNotifier(ConfigurationManager *manager)
{
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    if (all.lent && all.lent->isAlive() && all.lent->get().settings() == manager)
        return all.lent;
    std::shared_ptr<Notifier> own = all.ownManager == manager ? all.own.lock() : nullptr;
    if (!own) {
        own = Notifier::makeOwn(manager);
        all.own = own;
        all.ownManager = manager;
    }
    return own;
}

thread_local std::weak_ptr<Dispatcher> ofThisThread; // NOLINT(*-non-const-global-variables)

} // namespace

Notifier::Notifier(host::ChangeNotifier *notifier) : m_notifier(notifier)
{
    auto life = std::make_shared<int>();
    m_life = life; // cppcheck-suppress useInitializationList
    // Any setting will do: the function is destroyed with the notifier.
    notifier->subscribe({}, {}, &m_context, [life](const host::Change &) {});
}

std::shared_ptr<Notifier> Notifier::makeOwn(ConfigurationManager *manager)
{
    auto notifier = std::make_shared<Notifier>(new host::ChangeNotifier(manager));
    notifier->m_isOwn = true;
    return notifier;
}

Notifier::~Notifier()
{
    if (!m_isOwn)
        return;
    if (m_notifier->settings() == qmlConfigManager()) {
        delete m_notifier;
        return;
    }
    // Intentional: never deleted. Its destructor would call the manager, which may be destroyed.
    static QMutex mutex;
    // NOLINTNEXTLINE(*-non-const-global-variables,bugprone-unhandled-exception-at-new)
    static auto *const leftBehind = new QList<host::ChangeNotifier *>;
    const QMutexLocker locker(&mutex);
    leftBehind->append(m_notifier);
}

void setQmlChangeNotifier(host::ChangeNotifier *notifier)
{
    auto lent = notifier ? std::make_shared<Notifier>(notifier) : nullptr;
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    all.lent.swap(lent);
}

void setQmlSettingsCatalogue(host::SettingsCatalogue *catalogue)
{
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    all.catalogue = catalogue;
}

void setQmlRedaction(const host::Redaction &redaction)
{
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    all.redaction = redaction;
}

host::SettingsCatalogue *lentCatalogue()
{
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    return all.catalogue;
}

host::Redaction lentRedaction()
{
    Shared &all = shared();
    const QMutexLocker locker(&all.mutex);
    return all.redaction;
}

Dispatcher::Dispatcher(ConfigurationManager *manager, std::shared_ptr<Notifier> notifier)
    : m_manager(manager), m_notifier(std::move(notifier))
{
}

Dispatcher::~Dispatcher() = default;

std::shared_ptr<Dispatcher> Dispatcher::current(const QObject *asker)
{
    ConfigurationManager *published = qmlConfigManager();
    if (!published) {
        if (!shared().warned.exchange(true))
            qmlWarning(asker) << "no manager is published with tamsel::setQmlConfigManager(); "
                                 "settings have their default values";
        return nullptr;
    }
    shared().warned = false;
    std::shared_ptr<Dispatcher> dispatcher = ofThisThread.lock();
    if (!dispatcher || dispatcher->m_manager != published || !dispatcher->m_notifier->isAlive()) {
        dispatcher.reset(new Dispatcher(published, sharedNotifier(published)));
        ofThisThread = dispatcher;
    }
    return dispatcher;
}

bool Dispatcher::isManagerAlive() const
{
    return m_manager == qmlConfigManager() && m_notifier->isAlive();
}

ConfigurationManager *Dispatcher::manager(const QObject *asker)
{
    if (isManagerAlive())
        return m_manager;
    if (!std::exchange(m_warned, true))
        qmlWarning(asker) << "the manager or its notifier is gone while QML objects use it; "
                             "destroy the engine first";
    return nullptr;
}

void Dispatcher::add(QmlSetting *setting, const QString &group, const QString &key)
{
    auto entry = m_groups.find(group);
    if (entry == m_groups.end()) {
        entry = m_groups.insert(group, {});
        if (isManagerAlive()) {
            entry->subscription
                    = notifier().subscribeGroup(group, this, [this](const host::Change &change) {
                          refresh(change.group, change.key);
                      });
        }
    }
    entry->settings[key].append(setting);
}

void Dispatcher::remove(QmlSetting *setting, const QString &group, const QString &key)
{
    const auto entry = m_groups.find(group);
    if (entry == m_groups.end())
        return;
    QList<QmlSetting *> &objects = entry->settings[key];
    objects.removeOne(setting);
    if (!objects.isEmpty())
        return;
    entry->settings.remove(key);
    if (!entry->settings.isEmpty())
        return;
    entry->subscription.drop();
    m_groups.remove(group);
}

void Dispatcher::wrote(const QString &group, const QString &key)
{
    // A model may be destroyed in the signals of another one.
    QVarLengthArray<QPointer<QmlSettingsModel>, 4> models;
    for (QmlSettingsModel *model : std::as_const(m_models))
        models.append(model);
    for (const QPointer<QmlSettingsModel> &model : models) {
        if (model)
            model->update(group, key);
    }
    refresh(group, key);
}

// Lets all objects of a setting look it up again.
void Dispatcher::refresh(const QString &group, const QString &key)
{
    const auto entry = m_groups.constFind(group);
    if (entry == m_groups.constEnd())
        return;
    // An object may be destroyed, and others made, in the signals of another one.
    QVarLengthArray<QPointer<QmlSetting>, 4> objects;
    const auto found = entry->settings.constFind(key);
    if (found == entry->settings.constEnd())
        return;
    for (QmlSetting *object : *found)
        objects.append(object);
    for (const QPointer<QmlSetting> &object : objects) {
        if (object)
            object->refresh();
    }
}

} // namespace tamsel::qml

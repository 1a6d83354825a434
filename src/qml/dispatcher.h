// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef DISPATCHER_H
#define DISPATCHER_H

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/redaction.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>

namespace tamsel {
class ConfigurationManager;
}

namespace tamsel::host {
class SettingsCatalogue;
}

namespace tamsel::qml {

class QmlSetting;
class QmlSettingsModel;

// What the host lends beside its notifier.
host::SettingsCatalogue *lentCatalogue();
host::Redaction lentRedaction();

// A notifier, and whether it was destroyed since.
class Notifier
{
public:
    Notifier() = default;
    // Borrowed from the host.
    explicit Notifier(host::ChangeNotifier *notifier);
    // The module's own, for a host that lends none.
    static std::shared_ptr<Notifier> makeOwn(ConfigurationManager *manager);
    ~Notifier();

    bool isAlive() const { return !m_life.expired(); }
    host::ChangeNotifier &get() const { return *m_notifier; }

private:
    Q_DISABLE_COPY_MOVE(Notifier)

    host::ChangeNotifier *m_notifier = nullptr;
    bool m_isOwn = false;
    QObject m_context; // of a subscription whose function owns what m_life points to
    std::weak_ptr<int> m_life;
};

// Joins the QML objects of one thread to the manager that was published when the first of them was
// completed. They share it; the last of them destroys it.
//
// There is one subscription for each group in use, and not one for each object: a notification costs
// the same however many objects there are. A subscription to one setting would not do, as it is not
// called when only the origin changes.
class Dispatcher final : public QObject
{
public:
    // The dispatcher of this thread; null, with a warning of `asker`, if no manager is published.
    static std::shared_ptr<Dispatcher> current(const QObject *asker);
    ~Dispatcher() override;

    // The manager. Null if it may be destroyed: it is not published any more, or its notifier was
    // destroyed. The first time, `asker` warns.
    ConfigurationManager *manager(const QObject *asker);
    // Use it after manager() only.
    host::ChangeNotifier &notifier() const { return m_notifier->get(); }

    void add(QmlSetting *setting, const QString &group, const QString &key);
    void remove(QmlSetting *setting, const QString &group, const QString &key);
    void add(QmlSettingsModel *model) { m_models.append(model); }
    void remove(QmlSettingsModel *model) { m_models.removeOne(model); }
    // An object wrote the setting. Others look it up again: not every write is notified.
    void wrote(const QString &group, const QString &key);

private:
    Q_DISABLE_COPY_MOVE(Dispatcher)

    struct Group
    {
        host::Subscription subscription;
        QHash<QString, QList<QmlSetting *>> settings;
    };

    Dispatcher(ConfigurationManager *manager, std::shared_ptr<Notifier> notifier);

    bool isManagerAlive() const;
    void refresh(const QString &group, const QString &key);

    ConfigurationManager *const m_manager; // borrowed
    const std::shared_ptr<Notifier> m_notifier;
    QHash<QString, Group> m_groups;
    QList<QmlSettingsModel *> m_models;
    bool m_warned = false;
};

} // namespace tamsel::qml

#endif // DISPATCHER_H

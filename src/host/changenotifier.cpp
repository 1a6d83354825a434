// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// One handler finds the subscriptions of a changed setting by hash. It marks each with the setting
// before it calls any. So if a function changes the setting again, each subscription gets the new
// value once.
//
// Locks, none of which is held while a function runs or values are compared:
//   SubscriptionRecord::m_mutex   one subscription; while held, a connected context stays alive
//   Subscriptions::m_mutex        the lists; may be taken while the one above is held, not vice versa
//   Subscriptions::m_readLock     keeps the manager alive while a delivery reads from it

#include <tamsel/host/changenotifier.h>

#include "heldvalue.h"
#include "keyhash.h"
#include "rejectedvalues.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/origin.h>
#include <tamsel/iconfigurationchangehandler.h>

#include <QtCore/QMetaObject>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QThread>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tamsel::host {

namespace {

using Origin = std::optional<SettingsType>;

// What a subscription is for; group and key are empty where the scope needs none.
enum class Scope { Setting, Group, All };
struct Target
{
    Scope scope;
    Key key;

    friend bool operator==(const Target &left, const Target &right)
    {
        return left.scope == right.scope && left.key == right.key;
    }
};
struct TargetHash
{
    std::size_t operator()(const Target &target) const { return KeyHash()(target.key); }
};

// Held while an event is posted, and again when it arrives. The thread sanitizer does not see the
// lock of Qt's event queue: it would report what was written before the event was posted as a race.
#if defined(__SANITIZE_THREAD__)
QBasicMutex handovers; // NOLINT(*-non-const-global-variables)
class Handover
{
public:
    Handover() { handovers.lock(); }
    ~Handover() { handovers.unlock(); }

private:
    Q_DISABLE_COPY_MOVE(Handover)
};
#else
class Handover
{
};
#endif

bool areSame(const QVariant &left, const QVariant &right)
{
    return left.metaType() == right.metaType() && left == right;
}

} // namespace

class Subscriptions;

// One subscription. Only the thread of the context delivers.
class SubscriptionRecord : public std::enable_shared_from_this<SubscriptionRecord>
{
public:
    SubscriptionRecord(std::weak_ptr<Subscriptions> subscriptions, Target target, QObject *context,
                       ChangeNotifier::Function function)
        : m_subscriptions(std::move(subscriptions)),
          m_target(std::move(target)),
          m_function(std::move(function)),
          m_context(context)
    {
    }

    const Target &target() const { return m_target; }

    void start();
    void mark(const Key &key, Origin origin);
    void dispatch(const Key &key);
    void end();

private:
    Q_DISABLE_COPY_MOVE(SubscriptionRecord)

    struct Pending
    {
        Origin origin; // as the notification has it
        bool isPosted = false; // an event of this mark waits for the context
    };

    bool detach();
    void deliver(const Key &key);
    bool isNew(const QVariant &value);

    const std::weak_ptr<Subscriptions> m_subscriptions;
    const Target m_target;
    const ChangeNotifier::Function m_function;

    QMutex m_mutex;
    bool m_hasEnded = false; // guarded by m_mutex, as all below
    // Null also if the context has died without its signal: disconnect() ends all connections.
    QPointer<QObject> m_context;
    QMetaObject::Connection m_destroyed;
    std::map<Key, Pending> m_pending;
    std::optional<QVariant> m_last; // the value that the function got; for one setting only
};

using Record = std::shared_ptr<SubscriptionRecord>;
// Replaced, never changed: a notification goes on with the list that it has found.
using Records = std::shared_ptr<const std::vector<Record>>;

// The subscriptions of a notifier, and the manager that their deliveries read from.
class Subscriptions
{
public:
    explicit Subscriptions(ConfigurationManager *settings) : m_settings(settings) { }

    void add(const Record &record);
    void remove(const Record &record);
    void close();

    std::array<Records, 3> find(const Key &key) const;
    bool findOrigin(SettingsType type, const Key &key, const QVariant &value, Origin *origin) const;
    bool read(Change *change) const;
    QVariant value(const Key &key) const;

private:
    Q_DISABLE_COPY_MOVE(Subscriptions)

    // Intentional: layers are named only on the thread that creates and clears them.
    bool mayNameLayers() const { return QThread::currentThreadId() == m_thread; }

    const Qt::HANDLE m_thread = QThread::currentThreadId();

    mutable QMutex m_mutex;
    std::unordered_map<Target, Records, TargetHash> m_records; // guarded by m_mutex

    mutable std::shared_mutex m_readLock;
    ConfigurationManager *m_settings; // null when the notifier is gone; guarded by m_readLock
};

// Makes the subscription known. A change after this is delivered.
void SubscriptionRecord::start()
{
    const auto subscriptions = m_subscriptions.lock();
    QObject *const context = m_context;
    // The destructor of the context waits for whoever uses it under the lock.
    m_destroyed = QObject::connect(
            context, &QObject::destroyed, context,
            [record = weak_from_this()] {
                if (const Record ended = record.lock())
                    ended->end();
            },
            Qt::DirectConnection);
    subscriptions->add(shared_from_this());
    if (m_target.scope != Scope::Setting)
        return;
    // Read after the record is added: otherwise a change in between would be lost.
    QVariant value = subscriptions->value(m_target.key);
    const QMutexLocker locker(&m_mutex);
    if (!m_last)
        m_last = std::move(value);
}

// The first step of a notification.
void SubscriptionRecord::mark(const Key &key, Origin origin)
{
    const QMutexLocker locker(&m_mutex);
    if (!m_hasEnded && !m_context.isNull())
        m_pending[key].origin = origin;
}

// The second step of a notification. Does nothing if the mark has been delivered already.
void SubscriptionRecord::dispatch(const Key &key)
{
    {
        const QMutexLocker locker(&m_mutex);
        const auto pending = m_pending.find(key);
        QObject *const context = m_context;
        if (pending == m_pending.end() || context == nullptr)
            return;
        if (context->thread() != QThread::currentThread()) {
            if (!pending->second.isPosted) {
                [[maybe_unused]] const Handover posting{};
                QMetaObject::invokeMethod(
                        context,
                        [record = weak_from_this(), key] {
                            {
                                [[maybe_unused]] const Handover posted{};
                            }
                            if (const Record receiver = record.lock())
                                receiver->deliver(key);
                        },
                        Qt::QueuedConnection);
                pending->second.isPosted = true; // not before: posting may run out of memory
            }
            return;
        }
    }
    deliver(key);
}

// Runs on the thread of the context, so that the context is not destroyed meanwhile.
void SubscriptionRecord::deliver(const Key &key)
{
    const auto subscriptions = m_subscriptions.lock();
    if (!subscriptions)
        return;
    Change change{key.first, key.second, {}, {}};
    {
        const QMutexLocker locker(&m_mutex);
        const auto pending = m_pending.find(key);
        if (pending == m_pending.end())
            return;
        change.origin = pending->second.origin;
        m_pending.erase(pending);
    }
    // A change from here on sets a new mark.
    if (subscriptions->read(&change) && (m_target.scope != Scope::Setting || isNew(change.value)))
        m_function(change);
}

bool SubscriptionRecord::isNew(const QVariant &value)
{
    std::optional<QVariant> last;
    {
        const QMutexLocker locker(&m_mutex);
        last = std::exchange(m_last, value);
    }
    return !last || !areSame(*last, value);
}

void SubscriptionRecord::end()
{
    if (!detach())
        return;
    if (const auto subscriptions = m_subscriptions.lock())
        subscriptions->remove(shared_from_this());
}

// Returns false if the subscription had ended already.
bool SubscriptionRecord::detach()
{
    QMetaObject::Connection destroyed;
    {
        const QMutexLocker locker(&m_mutex);
        if (std::exchange(m_hasEnded, true))
            return false;
        m_pending.clear();
        destroyed = std::exchange(m_destroyed, {});
    }
    QObject::disconnect(destroyed);
    return true;
}

void Subscriptions::add(const Record &record)
{
    const QMutexLocker locker(&m_mutex);
    const auto found = m_records.find(record->target());
    const std::size_t count = found == m_records.end() ? 0 : found->second->size();
    auto more = std::make_shared<std::vector<Record>>(count + 1, record);
    if (count > 0)
        std::copy(found->second->cbegin(), found->second->cend(), more->begin());
    m_records[record->target()] = std::move(more);
}

void Subscriptions::remove(const Record &record)
{
    const QMutexLocker locker(&m_mutex);
    const auto found = m_records.find(record->target());
    if (found == m_records.end())
        return; // the notifier is being destroyed
    Records &records = found->second;
    if (records->size() == 1) {
        if (records->front() == record)
            m_records.erase(found);
        return;
    }
    try {
        auto fewer = std::make_shared<std::vector<Record>>(records->size());
        fewer->erase(std::remove_copy(records->cbegin(), records->cend(), fewer->begin(), record),
                     fewer->end());
        records = std::move(fewer);
    } catch (const std::bad_alloc &) {
        // Not rethrown: the context may be in its destructor. The record stays, and is skipped.
    }
}

// The notifier is being destroyed. Waits for deliveries that read from the manager.
void Subscriptions::close()
{
    {
        const std::unique_lock locker(m_readLock);
        m_settings = nullptr;
    }
    decltype(m_records) ended;
    {
        const QMutexLocker locker(&m_mutex);
        ended.swap(m_records);
    }
    for (const auto &[target, records] : ended) {
        for (const Record &record : *records)
            record->end();
    }
}

// The subscriptions that a change of the setting concerns, in the order of their calls.
std::array<Records, 3> Subscriptions::find(const Key &key) const
{
    const std::array<Target, 3> targets{Target{Scope::Setting, key},
                                        Target{Scope::Group, {key.first, {}}},
                                        Target{Scope::All, {}}};
    std::array<Records, 3> result;
    const QMutexLocker locker(&m_mutex);
    std::transform(targets.cbegin(), targets.cend(), result.begin(), [this](const Target &target) {
        const auto found = m_records.find(target);
        return found == m_records.cend() ? Records() : found->second;
    });
    return result;
}

// The origin of the setting after the change that a handler was notified of. False if another thread
// has changed the setting since: its own notification comes later, or came before.
bool Subscriptions::findOrigin(SettingsType type, const Key &key, const QVariant &value,
                               Origin *origin) const
{
    // The manager calls this, so it is alive. The thread may create layers or only write to them.
    if (mayNameLayers()) {
        *origin = originOf(*m_settings, key.first, key.second);
        return true;
    }
    if (!m_settings->contains(key.first, key.second)) {
        origin->reset();
        return true;
    }
    // An uncovered value is notified as text. Two values that have neither text nor comparison
    // count as equal.
    const QVariant effective = m_settings->value(key.first, key.second);
    *origin = type;
    return value.isValid()
            && (areSame(effective, value) || effective.toString() == value.toString());
}

// Reads the value of a change and, where layers may be named, its origin. False if the notifier is
// gone.
bool Subscriptions::read(Change *change) const
{
    const std::shared_lock locker(m_readLock);
    if (!m_settings)
        return false;
    if (mayNameLayers())
        change->origin = originOf(*m_settings, change->group, change->key);
    if (auto held = heldValue(*m_settings, change->group, change->key))
        change->value = *std::move(held);
    else
        change->origin.reset();
    return true;
}

QVariant Subscriptions::value(const Key &key) const
{
    const std::shared_lock locker(m_readLock);
    return m_settings ? m_settings->value(key.first, key.second) : QVariant();
}

class ChangeNotifierPrivate final : public IConfigurationChangeHandler
{
public:
    explicit ChangeNotifierPrivate(ConfigurationManager *manager)
        : settings(manager), subscriptions(std::make_shared<Subscriptions>(manager))
    {
        settings->appendConfigurationHandler(this);
    }
    ~ChangeNotifierPrivate() override
    {
        settings->removeConfigurationHandler(this);
        subscriptions->close();
    }

    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        // A function may change the variables behind the references, or destroy the notifier.
        const Key changed(group, key);
        const std::array<Records, 3> found = subscriptions->find(changed);
        if (!found[0] && !found[1] && !found[2])
            return;
        Origin origin;
        if (!subscriptions->findOrigin(type, changed, value, &origin))
            return;
        forEach(found, [&](SubscriptionRecord &record) { record.mark(changed, origin); });
        forEach(found, [&](SubscriptionRecord &record) { record.dispatch(changed); });
    }

    Subscription subscribe(Target target, QObject *context, ChangeNotifier::Function function)
    {
        const auto record = std::make_shared<SubscriptionRecord>(subscriptions, std::move(target),
                                                                 context, std::move(function));
        record->start();
        return Subscription(record);
    }

    ConfigurationManager *const settings;
    const std::shared_ptr<RejectedValues> rejected = std::make_shared<RejectedValues>();

private:
    Q_DISABLE_COPY_MOVE(ChangeNotifierPrivate)

    template <typename Function>
    static void forEach(const std::array<Records, 3> &found, const Function &function)
    {
        for (const Records &records : found) {
            for (std::size_t i = 0; records && i < records->size(); ++i)
                function(*records->at(i));
        }
    }

    const std::shared_ptr<Subscriptions> subscriptions;
};

Subscription::Subscription() noexcept = default;
Subscription::Subscription(std::weak_ptr<SubscriptionRecord> record) noexcept
    : m_record(std::move(record))
{
}
Subscription::Subscription(const Subscription &other) noexcept = default;
Subscription::Subscription(Subscription &&other) noexcept = default;
Subscription &Subscription::operator=(const Subscription &other) noexcept = default;
Subscription &Subscription::operator=(Subscription &&other) noexcept = default;
Subscription::~Subscription() = default;

void Subscription::drop()
{
    if (const Record record = m_record.lock())
        record->end();
}

ChangeNotifier::ChangeNotifier(ConfigurationManager *settings)
    : d(std::make_unique<ChangeNotifierPrivate>(settings))
{
}

ChangeNotifier::~ChangeNotifier() = default;

ConfigurationManager *ChangeNotifier::settings() const noexcept
{
    return d->settings;
}

// Shared by all Settings, so that together they warn only once.
std::shared_ptr<RejectedValues> ChangeNotifier::rejectedValues() const
{
    return d->rejected;
}

Subscription ChangeNotifier::subscribe(const QString &group, const QString &key, QObject *context,
                                       Function function)
{
    return d->subscribe({Scope::Setting, {group, key}}, context, std::move(function));
}

Subscription ChangeNotifier::subscribeGroup(const QString &group, QObject *context,
                                            Function function)
{
    return d->subscribe({Scope::Group, {group, {}}}, context, std::move(function));
}

Subscription ChangeNotifier::subscribeAll(QObject *context, Function function)
{
    return d->subscribe({Scope::All, {}}, context, std::move(function));
}

} // namespace tamsel::host

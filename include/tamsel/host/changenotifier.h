// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_CHANGENOTIFIER_H
#define TAMSEL_HOST_CHANGENOTIFIER_H

#include <tamsel/host/hostglobal.h>
#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>
#include <memory>
#include <optional>

QT_BEGIN_NAMESPACE
class QObject;
QT_END_NAMESPACE

namespace tamsel {
class ConfigurationManager;
} // namespace tamsel

namespace tamsel::host {

class ChangeNotifierPrivate;
class RejectedValues;
class SubscriptionRecord;

/*! \brief What a subscriber gets: a setting as a reader finds it now. */
struct Change
{
    QString group; //!< The group of the setting.
    QString key; //!< The key of the setting.
    QVariant value; //!< The effective value as it is stored; invalid if no layer holds the setting.
    std::optional<SettingsType> origin; //!< The layer of the value; none if no layer holds it.
};

/*!
 * \brief A handle to what ChangeNotifier::subscribe() made.
 *
 * It may be copied, moved, and ignored: a subscription ends with its context, with its notifier, or
 * with drop(), not with the handle.
 *
 * \par Ownership
 * Owns nothing. A handle may outlive the subscription, its context and its notifier.
 * \par Threads
 * drop() may be called from any thread. Two threads must not assign to one handle at once.
 * \par Failure
 * There is none.
 */
class TAMSEL_HOST_EXPORT Subscription
{
public:
    /*! \brief A handle to no subscription. */
    Subscription() noexcept;
    /*! \cond */
    Subscription(const Subscription &other) noexcept;
    Subscription(Subscription &&other) noexcept;
    Subscription &operator=(const Subscription &other) noexcept;
    Subscription &operator=(Subscription &&other) noexcept;
    /*! \endcond */
    /*! \brief The subscription stays. */
    ~Subscription();

    /*!
     * \brief Ends the subscription; nothing happens if it has ended.
     *
     * If drop() runs on the thread of the context, the function is not called again; a running call
     * continues to its end. If it runs on another thread, one more call may be under way.
     */
    void drop();

private:
    friend class ChangeNotifierPrivate;
    explicit Subscription(std::weak_ptr<SubscriptionRecord> record) noexcept;

    std::weak_ptr<SubscriptionRecord> m_record;
};

/*!
 * \brief Calls functions, on the threads of their objects, when settings change.
 *
 * One notifier serves a whole process. Make it before the first layer. It appends itself to the
 * manager as a handler; its destructor removes it.
 *
 * \code
 * tamsel::host::ChangeNotifier notifier(&settings);
 * QObject menu;
 * notifier.subscribe(u"ui"_s, u"lang"_s, &menu, [](const tamsel::host::Change &change) {
 *     qInfo() << "the language is now" << change.value.toString();
 * });
 * \endcode
 *
 * A subscription is for one setting, for a group, or for everything. Each has a context and a
 * function. A change on the thread of the context calls the function before the changing call
 * returns. A change on another thread posts an event to the context.
 *
 * The function gets the effective value at the time of the call, as ConfigurationManager::value()
 * returns it. A value that a removal uncovers has its own type. The last call always has the last
 * value. Several changes made while an event is pending, or inside a function, may result in one
 * call.
 *
 * A function for one setting is not called if the value is equal to the one it got last or, before
 * the first call, to the one at the time of the subscription. Equal means of the same type and
 * equal as QVariant compares them; a value of a custom type without comparison equals none. A new
 * origin alone calls nothing. Subscribe first, then read the setting. Functions for a group or for
 * everything are called for every notification; \ref unnotified "some" come without a change.
 *
 * No subscriber sees what the manager does not notify: an invalid value that is written, a file
 * that another program changed, and the other \ref unnotified "exceptions".
 *
 * Functions are called in this order: those for the setting, for its group, for everything; each
 * kind in the order of subscription.
 *
 * \par Ownership
 * The manager is borrowed and must outlive the notifier. A context is borrowed: the subscription
 * ends with it. The function is destroyed some time after the subscription has ended.
 * \par Threads
 * subscribe(), subscribeGroup(), subscribeAll() and Subscription::drop() may be called from any
 * thread, in a function too. A context may be moved to another thread. It may be destroyed on its
 * own thread at any time, but not while subscribe() is called with it. If it has called
 * QObject::disconnect() for all its signals, destroy it while no other thread changes settings. No
 * lock is held while a function runs.
 * \par
 * Create, replace and clear layers on the thread that made the notifier, which looks up origins
 * there. While several threads change one setting, the origin may be that of an earlier change.
 * \par
 * Make and destroy the notifier while no other thread makes a change, as for every handler. Once
 * the destructor has returned, no function is called any more; one may still be running on another
 * thread.
 * \par Failure
 * An exception that a function throws reaches the caller that made the change, or the event loop;
 * the functions after it are not called until the next change.
 */
class TAMSEL_HOST_EXPORT ChangeNotifier
{
public:
    /*! \brief What a subscription calls. */
    using Function = std::function<void(const Change &change)>;

    /*! \brief A notifier for \a settings, which is borrowed and not null. */
    explicit ChangeNotifier(ConfigurationManager *settings);
    /*! \brief Ends all subscriptions and removes the handler. */
    ~ChangeNotifier();

    /*! \brief The manager that the notifier was made for. */
    [[nodiscard]] ConfigurationManager *settings() const noexcept;

    /*! \brief Calls \a function on the thread of \a context when \a group / \a key changes. */
    Subscription subscribe(const QString &group, const QString &key, QObject *context,
                           Function function);
    /*! \brief As subscribe(), for every setting whose group is \a group. */
    Subscription subscribeGroup(const QString &group, QObject *context, Function function);
    /*! \brief As subscribe(), for every setting. */
    Subscription subscribeAll(QObject *context, Function function);

private:
    Q_DISABLE_COPY_MOVE(ChangeNotifier)

    friend class SettingBase;
    std::shared_ptr<RejectedValues> rejectedValues() const;

    const std::unique_ptr<ChangeNotifierPrivate> d;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_CHANGENOTIFIER_H

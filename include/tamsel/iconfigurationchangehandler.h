// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_ICONFIGURATIONCHANGEHANDLER_H
#define TAMSEL_ICONFIGURATIONCHANGEHANDLER_H

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace tamsel {

/*!
 * \brief Is notified when an effective value changes.
 *
 * Every registered handler is notified of each change of an effective value or of its origin.
 * Notifications are never queued and never coalesced.
 *
 * \anchor unnotified
 * \par Changes that are not notified
 * - An invalid value is written, or is the only new value of a layer that is created or replaced.
 * - A layer is replaced, and its new value equals the old one but has another type, such as 5 and
 *   "5".
 * - A file layer reads its file again because another process changed it, or is replaced after
 *   that. ConfigurationManager::clearStorage() and then initStorage() do notify.
 * - The file of a layer is changed through another QSettings of this process, or another manager:
 *   all of them share its content.
 * - A removal from a file layer also removes the settings below it, see
 *   ConfigurationManager::removeValue().
 * - Two keys address one entry of a file, such as ("a", "b/c") and ("a/b", "c"): only the key that
 *   was used for the change is notified.
 * - A file layer is created, replaced or cleared, and a full key in its file has several slashes or
 *   none. The key that is notified consists of the first and the last part: ("a", "c") for
 *   `a/b/c`, ("k", "k") for `k`.
 *
 * \par Notifications without a change
 * - A layer is replaced, and at least two of its keys are new, changed or overridden: the
 *   overridden ones are notified too.
 * - A key is notified by its first and last part, as in the last point of the first list: the layer
 *   does not hold that key.
 *
 * The same interface connects a layer to its manager. AbstractStorage::notify() calls it for every
 * change of that layer. The manager then notifies the registered handlers if an effective value or
 * its origin changed.
 *
 * \par Ownership
 * Borrowed. The manager never deletes a handler; remove it from the manager before it is destroyed.
 * \par Threads
 * Called on the thread that made the change, before the changing call returns, with no lock of the
 * library held. If several threads make changes, they call it at the same time.
 * \par
 * A handler may read and write settings, create, replace and clear layers, and append and remove
 * handlers, itself included. But a file layer belongs to one thread, see ConfigurationManager:
 * create, replace or clear it here only if all changes are made on that thread.
 * \par Failure
 * There is no result. An exception that an implementation throws reaches the caller that made the
 * change; the handlers after it are not notified of that change.
 * \sa ConfigurationManager::appendConfigurationHandler()
 */
class TAMSEL_EXPORT IConfigurationChangeHandler
{
public:
    /*! \brief The library never deletes a handler of the host. */
    virtual ~IConfigurationChangeHandler();

    /*!
     * \brief The effective value of \a group / \a key is now \a value, and its origin the layer
     * \a type.
     *
     * - If no layer holds the setting any more, \a value is invalid, and \a type is the layer that
     *   lost it.
     * - If a removal left a lower layer as the origin, \a value is its value as a QString, whatever
     *   type the layer stores.
     * - If a layer was created or replaced with several new values, each is notified with the value
     *   that this layer holds. It may be invalid and, after a replacement, overridden.
     *
     * While other threads make changes, a notification may be out of date when it arrives.
     * ConfigurationManager::value() returns the effective value.
     */
    virtual void onValueChanged(SettingsType type, const QString &group, const QString &key,
                                const QVariant &value)
            = 0;
};

} // namespace tamsel

#endif // TAMSEL_ICONFIGURATIONCHANGEHANDLER_H

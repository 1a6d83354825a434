// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_ICONFIGURATIONCHANGEHANDLER_H
#define TAMSEL_ICONFIGURATIONCHANGEHANDLER_H

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace tamsel {

/*!
 * \brief Hears about every change of a value that readers can see.
 *
 * The same interface joins a layer to its manager: AbstractStorage::notify() calls it for every
 * change of that layer, the manager passes on those that alter what a reader gets.
 *
 * \par Ownership
 * Borrowed. The manager never deletes a handler; withdraw it before it dies.
 * \par Threads
 * Runs on the thread that made the change, before the changing call returns, with no lock of the
 * library held: reading and writing settings here is fine, and so are creating, replacing and
 * clearing layers and appending or removing handlers, this one included. Where several threads make
 * changes, several are in here at once.
 * \par Failure
 * There is no result; what an implementation throws reaches the writer, and the handlers behind it
 * are not called for that change.
 * \sa ConfigurationManager::appendConfigurationHandler()
 */
class TAMSEL_EXPORT IConfigurationChangeHandler
{
public:
    virtual ~IConfigurationChangeHandler();

    /*!
     * \brief The layer \a type now answers for \a group / \a key with \a value.
     *
     * An invalid \a value says that no layer holds the pair any more; \a type is then the layer
     * that lost it. When a removal uncovers the value of a lower layer, \a type is that layer and
     * \a value its value as a QString, whatever type the layer stores. A layer that is registered
     * or replaced with several pairs at once reports each with the value it holds, which may be an
     * invalid QVariant too, or, after a replacement, one that a higher layer hides. Where other
     * threads make changes too, a report may be out of date when it comes.
     * ConfigurationManager::value() tells what a reader gets.
     */
    virtual void onValueChanged(SettingsType type, const QString &group, const QString &key,
                                const QVariant &value)
            = 0;
};

} // namespace tamsel

#endif // TAMSEL_ICONFIGURATIONCHANGEHANDLER_H

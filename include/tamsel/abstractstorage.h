// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_ABSTRACTSTORAGE_H
#define TAMSEL_ABSTRACTSTORAGE_H

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <utility>

namespace tamsel {

class IConfigurationChangeHandler;
class ILogger;

/*! \brief Keys of settings, each as a group and a key. */
using KeyList = QList<std::pair<QString, QString>>;

/*!
 * \brief The base of every layer: holds settings and notifies of their changes.
 *
 * The base class refuses every write and removal with one message to ILogger::error(). A writable
 * layer overrides setValue() and remove(), and calls notify() after each change.
 *
 * \par Ownership
 * The change handler and the logger are borrowed and must outlive the layer. The handler may be
 * null; notify() then does nothing. The logger may be null only if no write or removal can be
 * refused.
 * \par Threads
 * The base class has no lock, and its members never change. The manager calls contains() and
 * value() on any thread while it holds its own lock: these two must never call the manager.
 * \par Failure
 * Nothing here fails. A refused write or removal is only logged.
 */
class TAMSEL_EXPORT AbstractStorage
{
public:
    /*! \brief Only keeps its arguments. */
    AbstractStorage(SettingsType type, IConfigurationChangeHandler *handler,
                    ILogger *logger) noexcept;
    /*! \brief Called by the manager that owns the layer. */
    virtual ~AbstractStorage();

    /*! \brief Whether the layer is usable, see ConfigurationManager::storageAvailable(). */
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /*! \brief Whether the layer holds \a group / \a key; its value may be invalid. */
    [[nodiscard]] virtual bool contains(const QString &group, const QString &key) const = 0;
    /*! \brief The layer's value for \a group / \a key; call it only if contains() is \c true. */
    [[nodiscard]] virtual QVariant value(const QString &group, const QString &key) const = 0;
    /*!
     * \brief Stores \a value for \a group / \a key.
     *
     * The base class only logs "The storage doesn't support writing!".
     */
    virtual void setValue(const QString &group, const QString &key, const QVariant &value);
    /*!
     * \brief Removes \a group / \a key.
     *
     * The base class only logs "The storage doesn't support removing!".
     */
    virtual void remove(const QString &group, const QString &key);
    /*! \brief Every key that the layer holds now; a snapshot. */
    [[nodiscard]] virtual KeyList keys() const = 0;

    /*! \brief The layer that this storage implements. */
    [[nodiscard]] SettingsType type() const noexcept { return m_type; }
    /*! \brief The logger given to the constructor; borrowed. */
    [[nodiscard]] ILogger *logger() const noexcept { return m_logger; }

protected:
    /*!
     * \brief Notifies the change handler that the layer now holds \a value for \a group / \a key.
     *
     * An invalid \a value means that the setting was removed from this layer. Without a handler
     * nothing happens.
     *
     * Runs on the caller's thread and takes no lock. Release your own lock first, because the
     * handler may call this layer. It may also make the manager delete this layer, so call notify()
     * as the last step of a change.
     */
    void notify(const QString &group, const QString &key, const QVariant &value);

private:
    Q_DISABLE_COPY_MOVE(AbstractStorage)

    const SettingsType m_type;
    IConfigurationChangeHandler *const m_handler;
    ILogger *const m_logger;
};

} // namespace tamsel

#endif // TAMSEL_ABSTRACTSTORAGE_H

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

/*! \brief (group, key) pairs, group first. */
using KeyList = QList<std::pair<QString, QString>>;

/*!
 * \brief The base of every layer: holds values under (group, key) and reports their changes.
 *
 * The base refuses every write and removal with one message to ILogger::error(); a layer that can
 * be written overrides setValue() and remove() and calls notify() after each change.
 *
 * \par Ownership
 * The change handler and the logger are borrowed and have to outlive the layer. The handler may be
 * null: changes are then reported to nobody. The logger is not checked: a layer on which a refusal
 * can happen needs one.
 * \par Threads
 * The base locks nothing and its three members never change. The manager calls contains() and
 * value() from any thread while it holds its own lock, so an implementation of those two must never
 * call the manager.
 * \par Failure
 * Nothing here fails; a refused write or removal is only logged.
 */
class TAMSEL_EXPORT AbstractStorage
{
public:
    /*! Keeps the three arguments and does nothing else. */
    AbstractStorage(SettingsType type, IConfigurationChangeHandler *handler,
                    ILogger *logger) noexcept;
    virtual ~AbstractStorage();

    /*! Whether the layer is usable at all. */
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /*! Whether the layer holds a value, be it an invalid one, for \a group / \a key. */
    [[nodiscard]] virtual bool contains(const QString &group, const QString &key) const = 0;
    /*! The layer's value for \a group / \a key; to be asked only where contains() is true. */
    [[nodiscard]] virtual QVariant value(const QString &group, const QString &key) const = 0;
    /*! Stores \a value. Here: logs "The storage doesn't support writing!" and changes nothing. */
    virtual void setValue(const QString &group, const QString &key, const QVariant &value);
    /*! Deletes the pair. Here: logs "The storage doesn't support removing!" and changes nothing. */
    virtual void remove(const QString &group, const QString &key);
    /*! Every pair that the layer holds now; a snapshot. */
    [[nodiscard]] virtual KeyList keys() const = 0;

    /*! The layer that this storage implements. */
    [[nodiscard]] SettingsType type() const noexcept { return m_type; }
    /*! The logger given to the constructor; borrowed. */
    [[nodiscard]] ILogger *logger() const noexcept { return m_logger; }

protected:
    /*!
     * \brief Tells the change handler that \a group / \a key now holds \a value; an invalid
     * \a value says that the pair was removed. Without a handler nothing happens.
     *
     * Runs on the caller's thread and takes no lock. Release your own lock first: the handler may
     * come back to this layer. It may even make the manager delete this layer, so let it be the
     * last thing that a change does.
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

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_CONFIGURATIONMANAGER_H
#define TAMSEL_CONFIGURATIONMANAGER_H

#include <tamsel/settingstype.h>

#include <QtCore/QMap>
#include <QtCore/QMetaObject>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <memory>

namespace tamsel {

class ConfigurationManagerPrivate;
class IConfigurationChangeHandler;
class ILogger;

/*!
 * \brief Holds every setting of a process in up to eight layers; the main class of the library.
 *
 * A setting is addressed by a group and a key. Its effective value is the value of the first layer
 * that holds it, in the order of #storagePriority; this layer is its origin. A write or a removal
 * changes the one layer that it names.
 *
 * Handlers are notified of each change of an effective value or of its origin. This happens on the
 * thread that made the change, before the changing call returns. IConfigurationChangeHandler lists
 * the \ref unnotified "exceptions". The manager logs each such change first, except those of
 * \c FeatureKeys and \c RavonaConfDefault.
 *
 * \code
 * const QVariantMap arguments = tamsel::commandLineArgs::parse(); // first: it may end the process
 *
 * tamsel::ConfigurationManager settings(&logger);
 * settings.setPersistentStoragePath(u"/data/config/"_s); // both prefixes end with "/"
 * settings.setAssetsPrefix(u"/usr/share/box/"_s);
 * settings.initStorage(tamsel::SettingsType::Runtime); // the highest precedence first
 * settings.initStorage(tamsel::SettingsType::CommandLineArgs, arguments);
 * settings.initStorage(tamsel::SettingsType::RavonaConfDefault);
 *
 * settings.setValue(u"ui"_s, u"lang"_s, u"en"_s, tamsel::SettingsType::Runtime);
 * const QString language = settings.value(u"ui"_s, u"lang"_s, u"ru"_s).toString();
 * \endcode
 *
 * \par Ownership
 * The manager owns its layers. The logger and the handlers are borrowed: the manager never deletes
 * them. The logger must outlive the manager. So must each handler, unless it is removed first.
 * \par Threads
 * value(), contains(), setValue(), removeValue() and storageAvailable() may be called from any
 * thread. So may initStorage() and clearStorage(), as long as no other thread names the same layer
 * in a call at the same time.
 * \par
 * A file layer is a QSettings. Create, replace, clear and destroy it on one thread, the one whose
 * event loop is to write the file. This holds for a handler too, which runs on the thread that made
 * the change.
 * \par
 * Set the paths while no other thread uses the manager, and append and remove handlers while no
 * other thread makes a change. Destruction must not overlap any other call.
 * \par Failure
 * No function throws an exception of its own or returns an error. If a call names a layer that does
 * not exist, it does nothing or returns \c false. A refused write or removal sends one message to
 * ILogger::error().
 */
class TAMSEL_EXPORT ConfigurationManager
{
    Q_GADGET
public:
    /*!
     * \brief A manager without layers.
     *
     * \a logger is borrowed. It may be null only if no layer is ever created or cleared, because
     * both are logged.
     */
    explicit ConfigurationManager(ILogger *logger);
    /*!
     * \brief Deletes the layers; changed files are written.
     *
     * Nothing is logged, and no handler is called. \c exit() does not destroy a manager that is a
     * local variable.
     */
    ~ConfigurationManager();

    /*!
     * \brief Sets the text in front of the names of the writable files, "custom.conf" and
     * "selvi.db".
     *
     * File names are appended to \a path unchanged, so it has to end with "/". It takes effect when
     * a layer is created or replaced; existing layers keep their file. Not synchronised: set it
     * during start-up.
     */
    void setPersistentStoragePath(const QString &path);
    /*! \brief The text set by setPersistentStoragePath(), unchanged; empty by default. */
    [[nodiscard]] QString persistentStoragePath() const;
    /*! \brief As setPersistentStoragePath(), but for the shipped "ravona.conf". */
    void setAssetsPrefix(const QString &prefix);
    /*! \brief persistentStoragePath() with "startup_screen/" appended. It need not exist. */
    [[nodiscard]] QString startupScreenDirPath() const;

    /*!
     * \brief The effective value of \a group / \a key as it is stored, or \a defaultValue if no
     * layer holds the setting.
     *
     * If the origin holds an invalid value, the result is invalid, not \a defaultValue. Converting
     * the result does not use \a defaultValue either. QVariant::toInt() converts a text that is not
     * a number to 0, and QVariant::toBool() converts "off" to \c true.
     */
    [[nodiscard]] QVariant value(const QString &group, const QString &key,
                                 const QVariant &defaultValue = {}) const;
    /*! \brief Whether any layer holds \a group / \a key. */
    [[nodiscard]] bool contains(const QString &group, const QString &key) const;
    /*! \brief Whether the layer \a type holds \a group / \a key. */
    [[nodiscard]] bool contains(const QString &group, const QString &key, SettingsType type) const;
    /*!
     * \brief Writes \a value into the layer \a type.
     *
     * Without such a layer nothing happens. A value that equals the stored one is not written;
     * QVariant compares them, so "5" equals 5. Read-only layers, and file layers whose file is not
     * writable, refuse with a message to ILogger::error().
     *
     * An invalid value is stored but not notified. A file layer stores it only if it holds the
     * setting.
     *
     * A file holds text: after the file is read again, a bool or a number is a QString. \c short,
     * \c long and \c char, signed or unsigned, are written as `@Variant` and keep their type.
     */
    void setValue(const QString &group, const QString &key, const QVariant &value,
                  SettingsType type);
    /*!
     * \brief Removes \a group / \a key from the layer \a type.
     *
     * Nothing happens if there is no such layer or it does not hold the setting. Read-only layers
     * that hold it, and file layers whose file is not writable, refuse with a message to
     * ILogger::error().
     *
     * In a file layer this also removes every setting whose full key starts with `group/key/`;
     * those removals are not notified. If the group or the key is empty, the other one alone is the
     * full key:
     * - If the file holds the full key `ui`, ("", "ui") and ("ui", "") remove the whole group "ui".
     * - If it holds the empty key, ("", "") removes the content of the whole file.
     */
    void removeValue(const QString &group, const QString &key, SettingsType type);
    /*!
     * \brief Whether the layer \a type exists and, for a file layer, no read or write has failed.
     *
     * A missing file is not a failure.
     */
    [[nodiscard]] bool storageAvailable(SettingsType type) const;

    /*!
     * \brief Creates or replaces the layer \a type and notifies of the effective values that
     * change.
     *
     * \a values is a map of group name to QVariantMap. \c CommandLineArgs, \c Rdm and
     * \c FeatureKeys take their contents from it. The other layers ignore it: \c SystemProperties
     * and \c Runtime start empty, and the file layers read their file. A \a type outside the
     * enumeration is ignored.
     *
     * A group may be of any type that QVariant converts to QVariantMap. The conversion runs in
     * every lookup of the group, with the lock of the manager held: it must not call the manager.
     */
    void initStorage(SettingsType type, const QMap<QString, QVariant> &values = {});
    /*!
     * \brief Removes the layer \a type and notifies, key by key, of the effective values that
     * change.
     *
     * If the layer does not exist, ILogger::warning() gets a message.
     */
    void clearStorage(SettingsType type);

    /*!
     * \brief Registers \a handler, which is borrowed and not null, after all others.
     *
     * Appending a registered handler again has no effect. A handler that is appended during a
     * notification is first called for the next change. Returns \c true.
     */
    bool appendConfigurationHandler(IConfigurationChangeHandler *handler);
    /*!
     * \brief Removes \a handler; returns \c false if it was not registered.
     *
     * A handler that is removed during a notification is not called again.
     */
    bool removeConfigurationHandler(IConfigurationChangeHandler *handler);

private:
    Q_DISABLE_COPY_MOVE(ConfigurationManager)

    const std::unique_ptr<ConfigurationManagerPrivate> d;
};

/*!
 * \brief The manager that the host published for its user interface; null if there is none.
 *
 * The pointer is not owned, not synchronised, and not cleared when the manager is destroyed:
 * publish null before that.
 */
[[nodiscard]] TAMSEL_EXPORT ConfigurationManager *qmlConfigManager() noexcept;
/*!
 * \brief Publishes \a manager, or null, in place of the one published before.
 *
 * It stays the caller's. Not synchronised: publish it before other threads call
 * qmlConfigManager().
 */
TAMSEL_EXPORT void setQmlConfigManager(ConfigurationManager *manager) noexcept;

} // namespace tamsel

#endif // TAMSEL_CONFIGURATIONMANAGER_H

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
 * \brief Holds every setting of a process in up to eight layers; the one entry point.
 *
 * A read asks the layers in the order of #storagePriority and answers from the first one that holds
 * the pair. A write or a removal goes to the one layer it names. Whenever the value that a reader
 * would see changes, the manager calls every registered handler, on the thread that made the change
 * and before the changing call returns; setValue() and removeValue() name the two exceptions. It
 * also logs the change, except those of \c FeatureKeys and \c RavonaConfDefault.
 *
 * \code
 * tamsel::ConfigurationManager settings(&logger);
 * settings.setPersistentStoragePath(u"/data/config/"_s); // both prefixes end with "/"
 * settings.setAssetsPrefix(u"/usr/share/box/"_s);
 * settings.initStorage(tamsel::SettingsType::RavonaConfDefault);
 * settings.initStorage(tamsel::SettingsType::CommandLineArgs, tamsel::commandLineArgs::parse());
 * settings.initStorage(tamsel::SettingsType::Runtime);
 *
 * settings.setValue(u"ui"_s, u"lang"_s, u"en"_s, tamsel::SettingsType::Runtime);
 * const QString language = settings.value(u"ui"_s, u"lang"_s, u"ru"_s).toString();
 * \endcode
 *
 * \par Ownership
 * The manager owns its layers. The logger and the handlers are borrowed: they are never deleted and
 * have to stay alive as long as the manager can call them.
 * \par Threads
 * value(), contains(), setValue(), removeValue() and storageAvailable() may be called from any
 * thread, and so may initStorage() and clearStorage() as long as no other thread writes to, removes
 * from, asks for, creates or clears that very layer at the same time. A file layer is a QSettings:
 * create, replace, clear and destroy it on one thread, the one whose event loop is to write the
 * file. The paths and the handlers are to be set while no other thread uses the manager.
 * Destruction must not overlap any other call.
 * \par Failure
 * No call throws of its own accord and none returns an error: a call to a layer that does not exist
 * does nothing, or answers \c false or the default; a refused write or removal leaves one message
 * at ILogger::error().
 */
class TAMSEL_EXPORT ConfigurationManager
{
    Q_GADGET
public:
    /*!
     * \brief A manager without layers.
     *
     * \a logger is borrowed. Null is only for a manager that never logs: creating or clearing a layer
     * always does.
     */
    explicit ConfigurationManager(ILogger *logger);
    /*! Deletes the layers; changed files are written back. Nothing is logged or reported. */
    ~ConfigurationManager();

    /*!
     * \brief Sets the text in front of the names of the writable files, "custom.conf" and
     * "selvi.db".
     *
     * Names are appended as they are, so \a path has to end with "/". It is used when a layer is
     * created; layers that exist stay where they are. Not synchronised: set it during start-up.
     */
    void setPersistentStoragePath(const QString &path);
    /*! The text set by setPersistentStoragePath(), unchanged; empty before. */
    [[nodiscard]] QString persistentStoragePath() const;
    /*! As setPersistentStoragePath(), for the shipped "ravona.conf". */
    void setAssetsPrefix(const QString &prefix);
    /*! persistentStoragePath() with "startup_screen/" appended, whether it exists or not. */
    [[nodiscard]] QString startupScreenDirPath() const;

    /*!
     * \brief The value that the uppermost layer holding \a group / \a key has for it, as stored;
     * \a defaultValue if no layer holds the pair.
     *
     * A layer that holds an invalid QVariant for the pair answers with it: holding the pair counts,
     * not the value.
     */
    [[nodiscard]] QVariant value(const QString &group, const QString &key,
                                 const QVariant &defaultValue = {}) const;
    /*! Whether any layer holds \a group / \a key. */
    [[nodiscard]] bool contains(const QString &group, const QString &key) const;
    /*! Whether the layer \a type holds \a group / \a key. */
    [[nodiscard]] bool contains(const QString &group, const QString &key, SettingsType type) const;
    /*!
     * \brief Writes \a value into the layer \a type.
     *
     * Without such a layer nothing happens. An equal value is not written again. Read-only layers,
     * and file layers whose file is not writable, refuse with a message to ILogger::error(). An
     * invalid value is stored and not reported; a file layer that does not hold the pair takes it for
     * equal.
     */
    void setValue(const QString &group, const QString &key, const QVariant &value,
                  SettingsType type);
    /*!
     * \brief Deletes \a group / \a key from the layer \a type.
     *
     * Nothing happens if there is no such layer or the layer does not hold the pair. Read-only
     * layers that hold it, and file layers whose file is not writable, refuse with a message to
     * ILogger::error(). From a file go the pairs below the pair as well, those whose key begins with
     * \a key and "/"; they are not reported.
     */
    void removeValue(const QString &group, const QString &key, SettingsType type);
    /*!
     * \brief Whether the layer \a type exists and has met no error with its file, if it has one,
     * neither in reading nor in writing back. A file that is not there is no error.
     */
    [[nodiscard]] bool storageAvailable(SettingsType type) const;

    /*!
     * \brief Creates the layer \a type, or replaces it by a new one, and reports what readers see
     * changed.
     *
     * \a values is a map of group name to QVariantMap. \c CommandLineArgs, \c Rdm and
     * \c FeatureKeys take their contents from it; \c SystemProperties and \c Runtime start empty and
     * the file layers read their file, whatever \a values holds. A value outside the enumeration is
     * ignored.
     *
     * A group may be a type that QVariant converts to QVariantMap. The conversion runs at every look
     * into the group, with the lock of the manager held: it must not call the manager.
     */
    void initStorage(SettingsType type, const QMap<QString, QVariant> &values = {});
    /*!
     * \brief Removes the layer \a type and reports, key by key, what readers see changed.
     *
     * A layer that does not exist is mentioned to ILogger::warning().
     */
    void clearStorage(SettingsType type);

    /*!
     * \brief Registers \a handler, which is borrowed and not null, behind those registered before.
     *
     * A handler is registered once however often it is appended. One that is appended from inside
     * a notification is first called for the next change. Returns \c true.
     */
    bool appendConfigurationHandler(IConfigurationChangeHandler *handler);
    /*!
     * \brief Withdraws \a handler; \c false if it was not registered.
     *
     * From inside a notification too: a withdrawn handler is not called again.
     */
    bool removeConfigurationHandler(IConfigurationChangeHandler *handler);

private:
    Q_DISABLE_COPY_MOVE(ConfigurationManager)

    const std::unique_ptr<ConfigurationManagerPrivate> d;
};

/*!
 * \brief The manager that the host published for the user-interface layer; null before.
 *
 * The pointer is not owned, not synchronised, and not cleared when the manager dies: publish null
 * before that.
 */
[[nodiscard]] TAMSEL_EXPORT ConfigurationManager *qmlConfigManager() noexcept;
/*!
 * \brief Publishes \a manager, or null, in place of the one published before.
 *
 * It stays the caller's, and is not synchronised: publish before other threads ask.
 */
TAMSEL_EXPORT void setQmlConfigManager(ConfigurationManager *manager) noexcept;

} // namespace tamsel

#endif // TAMSEL_CONFIGURATIONMANAGER_H

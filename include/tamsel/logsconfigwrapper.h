// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_LOGSCONFIGWRAPPER_H
#define TAMSEL_LOGSCONFIGWRAPPER_H

#include <tamsel/settingstype.h>

#include <QtCore/QHash>
#include <QtCore/QString>

#include <memory>

namespace logging {
/*!
 * \brief The host's log levels.
 *
 * The host's logging library defines the enumerators; only their numbers matter here, see
 * tamsel::LogsConfigWrapper::stringLevelToIntLevel(). A host without such a library defines them,
 * before or after it includes this header:
 *
 * \code
 * namespace logging {
 * enum Level : int { Critical = 0, Error = 1, Warning = 2, Info = 3, Debug = 4, Trace = 5 };
 * } // namespace logging
 * \endcode
 */
enum Level : int;
} // namespace logging

namespace tamsel {

class ConfigurationManager;
class LogsConfigWrapperPrivate;

/*!
 * \brief Typed access to the settings of the group "Logging".
 *
 * | Key                     | Read by                 | Default  |
 * |-------------------------|-------------------------|----------|
 * | "level"                 | level()                 | -1       |
 * | "blacklist"             | modulesBlacklist()      | empty    |
 * | "whitelist"             | modulesWhitelist()      | empty    |
 * | "jsonLengthLimit"       | jsonLengthLimit()       | -1       |
 * | "jsonFormattingEnabled" | jsonFormattingEnabled() | \c false |
 * | "imageRequestsEnabled"  | imageRequestsEnabled()  | \c false |
 *
 * Each read calls ConfigurationManager::value(), each write ConfigurationManager::setValue().
 * Nothing is cached: a wrapper is never out of date, and cheap to create where needed.
 *
 * QVariant converts the stored value. A text that is not a number reads as 0, not as the default.
 * Only the texts "false", in upper or lower case, "0" and "" read as \c false: "off", "no" and
 * "disabled" are \c true.
 *
 * \par Ownership
 * The manager is borrowed and must outlive the wrapper.
 * \par Threads
 * As ConfigurationManager. The static operations may be called from any thread.
 * \par Failure
 * No operation reports an error. A write that the layer refuses is logged by the layer.
 */
class TAMSEL_EXPORT LogsConfigWrapper
{
public:
    /*! \brief A wrapper for \a manager, which is borrowed and not null. */
    explicit LogsConfigWrapper(ConfigurationManager *manager);
    /*! \brief Does not touch the manager. */
    ~LogsConfigWrapper();

    /*!
     * \brief The verbosity, 0 to 5, or -1 if it is unset or a number outside that range.
     *
     * The stored value may be a number, a number as text, or a level name. Any other text is 0,
     * "critical". The number is converted to an int before its range is checked, so 4294967298
     * is 2.
     */
    [[nodiscard]] logging::Level level() const;
    /*! \brief Stores the number of \a level in the layer \a type, without a range check. */
    void setLevel(logging::Level level, SettingsType type);
    /*!
     * \brief The length at which JSON in the log is cut off.
     *
     * The host's logger defines the unit and the meaning of -1.
     */
    [[nodiscard]] int jsonLengthLimit() const;
    /*! \brief Stores \a limit in the layer \a type. */
    void setJsonLengthLimit(int limit, SettingsType type);
    /*! \brief Whether JSON in the log is to be formatted. */
    [[nodiscard]] bool jsonFormattingEnabled() const;
    /*! \brief Stores \a enabled in the layer \a type. */
    void setJsonFormattingEnabled(bool enabled, SettingsType type);
    /*! \brief Whether requests for images are to be logged. */
    [[nodiscard]] bool imageRequestsEnabled() const;
    /*! \brief Stores \a enabled in the layer \a type. */
    void setImageRequestsEnabled(bool enabled, SettingsType type);
    /*! \brief The modules that are not to be logged, as the text is stored. */
    [[nodiscard]] QString modulesBlacklist() const;
    /*! \brief The only modules that are to be logged, as the text is stored. */
    [[nodiscard]] QString modulesWhitelist() const;

    /*!
     * \brief The names of the levels and their numbers: "critical" 0, "error" 1, "warning" 2,
     * "info" 3, "debug" 4, "trace" 5.
     *
     * A lower number is more severe. The host's \c logging::Level uses the same numbers. Names are
     * case-sensitive.
     */
    [[nodiscard]] static const QHash<QString, int> &stringLevelToIntLevel() noexcept;
    /*! \brief The number of "critical". */
    [[nodiscard]] static int minLevel();
    /*! \brief The number of "trace". */
    [[nodiscard]] static int maxLevel();
    /*! \brief Whether \a level is at least minLevel() and at most maxLevel(). */
    [[nodiscard]] static bool isLevelValid(int level);

private:
    Q_DISABLE_COPY_MOVE(LogsConfigWrapper)

    const std::unique_ptr<LogsConfigWrapperPrivate> d;
};

} // namespace tamsel

#endif // TAMSEL_LOGSCONFIGWRAPPER_H

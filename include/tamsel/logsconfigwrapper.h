// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_LOGSCONFIGWRAPPER_H
#define TAMSEL_LOGSCONFIGWRAPPER_H

#include <tamsel/settingstype.h>

#include <QtCore/QHash>
#include <QtCore/QString>

#include <memory>

namespace logging {
/*! \brief The host's log levels. The host completes the type with enumerators of its own; only the
 *  numbers, those of tamsel::LogsConfigWrapper::stringLevelToIntLevel(), matter here. */
enum Level : int;
} // namespace logging

namespace tamsel {

class ConfigurationManager;
class LogsConfigWrapperPrivate;

/*!
 * \brief Typed access to the settings of the group "Logging".
 *
 * | Key                     | Read by                 | Without a value |
 * |-------------------------|-------------------------|-----------------|
 * | "level"                 | level()                 | -1              |
 * | "blacklist"             | modulesBlacklist()      | empty           |
 * | "whitelist"             | modulesWhitelist()      | empty           |
 * | "jsonLengthLimit"       | jsonLengthLimit()       | -1              |
 * | "jsonFormattingEnabled" | jsonFormattingEnabled() | \c false        |
 * | "imageRequestsEnabled"  | imageRequestsEnabled()  | \c false        |
 *
 * Each read is one ConfigurationManager::value(), each write one ConfigurationManager::setValue():
 * nothing is cached, so a wrapper is never out of date and cheap enough to make one where needed.
 *
 * \par Ownership
 * The manager is borrowed and has to outlive the wrapper.
 * \par Threads
 * As ConfigurationManager. The static operations read a table built when the library is loaded and
 * may be called from any thread.
 * \par Failure
 * No operation reports an error: values are converted as QVariant does it, and whether a write is
 * accepted is the layer's business.
 */
class TAMSEL_EXPORT LogsConfigWrapper
{
public:
    /*! \a manager is borrowed and not null. */
    explicit LogsConfigWrapper(ConfigurationManager *manager);
    ~LogsConfigWrapper();

    /*!
     * \brief The verbosity, 0 to 5, or -1 if it is unset or a number outside that range.
     *
     * The stored value may be a number, a number as text, or a level name. Any other text counts as
     * the number 0, "critical".
     */
    [[nodiscard]] logging::Level level() const;
    /*! Stores the number of \a level, whatever it is, in the layer \a type. */
    void setLevel(logging::Level level, SettingsType type);
    /*! The length at which JSON in the log is cut; its unit, and what -1 means, are the host logger's
     *  business. */
    [[nodiscard]] int jsonLengthLimit() const;
    /*! Stores \a limit in the layer \a type. */
    void setJsonLengthLimit(int limit, SettingsType type);
    /*! Whether JSON in the log is to be formatted. */
    [[nodiscard]] bool jsonFormattingEnabled() const;
    /*! Stores \a enabled in the layer \a type. */
    void setJsonFormattingEnabled(bool enabled, SettingsType type);
    /*! Whether requests for images are to be logged. */
    [[nodiscard]] bool imageRequestsEnabled() const;
    /*! Stores \a enabled in the layer \a type. */
    void setImageRequestsEnabled(bool enabled, SettingsType type);
    /*! The modules that are not to be logged, as the text is stored. */
    [[nodiscard]] QString modulesBlacklist() const;
    /*! The only modules that are to be logged, as the text is stored. */
    [[nodiscard]] QString modulesWhitelist() const;

    /*!
     * \brief The names of the levels and their numbers: "critical" 0, "error" 1, "warning" 2,
     * "info" 3, "debug" 4, "trace" 5. The lower, the more severe.
     *
     * The numbers are those of the host's \c logging::Level. Names are case-sensitive.
     */
    [[nodiscard]] static const QHash<QString, int> &stringLevelToIntLevel() noexcept;
    /*! The number of "critical". */
    [[nodiscard]] static int minLevel();
    /*! The number of "trace". */
    [[nodiscard]] static int maxLevel();
    /*! Whether \a level is at least minLevel() and at most maxLevel(). */
    [[nodiscard]] static bool isLevelValid(int level);

private:
    Q_DISABLE_COPY_MOVE(LogsConfigWrapper)

    const std::unique_ptr<LogsConfigWrapperPrivate> d;
};

} // namespace tamsel

#endif // TAMSEL_LOGSCONFIGWRAPPER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_COMMANDLINEARGS_H
#define TAMSEL_COMMANDLINEARGS_H

#include <tamsel/tamselglobal.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

/*! \brief The command-line options of the host. */
namespace tamsel::commandLineArgs {

/*!
 * \brief The options in QCoreApplication::arguments(), as the map that
 * ConfigurationManager::initStorage() takes for \c SettingsType::CommandLineArgs.
 *
 * | Option              | Group     | Key           | Value                              |
 * |---------------------|-----------|---------------|------------------------------------|
 * | `--log-level LEVEL` | "Logging" | "level"       | int; the range is not checked here |
 * | `-p`, `--play URL`  | "Service" | "playUrl"     | QString                            |
 * | `--ott_drm`         | "Service" | "ott_drm"     | \c true                            |
 * | `--spy URL`         | "Service" | "testSpyUrl"  | QString                            |
 * | `--pos SEC`         | "Service" | "pos"         | int, seconds                       |
 * | `--audio LANGUAGE`  | "Service" | "audio"       | QString                            |
 * | `--subs LANGUAGE`   | "Service" | "subs"        | QString                            |
 *
 * An option that is absent or has an empty value leaves no key; a group without keys is absent. If
 * an option is given several times, the last one counts. Positional arguments are ignored.
 *
 * Call it before anything else: `--help`, `--version` and errors end the process in here. A host
 * with further options cannot use this function, because an unknown option ends the process. It
 * parses the command line itself and builds the map:
 *
 * \code
 * QVariantMap logging{{u"level"_s, 4}};
 * settings.initStorage(tamsel::SettingsType::CommandLineArgs, {{u"Logging"_s, logging}});
 * \endcode
 *
 * \par Ownership
 * Nothing is kept between calls; the result is the caller's.
 * \par Threads
 * Call it on the main thread while a QCoreApplication exists.
 * \par Failure
 * Bad input ends the process. An unknown option, or a missing or surplus value, ends it with Qt's
 * message and exit code 1. A number that is not a decimal 32-bit integer ends it with a fatal log
 * message and an abort. `--help` and `--version` print their text and end it with exit code 0.
 * \par
 * Except for the abort, the process ends through \c exit(). That does not destroy a manager that is
 * a local variable, so its changed files are not written.
 */
[[nodiscard]] TAMSEL_EXPORT QVariantMap parse();

} // namespace tamsel::commandLineArgs

#endif // TAMSEL_COMMANDLINEARGS_H

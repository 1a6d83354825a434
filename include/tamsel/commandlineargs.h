// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_COMMANDLINEARGS_H
#define TAMSEL_COMMANDLINEARGS_H

#include <tamsel/tamselglobal.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

/*! \brief The options of the host process's command line. */
namespace tamsel::commandLineArgs {

/*!
 * \brief The options in QCoreApplication::arguments() as the map for
 * ConfigurationManager::initStorage() of \c SettingsType::CommandLineArgs.
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
 * Options that are absent, or given an empty value, leave no key; groups without keys are absent.
 * Of an option that is given several times the last one counts. Positional arguments are ignored
 * and left to the host.
 *
 * \par Ownership
 * Nothing is kept between calls; the result is the caller's.
 * \par Threads
 * Call it on the main thread while a QCoreApplication exists.
 * \par Failure
 * Bad input ends the process: an unknown option, or a missing or surplus value, with Qt's message
 * and exit code 1; a number that is no decimal 32-bit integer with a fatal log message and an abort.
 * `--help` and `--version` print their text and end the process with exit code 0.
 */
[[nodiscard]] TAMSEL_EXPORT QVariantMap parse();

} // namespace tamsel::commandLineArgs

#endif // TAMSEL_COMMANDLINEARGS_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTOPLOGGER_H
#define SETTOPLOGGER_H

#include <tamsel/ilogger.h>
#include <tamsel/logsconfigwrapper.h>

namespace tamsel {
class ConfigurationManager;
}

namespace logging {
// The levels of this host. The library only declares the type, and uses the numbers.
enum Level : int {
    Critical = 0,
    Error = 1,
    Warning = 2,
    Info = 3,
    Debug = 4,
    Trace = 5,
};
} // namespace logging

// Writes messages to standard error, a line each: "[info] text". Messages that are less severe than
// the level in the settings are left out. The default level is Info.
//
// The level is read again for every message, so a change of the setting takes effect at once.
// Reading settings from inside a log call is safe: a read logs nothing, and the library holds no
// lock while it logs.
//
// Messages may come from any thread.
class SettopLogger final : public tamsel::ILogger
{
public:
    // From now on reads the level from settings, which are borrowed. Not thread-safe: call it
    // during start-up.
    void takeLevelFrom(tamsel::ConfigurationManager *settings);

    void error(const QString &message) override;
    void warning(const QString &message) override;
    void info(const QString &message) override;
    void debug(const QString &message) override;

private:
    logging::Level lastShown() const;
    void log(logging::Level level, const QString &message) const;

    tamsel::ConfigurationManager *m_settings = nullptr;
};

#endif // SETTOPLOGGER_H

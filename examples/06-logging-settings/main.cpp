// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The settings of the group "Logging", with their types. The host's log levels come from its
// logging library; only their numbers matter.

namespace logging {
enum Level : int { Critical, Error, Warning, Info, Debug, Trace };
} // namespace logging

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>
#include <tamsel/logsconfigwrapper.h>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

int main()
{
    tamsel::host::QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    tamsel::LogsConfigWrapper logs(&settings); // the manager must outlive it
    const auto showLevel = [&logs](const QString &step) {
        printing::line(u"%1: level %2"_s.arg(step, QString::number(logs.level())));
    };

    showLevel(u"unset"_s);

    settings.initStorage(SettingsType::Runtime);
    settings.initStorage(SettingsType::SystemProperties);
    settings.setValue(u"Logging"_s, u"level"_s, u"info"_s, SettingsType::SystemProperties);
    showLevel(u"a name"_s);

    logs.setLevel(logging::Trace, SettingsType::Runtime);
    showLevel(u"a number above it"_s);

    settings.setValue(u"Logging"_s, u"level"_s, u"Info"_s, SettingsType::Runtime);
    showLevel(u"text that is no name"_s);

    logs.setJsonLengthLimit(512, SettingsType::Runtime);
    printing::line(u"JSON is cut at %1 characters"_s.arg(logs.jsonLengthLimit()));
    printing::line(logs.imageRequestsEnabled() ? u"images are logged"_s
                                               : u"images are not logged"_s);

    return 0;
}

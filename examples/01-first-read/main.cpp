// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The smallest host: a manager, one layer, one read.

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>

using namespace Qt::StringLiterals;

int main()
{
    tamsel::host::QtLogger logger; // has to outlive the manager
    tamsel::ConfigurationManager settings(&logger);

    // No layer holds the setting yet: the default comes back.
    printing::line(settings.value(u"ui"_s, u"lang"_s, u"ru"_s).toString());

    settings.initStorage(tamsel::SettingsType::Runtime);
    settings.setValue(u"ui"_s, u"lang"_s, u"en"_s, tamsel::SettingsType::Runtime);
    printing::line(settings.value(u"ui"_s, u"lang"_s, u"ru"_s).toString());

    return 0;
}

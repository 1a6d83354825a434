// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A change handler is notified when an effective value changes.

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

int main()
{
    tamsel::host::QtLogger logger;
    printing::Handler handler;
    tamsel::ConfigurationManager settings(&logger);
    settings.initStorage(SettingsType::Runtime);
    settings.initStorage(SettingsType::SystemProperties);
    settings.appendConfigurationHandler(&handler);

    printing::line(u"A value is written:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 7, SettingsType::SystemProperties);

    printing::line(u"The same value again:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 7, SettingsType::SystemProperties);

    printing::line(u"A higher layer:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 9, SettingsType::Runtime);

    printing::line(u"The lower layer, overridden now:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 8, SettingsType::SystemProperties);

    // Handlers get the uncovered value as text. settings.value() returns the number.
    printing::line(u"The higher layer loses it:"_s);
    settings.removeValue(u"player"_s, u"volume"_s, SettingsType::Runtime);

    printing::line(u"The last layer loses it:"_s);
    settings.removeValue(u"player"_s, u"volume"_s, SettingsType::SystemProperties);

    settings.removeConfigurationHandler(&handler);
    printing::line(u"Without the handler:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 5, SettingsType::Runtime);

    return 0;
}

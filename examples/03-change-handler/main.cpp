// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A change handler hears of what readers can see, and of nothing else.

#include "printing.h"

#include <tamsel/configurationmanager.h>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

int main()
{
    printing::Logger logger;
    printing::Handler handler;
    tamsel::ConfigurationManager settings(&logger);
    settings.initStorage(SettingsType::SystemProperties);
    settings.initStorage(SettingsType::Runtime);
    settings.appendConfigurationHandler(&handler);

    printing::line(u"A value is written:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 7, SettingsType::SystemProperties);

    printing::line(u"The same value again:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 7, SettingsType::SystemProperties);

    printing::line(u"A higher layer:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 9, SettingsType::Runtime);

    printing::line(u"The lower layer, hidden now:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 8, SettingsType::SystemProperties);

    // The value that appears is passed on as text. settings.value() gives the number.
    printing::line(u"The higher layer loses it:"_s);
    settings.removeValue(u"player"_s, u"volume"_s, SettingsType::Runtime);

    printing::line(u"The last layer loses it:"_s);
    settings.removeValue(u"player"_s, u"volume"_s, SettingsType::SystemProperties);

    settings.removeConfigurationHandler(&handler);
    printing::line(u"Nobody listens any more:"_s);
    settings.setValue(u"player"_s, u"volume"_s, 5, SettingsType::Runtime);

    return 0;
}

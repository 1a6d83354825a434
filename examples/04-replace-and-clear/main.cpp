// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A layer is replaced, then cleared; the handler is notified of each difference.

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
    settings.appendConfigurationHandler(&handler);

    printing::line(u"Two fixed maps:"_s);
    settings.initStorage(
            SettingsType::Rdm,
            {{u"features"_s, QVariantMap{{u"recording"_s, true}}},
             {u"network"_s, QVariantMap{{u"server"_s, u"north"_s}, {u"timeout"_s, 20}}}});
    settings.initStorage(SettingsType::FeatureKeys,
                         {{u"features"_s, QVariantMap{{u"recording"_s, false}}}});

    // Lost settings come first, then the new and the changed ones. Equal ones are not notified.
    printing::line(u"Rdm is replaced:"_s);
    settings.initStorage(
            SettingsType::Rdm,
            {{u"network"_s,
              QVariantMap{
                      {u"server"_s, u"south"_s}, {u"proxy"_s, u"none"_s}, {u"timeout"_s, 20}}}});

    printing::line(u"Rdm is replaced by the same values:"_s);
    settings.initStorage(
            SettingsType::Rdm,
            {{u"network"_s,
              QVariantMap{
                      {u"server"_s, u"south"_s}, {u"proxy"_s, u"none"_s}, {u"timeout"_s, 20}}}});

    printing::line(u"Rdm is cleared:"_s);
    settings.clearStorage(SettingsType::Rdm);

    printing::line(u"Rdm is cleared again:"_s);
    settings.clearStorage(SettingsType::Rdm);

    return 0;
}

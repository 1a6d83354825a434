// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "hostvalues.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/logsconfigwrapper.h>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

QList<std::pair<QString, QString>> hostSettings()
{
    return {
            {u"Logging"_s, u"jsonLengthLimit"_s},
            {u"Logging"_s, u"level"_s},
            {u"Service"_s, u"audio"_s},
            {u"Service"_s, u"ott_drm"_s},
            {u"Service"_s, u"playUrl"_s},
            {u"Service"_s, u"pos"_s},
            {u"Service"_s, u"subs"_s},
            {u"Service"_s, u"testSpyUrl"_s},
            {u"features"_s, u"multiroom"_s},
            {u"features"_s, u"recording"_s},
            {u"features"_s, u"timeshift"_s},
            {u"network"_s, u"server"_s},
            {u"network"_s, u"timeout"_s},
            {u"player"_s, u"state"_s},
            {u"profile"_s, u"name"_s},
            {u"system"_s, u"memory"_s},
            {u"system"_s, u"model"_s},
            {u"ui"_s, u"lang"_s},
            {u"ui"_s, u"theme"_s},
    };
}

QVariantMap rdmValues()
{
    return {
            {u"network"_s, QVariantMap{{u"server"_s, u"north"_s}, {u"timeout"_s, 20}}},
            {u"ui"_s, QVariantMap{{u"theme"_s, u"operator"_s}}},
    };
}

QVariantMap changedRdmValues()
{
    return {
            {u"network"_s, QVariantMap{{u"server"_s, u"south"_s}, {u"timeout"_s, 15}}},
    };
}

QVariantMap featureKeys()
{
    return {
            {u"features"_s, QVariantMap{{u"multiroom"_s, true}, {u"recording"_s, true}}},
    };
}

void provisionDatabase(tamsel::ConfigurationManager &settings)
{
    if (settings.contains(u"profile"_s, u"name"_s, SettingsType::SelviDb))
        return;
    settings.setValue(u"profile"_s, u"name"_s, u"family"_s, SettingsType::SelviDb);
    settings.setValue(u"ui"_s, u"lang"_s, u"de"_s, SettingsType::SelviDb);
}

void setSystemProperties(tamsel::ConfigurationManager &settings)
{
    settings.setValue(u"system"_s, u"memory"_s, 512, SettingsType::SystemProperties);
    settings.setValue(u"system"_s, u"model"_s, u"SB-100"_s, SettingsType::SystemProperties);
}

void setRuntimeValues(tamsel::ConfigurationManager &settings)
{
    settings.setValue(u"player"_s, u"state"_s, u"standby"_s, SettingsType::Runtime);
    tamsel::LogsConfigWrapper(&settings).setJsonLengthLimit(200, SettingsType::Runtime);
}

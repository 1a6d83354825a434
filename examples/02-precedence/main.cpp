// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The uppermost layer that holds a setting is its origin, whatever the value.

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

int main()
{
    tamsel::host::QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    const auto show = [&settings](const QString &step) {
        const QVariant theme = settings.value(u"ui"_s, u"theme"_s, u"default"_s);
        printing::line(step + u": "_s + (theme.isValid() ? theme.toString() : u"invalid"_s));
    };

    for (const SettingsType type : tamsel::storagePriority)
        printing::line(QVariant::fromValue(type).toString());

    show(u"no layer holds it"_s);

    settings.initStorage(SettingsType::Runtime);
    settings.initStorage(SettingsType::Rdm, {{u"ui"_s, QVariantMap{{u"theme"_s, u"operator"_s}}}});
    settings.initStorage(SettingsType::SystemProperties);
    show(u"Rdm holds it"_s);

    settings.setValue(u"ui"_s, u"theme"_s, u"light"_s, SettingsType::SystemProperties);
    show(u"written below"_s);

    settings.setValue(u"ui"_s, u"theme"_s, u"dark"_s, SettingsType::Runtime);
    show(u"written above"_s);

    // A layer that holds the setting is its origin, whatever the value is.
    settings.setValue(u"ui"_s, u"theme"_s, QVariant(), SettingsType::Runtime);
    show(u"an invalid value above"_s);

    settings.removeValue(u"ui"_s, u"theme"_s, SettingsType::Runtime);
    show(u"removed above"_s);

    return 0;
}

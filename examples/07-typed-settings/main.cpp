// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Typed settings: group, key and default are written once, values are converted and checked.

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/qtlogger.h>
#include <tamsel/host/setting.h>

#include <QtCore/QObject>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using tamsel::SettingsType;

namespace {

const tamsel::host::SettingDefinition<int> volumeSetting{u"player"_s, u"volume"_s, 20};
const tamsel::host::SettingDefinition<std::chrono::minutes> sleepSetting{u"power"_s, u"sleep"_s,
                                                                         90min};

void show(const QString &what, qint64 value)
{
    printing::line(u"%1: %2"_s.arg(what, QString::number(value)));
}

} // namespace

int main()
{
    tamsel::host::QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    tamsel::host::ChangeNotifier notifier(&settings); // before the first layer
    settings.initStorage(SettingsType::Runtime);
    settings.initStorage(SettingsType::Rdm,
                         {{u"player"_s, QVariantMap{{u"volume"_s, u"35"_s}}},
                          {u"power"_s, QVariantMap{{u"sleep"_s, u"late"_s}}}});

    const tamsel::host::Setting volume(volumeSetting, &notifier);
    const tamsel::host::Setting sleep(sleepSetting, &notifier);

    // A text is converted if it is a value of the type; otherwise a warning says why it is not used.
    show(u"volume"_s, volume.value());
    show(u"minutes until it sleeps"_s, sleep.value().count());

    // The function is called for changes of the effective value, in whatever layer, while mixer lives.
    QObject mixer;
    volume.onChanged(&mixer, [](int value) { show(u"the mixer's volume"_s, value); });
    volume.setValue(40, SettingsType::Runtime);
    if (volume.isOverridden(SettingsType::Rdm))
        printing::line(u"the volume of Rdm is overridden"_s);
    volume.reset(SettingsType::Runtime);

    return 0;
}

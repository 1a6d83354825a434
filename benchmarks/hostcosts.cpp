// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Measures what a notification costs in the companion library, in instructions under Callgrind.
// hostcosts.py runs it.

#include "callgrindseries.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/settingscatalogue.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QObject>

#include <optional>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

constexpr int warmUp = 600; // until every list that keeps changes is full

struct Host
{
    Host() { settings.initStorage(SettingsType::Runtime); }

    void write(int value)
    {
        settings.setValue(u"player"_s, u"volume"_s, value, SettingsType::Runtime);
    }

    QuietLogger logger;
    tamsel::ConfigurationManager settings{&logger};
};

// Counts a write, without a handler or with a catalogue that knows `known` settings.
void countCatalogue(std::optional<int> known)
{
    Host host;
    std::optional<tamsel::host::SettingsCatalogue> catalogue;
    if (known) {
        catalogue.emplace(&host.settings);
        for (int i = 0; i < *known; ++i)
            catalogue->remember(u"group%1"_s.arg(i % 100), u"key%1"_s.arg(i));
    }
    QByteArray name = "write";
    if (known)
        name = "catalogue-" + QByteArray::number(*known);
    const int writes = countSeries(name, warmUp, [&host](int value) { host.write(value); });
    if (catalogue && catalogue->changeCount(u"player"_s, u"volume"_s) != quint64(writes))
        qFatal("catalogue: wrong count");
}

// Counts a write to a setting that one of the subscriptions is for. Half of the others are for
// settings of the same group.
void countSubscriptions(int subscriptions)
{
    Host host;
    tamsel::host::ChangeNotifier notifier(&host.settings);
    QObject context;
    int last = 0;
    const auto keep = [&last](const tamsel::host::Change &change) { last = change.value.toInt(); };
    notifier.subscribe(u"player"_s, u"volume"_s, &context, keep);
    for (int i = 1; i < subscriptions; ++i) {
        notifier.subscribe(i % 2 ? u"player"_s : u"group%1"_s.arg(i), u"key%1"_s.arg(i), &context,
                           keep);
    }
    countSeries("subscriptions-" + QByteArray::number(subscriptions), warmUp, [&](int value) {
        host.write(value);
        if (last != value)
            qFatal("subscriptions: not notified");
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    countCatalogue(std::nullopt);
    for (const int known : {1, 1000})
        countCatalogue(known);
    for (const int subscriptions : {1, 10, 1000})
        countSubscriptions(subscriptions);
}

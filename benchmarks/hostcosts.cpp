// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What a notification costs in the companion library, in instructions under Callgrind; hostcosts.py runs
// it. Each series is a number of runs, and another one twice as long: their difference does not include
// one-time costs. Callgrind writes a part of its output for each; the lines of the output name them.

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/ilogger.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QObject>

#include <valgrind/callgrind.h>

#include <cstdio>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

constexpr int runs = 100;

class QuietLogger final : public tamsel::ILogger
{
public:
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }
};

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

void count(const QByteArray &name, const std::function<void(int)> &run)
{
    for (int i = 1; i <= 600; ++i) // until every list that keeps changes is full
        run(-i);
    for (const int length : {runs, 2 * runs}) {
        CALLGRIND_START_INSTRUMENTATION;
        for (int i = 0; i < length; ++i) {
            CALLGRIND_TOGGLE_COLLECT;
            run(length + i);
            CALLGRIND_TOGGLE_COLLECT;
        }
        CALLGRIND_DUMP_STATS;
        CALLGRIND_STOP_INSTRUMENTATION;
    }
    std::printf("series %s %d\n", name.constData(), runs);
}

// A write without a handler, and with a catalogue that knows so many settings.
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
    count(name, [&host](int value) { host.write(value); });
    if (catalogue && catalogue->changeCount(u"player"_s, u"volume"_s) != 600 + 3 * runs)
        qFatal("catalogue: wrong count");
}

// One of so many subscriptions is for the setting that is written; of the others, half are for settings
// of its group.
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
    count("subscriptions-" + QByteArray::number(subscriptions), [&](int value) {
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

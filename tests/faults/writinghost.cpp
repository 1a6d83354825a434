// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A host with an event loop that does little but write settings into custom.conf.
//
//   writinghost FOLDER/ endlessly         goes on behind the last number in the file
//   writinghost FOLDER/ GROUP COUNT       prints a line when it has read the file, waits for the end of its
//                                         input, writes COUNT keys into GROUP, and ends

#include "writing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QTimer>

#include <cstdio>

#include <unistd.h>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr auto layer = SettingsType::CustomConfPersistent;

// Any error ends the host: its writes are never refused.
class StrictLogger final : public ILogger
{
public:
    void error(const QString &message) override { qFatal("%s", qPrintable(message)); }
    void warning(const QString &message) override { qFatal("%s", qPrintable(message)); }
    void info(const QString &) override { }
    void debug(const QString &) override { }
};

// The highest number in the file; 0 if there is none yet.
int lastNumber(const ConfigurationManager &manager)
{
    int last = 0;
    for (int i = 0; i < writing::keyCount; ++i) {
        QString value = manager.value(writing::group(), QString::number(i)).toString();
        last = qMax(last, value.remove(u'x').toInt());
    }
    return last;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();

    StrictLogger logger;
    ConfigurationManager manager(&logger);
    manager.setPersistentStoragePath(arguments.at(1));
    manager.initStorage(layer);

    QTimer timer;
    int number = 0;
    if (arguments.at(2) == "endlessly"_L1) {
        number = lastNumber(manager);
        static_cast<void>(std::printf("%d\n", number));
        static_cast<void>(std::fflush(stdout));
        QObject::connect(&timer, &QTimer::timeout, &app, [&] {
            ++number;
            manager.setValue(writing::group(), writing::keyOf(number), writing::valueOf(number),
                             layer);
        });
        alarm(60); // ends the host if the test does not kill it
    } else {
        static_cast<void>(std::puts("ready"));
        static_cast<void>(std::fflush(stdout));
        static_cast<void>(std::getchar());
        const int count = arguments.at(3).toInt();
        QObject::connect(&timer, &QTimer::timeout, &app, [&, count] {
            ++number;
            manager.setValue(arguments.at(2), QString::number(number), writing::valueOf(number),
                             layer);
            if (number == count)
                QCoreApplication::quit();
        });
    }
    timer.start(0);
    return QCoreApplication::exec();
}

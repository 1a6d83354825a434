// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A host that only parses its command line and prints what comes of it: once, once more, and for a
// second application object that has no arguments. Where parsing ends the process, nothing is
// printed.

#include "recording.h"

#include <tamsel/commandlineargs.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QVariant>

#include <csignal>
#include <cstdio>

#ifdef SAVE_COVERAGE_ON_ABORT
extern "C" void __gcov_dump();
#endif

using tamsel::tests::describe;

namespace {

void print(const char *heading, const QVariantMap &groups)
{
    std::printf("%s:\n", heading);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        std::printf("%s is a %s\n", qUtf8Printable(group.key()), group->typeName());
        const QVariantMap entries = group->toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            std::printf("%s/%s = %s\n", qUtf8Printable(group.key()), qUtf8Printable(entry.key()),
                        qUtf8Printable(describe(*entry)));
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
#ifdef SAVE_COVERAGE_ON_ABORT
    std::signal(SIGABRT, [](int) { __gcov_dump(); }); // the process aborts all the same
#endif
    QCoreApplication::setApplicationName(QStringLiteral("helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral("4.5.6-helper"));
    {
        const QCoreApplication application(argc, argv);
        const QVariantMap first = tamsel::commandLineArgs::parse();
        const QVariantMap second = tamsel::commandLineArgs::parse();
        print("first", first);
        print("second", second);
    }
    int nameOnly = 1;
    const QCoreApplication application(nameOnly, argv);
    print("without arguments", tamsel::commandLineArgs::parse());
    return 0;
}

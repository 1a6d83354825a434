// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef BENCHMARKS_CALLGRINDSERIES_H
#define BENCHMARKS_CALLGRINDSERIES_H

#include <tamsel/ilogger.h>

#include <QtCore/QByteArray>

#include <valgrind/callgrind.h>

#include <cstdio>
#include <functional>

class QuietLogger final : public tamsel::ILogger
{
public:
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }
};

// Counts two series of calls. The second is twice as long, so their difference does not include
// one-time costs. The calls get the numbers from 1 on; returns the last one. qmlcosts.py
// reads the printed line and Callgrind's output.
inline int countSeries(const QByteArray &name, int warmUp, const std::function<void(int)> &run)
{
    constexpr int runs = 100;
    int number = 0;
    while (number < warmUp)
        run(++number);
    for (const int length : {runs, 2 * runs}) {
        CALLGRIND_START_INSTRUMENTATION;
        for (int i = 0; i < length; ++i) {
            ++number;
            CALLGRIND_TOGGLE_COLLECT;
            run(number);
            CALLGRIND_TOGGLE_COLLECT;
        }
        CALLGRIND_DUMP_STATS;
        CALLGRIND_STOP_INSTRUMENTATION;
    }
    std::printf("series %s %d\n", name.constData(), runs);
    return number;
}

#endif // BENCHMARKS_CALLGRINDSERIES_H

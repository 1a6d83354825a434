// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Counts the figures that do not vary between runs: the allocations of an operation and, under
// Callgrind, its instructions. See usage().

#include "heapcounter.h"
#include "operations.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSysInfo>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef TAMSEL_BENCH_CALLGRIND
#    include <valgrind/callgrind.h>
#else
#    define CALLGRIND_START_INSTRUMENTATION
#    define CALLGRIND_TOGGLE_COLLECT
#    define CALLGRIND_DUMP_STATS
#endif

using namespace tamsel::bench;

namespace {

#ifdef Q_CC_CLANG
constexpr const char *compiler = "clang " __clang_version__;
#else
constexpr const char *compiler = "g++ " __VERSION__;
#endif

int usage()
{
    std::fputs(
            "exactcounts about     prints the versions of Qt and the compiler\n"
            "exactcounts systems   lists the systems: NAME, floor or system, TITLE\n"
            "exactcounts list      lists what can be counted: SYSTEM OPERATION SIZE\n"
            "exactcounts SYSTEM OPERATION SIZE RUNS\n"
            "\n"
            "The last one counts two series, of RUNS runs and of twice as many: their difference\n"
            "does not include one-time costs. It prints the size of a run, and the allocations\n"
            "and the bytes of each series. With --instr-atstart=no --collect-atstart=no,\n"
            "Callgrind writes a part of its output for each series.\n",
            stderr);
    return 2;
}

void printAbout()
{
    std::printf("qt %s\narchitecture %s\ncompiler %s\n", qVersion(),
                qUtf8Printable(QSysInfo::buildCpuArchitecture()), compiler);
}

void printSystems()
{
    for (const SystemInfo &system : systems())
        std::printf("%s %s %s\n", system.name, system.isFloor ? "floor" : "system", system.title);
}

void printList()
{
    for (const SystemInfo &system : systems()) {
        for (const OperationInfo &operation : operations()) {
            if (!offers(system, operation) || operation.threads > 1)
                continue;
            for (const int size : operation.sizes)
                std::printf("%s %s %d\n", system.name, operation.name, size);
        }
    }
}

template <typename Info> const Info *find(const std::vector<Info> &infos, const char *name)
{
    for (const Info &info : infos) {
        if (std::strcmp(info.name, name) == 0)
            return &info;
    }
    return nullptr;
}

// The allocations and bytes of `runs` runs.
HeapCounts countedSeries(Operation &operation, int runs)
{
    HeapCounts sum{0, 0};
    for (int i = 0; i < runs; ++i) {
        operation.prepare();
        const HeapCounts before = heapCounts();
        CALLGRIND_TOGGLE_COLLECT;
        operation.run();
        CALLGRIND_TOGGLE_COLLECT;
        const HeapCounts after = heapCounts();
        sum.allocations += after.allocations - before.allocations;
        sum.bytes += after.bytes - before.bytes;
    }
    CALLGRIND_DUMP_STATS;
    return sum;
}

int count(const SystemInfo &system, const OperationInfo &info, int size, int runs)
{
    const auto operation = info.create(system, size);
    for (int i = 0; i < 2; ++i) { // both directions of a change
        operation->prepare();
        operation->run();
    }
    CALLGRIND_START_INSTRUMENTATION;
    const HeapCounts once = countedSeries(*operation, runs);
    const HeapCounts twice = countedSeries(*operation, 2 * runs);
    if (!operation->isCorrect()) {
        std::fprintf(stderr, "%s %s %d: wrong result\n", system.name, info.name, size);
        return 1;
    }
    std::printf("%d", operation->size());
    for (const qint64 number : {once.allocations, twice.allocations, once.bytes, twice.bytes})
        std::printf(" %lld", static_cast<long long>(number));
    std::printf("\n");
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const char *first = argc > 1 ? argv[1] : "";
    if (argc == 2 && std::strcmp(first, "about") == 0) {
        printAbout();
    } else if (argc == 2 && std::strcmp(first, "systems") == 0) {
        printSystems();
    } else if (argc == 2 && std::strcmp(first, "list") == 0) {
        printList();
    } else if (argc == 5) {
        const SystemInfo *system = find(systems(), first);
        const OperationInfo *info = find(operations(), argv[2]);
        const int size = std::atoi(argv[3]);
        const int runs = std::atoi(argv[4]);
        if (!system || !info || !offers(*system, *info) || size < 0 || runs < 1)
            return usage();
        return count(*system, *info, size, runs);
    } else {
        return usage();
    }
    return 0;
}

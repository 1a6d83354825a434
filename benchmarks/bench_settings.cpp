// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Times every operation on every system. The names are OPERATION/SIZE/SYSTEM. Divide a time by the
// counter "size" to get that of one read, write or setting. "perSecond" counts these for all threads
// together. Do not use the time of several threads: whether it is divided by their number depends on the
// version of Google Benchmark.

#include "operations.h"

#include <QtCore/QCoreApplication>

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

using namespace tamsel::bench;

namespace {

// Creates an operation when it is first run, and keeps it, because filling the layers is slow.
class KeptOperation
{
public:
    KeptOperation(const SystemInfo &system, const OperationInfo &info, int size)
        : m_system(system), m_info(info), m_size(size)
    {
    }

    std::string name() const
    {
        return std::string(m_info.name) + '/' + std::to_string(m_size) + '/' + m_system.name;
    }

    void measure(benchmark::State &state)
    {
        // The other threads wait for this one at the start of the loop.
        if (state.thread_index() == 0 && !m_operation)
            m_operation = m_info.create(m_system, m_size);
        if (m_info.isPrepared)
            prepareAndRun(state);
        else
            runOnly(state);
        // The counters of all threads are added up, so only one thread sets them.
        if (state.thread_index() > 0)
            return;
        state.counters["size"] = m_operation->size();
        if (!m_operation->isCorrect())
            state.SkipWithError("wrong result");
    }

private:
    void runOnly(benchmark::State &state)
    {
        const auto end = state.end(); // waits for the other threads, as does the last comparison
        const auto start = Clock::now();
        for (auto iteration = state.begin(); iteration != end; ++iteration)
            m_operation->run();
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        const auto done = static_cast<double>(state.iterations()) * m_operation->size();
        state.counters["perSecond"] = done / elapsed.count();
    }

    void prepareAndRun(benchmark::State &state)
    {
        for ([[maybe_unused]] auto iteration : state) {
            m_operation->prepare();
            const auto start = Clock::now();
            m_operation->run();
            state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        }
    }

    using Clock = std::chrono::steady_clock;

    const SystemInfo &m_system;
    const OperationInfo &m_info;
    const int m_size;
    std::unique_ptr<Operation> m_operation;
};

using KeptOperations = std::vector<std::unique_ptr<KeptOperation>>;

void add(const SystemInfo &system, const OperationInfo &info, KeptOperations &kept)
{
    for (const int size : info.sizes) {
        auto *operation
                = kept.emplace_back(std::make_unique<KeptOperation>(system, info, size)).get();
        auto *added = benchmark::RegisterBenchmark(
                operation->name().c_str(),
                [operation](benchmark::State &state) { operation->measure(state); });
        if (info.isPrepared)
            added->UseManualTime();
        else
            added->UseRealTime();
        for (int threads = 1; threads <= info.threads; ++threads)
            added->Threads(threads);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    KeptOperations kept;
    for (const OperationInfo &operation : operations()) {
        for (const SystemInfo &system : systems()) {
            if (offers(system, operation))
                add(system, operation, kept);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

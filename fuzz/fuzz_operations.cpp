// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The input is a sequence of operations. The manager and a model must give the same results.

#include "driver.h"
#include "operation.h"

#include <cstdio>
#include <cstdlib>

using namespace tamsel::tests;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr std::size_t mostOperations = 60; // long sequences find no more and are slow

    OperationReader reader(data, size);
    Sequence sequence;
    while (!reader.atEnd() && sequence.size() < mostOperations)
        sequence.push_back(reader.next());

    const QString difference = firstDifference(sequence);
    if (!difference.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(difference));
        for (const Operation &operation : sequence)
            std::fprintf(stderr, "    %s\n", qPrintable(describe(operation)));
        std::abort();
    }
    return 0;
}

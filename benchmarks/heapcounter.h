// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_HEAPCOUNTER_H
#define TAMSEL_BENCH_HEAPCOUNTER_H

#include <QtCore/QtGlobal>

namespace tamsel::bench {

// How often the process has called malloc(), calloc(), realloc() and similar functions so far, in any
// library, and how many bytes it has requested. The operators new call malloc(). Only for programs
// with one thread.
struct HeapCounts
{
    qint64 allocations;
    qint64 bytes;
};
HeapCounts heapCounts() noexcept;

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_HEAPCOUNTER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_HEAPCOUNTER_H
#define TAMSEL_BENCH_HEAPCOUNTER_H

#include <QtCore/QtGlobal>

namespace tamsel::bench {

// How often the process has called malloc(), calloc(), realloc() and their kin so far, whichever
// library did it; the operators new come to malloc(). For programs with one thread.
qint64 heapAllocations() noexcept;

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_HEAPCOUNTER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_HEAPCOUNTER_H
#define TAMSEL_BENCH_HEAPCOUNTER_H

#include <QtCore/QtGlobal>

namespace tamsel::bench {

// How often the process has called malloc(), calloc(), realloc() and similar functions so far, in any
// library. The operators new call malloc(). For programs with one thread.
qint64 heapAllocations() noexcept;

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_HEAPCOUNTER_H

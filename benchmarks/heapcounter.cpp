// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "heapcounter.h"

#define TAMSEL_ALLOCATIONS_ONLY // the instructions are counted too
#include "replaceallocator.h"

namespace tamsel {

// Neither atomic nor one HeapCounts: the counting itself adds to the counted instructions, and
// these take the fewest.
static qint64 allocations = 0;
static qint64 bytes = 0;

namespace tests {

static void count(std::size_t size) noexcept
{
    ++allocations;
    bytes += static_cast<qint64>(size);
}

void *allocate(std::size_t size) noexcept
{
    count(size);
    return TAMSEL_REAL(malloc)(size);
}

void *allocateZeroed(std::size_t number, std::size_t size) noexcept
{
    count(number * size);
    return TAMSEL_REAL(calloc)(number, size);
}

void *reallocate(void *block, std::size_t size) noexcept
{
    count(size);
    return TAMSEL_REAL(realloc)(block, size);
}

void *allocateAligned(std::size_t alignment, std::size_t size) noexcept
{
    count(size);
    return TAMSEL_REAL(memalign)(alignment, size);
}

} // namespace tests

bench::HeapCounts bench::heapCounts() noexcept
{
    return {allocations, bytes};
}

} // namespace tamsel

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "heapcounter.h"

#define TAMSEL_ALLOCATIONS_ONLY // the instructions are counted too
#include <replaceallocator.h>

namespace tamsel {

static qint64 allocations = 0; // not atomic: its instructions would be counted

namespace tests {

void *allocate(std::size_t size) noexcept
{
    ++allocations;
    return TAMSEL_REAL(malloc)(size);
}

void *allocateZeroed(std::size_t count, std::size_t size) noexcept
{
    ++allocations;
    return TAMSEL_REAL(calloc)(count, size);
}

void *reallocate(void *block, std::size_t size) noexcept
{
    ++allocations;
    return TAMSEL_REAL(realloc)(block, size);
}

void *allocateAligned(std::size_t alignment, std::size_t size) noexcept
{
    ++allocations;
    return TAMSEL_REAL(memalign)(alignment, size);
}

} // namespace tests

qint64 bench::heapAllocations() noexcept
{
    return allocations;
}

} // namespace tamsel

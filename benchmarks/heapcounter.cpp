// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "heapcounter.h"

#include <cerrno>
#include <cstddef>

// The C library's own entrances, which it keeps for replacements such as these.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl*)
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl*)

namespace {

// No atomic: the instructions are counted too.
qint64 allocations = 0;

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cppcoreguidelines-no-malloc)
#pragma GCC visibility push(default) // or the libraries would not find them
extern "C" {

void *malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size)
{
    ++allocations;
    return __libc_calloc(count, size);
}

void *realloc(void *block, std::size_t size)
{
    ++allocations;
    return __libc_realloc(block, size);
}

void *memalign(std::size_t alignment, std::size_t size)
{
    ++allocations;
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

} // extern "C"
#pragma GCC visibility pop
// NOLINTEND(readability-inconsistent-declaration-parameter-name,cppcoreguidelines-no-malloc)

namespace tamsel::bench {

qint64 heapAllocations() noexcept
{
    return allocations;
}

} // namespace tamsel::bench

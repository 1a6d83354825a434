// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_REPLACEALLOCATOR_H
#define TAMSEL_TESTS_REPLACEALLOCATOR_H

// Replaces the allocation functions of the whole program, also for calls by Qt and the C and C++
// libraries: a definition in the program takes precedence. Include it in one source file, which
// defines the functions in tamsel::tests below. They must not allocate, and must work before any
// constructor has run. With TAMSEL_ALLOCATIONS_ONLY, free() stays the C library's.

#include <cerrno>
#include <cstddef>

// The C library's own functions, under names that it provides for such replacements.
#ifdef TAMSEL_ADDRESS_SANITIZER
#    define TAMSEL_REAL(function) __interceptor_##function
#else
#    define TAMSEL_REAL(function) __libc_##function
#endif
extern "C" {
void *TAMSEL_REAL(malloc)(std::size_t size) noexcept;
void *TAMSEL_REAL(calloc)(std::size_t count, std::size_t size) noexcept;
void *TAMSEL_REAL(realloc)(void *block, std::size_t size) noexcept;
void *TAMSEL_REAL(memalign)(std::size_t alignment, std::size_t size) noexcept;
void TAMSEL_REAL(free)(void *block) noexcept;
}

namespace tamsel::tests {

static void *allocate(std::size_t size) noexcept;
static void *allocateZeroed(std::size_t count, std::size_t size) noexcept;
static void *allocateAligned(std::size_t alignment, std::size_t size) noexcept;
static void *reallocate(void *block, std::size_t size) noexcept;
#ifndef TAMSEL_ALLOCATIONS_ONLY
static void release(void *block) noexcept;
#endif

} // namespace tamsel::tests

#pragma GCC visibility push(default) // or the libraries would not find them
extern "C" {

void *malloc(std::size_t size) noexcept
{
    return tamsel::tests::allocate(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept
{
    return tamsel::tests::allocateZeroed(count, size);
}

void *realloc(void *block, std::size_t size) noexcept
{
    return tamsel::tests::reallocate(block, size);
}

void *memalign(std::size_t alignment, std::size_t size) noexcept
{
    return tamsel::tests::allocateAligned(alignment, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return tamsel::tests::allocateAligned(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept
{
    *block = tamsel::tests::allocateAligned(alignment, size);
    return *block ? 0 : ENOMEM;
}

#ifndef TAMSEL_ALLOCATIONS_ONLY
void free(void *block) noexcept
{
    tamsel::tests::release(block);
}
#endif

} // extern "C"
#pragma GCC visibility pop

#endif // TAMSEL_TESTS_REPLACEALLOCATOR_H

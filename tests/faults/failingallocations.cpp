// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Stands in for the allocation functions of the whole program, those of Qt and of the C and C++
// libraries included: a definition in the program comes before all others.

#include "failingallocations.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

// NOLINTBEGIN(cppcoreguidelines-macro-usage)
#ifdef TAMSEL_ADDRESS_SANITIZER
#    define TAMSEL_REAL(function) __interceptor_##function
#else
#    define TAMSEL_REAL(function) __libc_##function
#endif
// NOLINTEND(cppcoreguidelines-macro-usage)

extern "C" {
void *TAMSEL_REAL(malloc)(size_t size);
void *TAMSEL_REAL(calloc)(size_t count, size_t size);
void *TAMSEL_REAL(realloc)(void *block, size_t size);
void *TAMSEL_REAL(memalign)(size_t alignment, size_t size);
void TAMSEL_REAL(free)(void *block);
}

namespace tamsel::tests {

namespace {

// Nothing here may allocate, and all of it has to work before any constructor has run.

thread_local int untilFailure = 0; // 0: none is to fail
thread_local AllocationFault::Extent extentOfFailure = AllocationFault::OnlyOne;
thread_local int failureCount = 0;

/*! Whether the allocation that is about to be made has to fail. */
bool hasToFail()
{
    if (untilFailure == 0)
        return false;
    if (untilFailure > 1) {
        --untilFailure;
        return false;
    }
    if (extentOfFailure == AllocationFault::OnlyOne)
        untilFailure = 0;
    ++failureCount;
    errno = ENOMEM;
    return true;
}

thread_local bool isRecorded = false;
std::atomic<void *> ledger[1 << 14];
std::atomic<int> ledgerSize = 0;

void *record(void *block)
{
    if (!isRecorded || !block)
        return block;
    for (std::atomic<void *> &entry : ledger) {
        void *expected = nullptr;
        if (entry.compare_exchange_strong(expected, block)) {
            ++ledgerSize;
            return block;
        }
    }
    std::abort(); // more blocks than the ledger has lines
}

void strike(void *block)
{
    if (!block || ledgerSize == 0)
        return;
    for (std::atomic<void *> &entry : ledger) {
        void *expected = block;
        if (entry.compare_exchange_strong(expected, nullptr)) {
            --ledgerSize;
            return;
        }
    }
}

void *allocate(size_t size)
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(malloc)(size));
}

void *allocateAligned(size_t alignment, size_t size)
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(memalign)(alignment, size));
}

void release(void *block)
{
    strike(block);
    TAMSEL_REAL(free)(block);
}

void *orThrow(void *block)
{
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

AllocationFault::AllocationFault(int number, Extent extent)
{
    failureCount = 0;
    extentOfFailure = extent;
    untilFailure = number;
}

AllocationFault::~AllocationFault()
{
    untilFailure = 0;
}

int AllocationFault::failures() const
{
    return failureCount;
}

AllocationLedger::AllocationLedger()
{
    isRecorded = true;
}

AllocationLedger::~AllocationLedger()
{
    isRecorded = false;
    for (std::atomic<void *> &entry : ledger)
        entry = nullptr;
    ledgerSize = 0;
}

int AllocationLedger::alive() const
{
    return ledgerSize;
}

} // namespace tamsel::tests

using namespace tamsel::tests;

#define TAMSEL_REPLACED __attribute__((visibility("default")))

extern "C" {
TAMSEL_REPLACED void *malloc(size_t size) noexcept
{
    return allocate(size);
}
TAMSEL_REPLACED void *calloc(size_t count, size_t size) noexcept
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(calloc)(count, size));
}
TAMSEL_REPLACED void *realloc(void *block, size_t size) noexcept
{
    if (hasToFail())
        return nullptr;
    strike(block);
    return record(TAMSEL_REAL(realloc)(block, size));
}
TAMSEL_REPLACED void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    return allocateAligned(alignment, size);
}
TAMSEL_REPLACED int posix_memalign(void **block, size_t alignment, size_t size) noexcept
{
    *block = allocateAligned(alignment, size);
    return *block ? 0 : ENOMEM;
}
TAMSEL_REPLACED void free(void *block) noexcept
{
    release(block);
}
}

TAMSEL_REPLACED void *operator new(size_t size)
{
    return orThrow(allocate(std::max<size_t>(size, 1)));
}
TAMSEL_REPLACED void *operator new[](size_t size)
{
    return operator new(size);
}
TAMSEL_REPLACED void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}
TAMSEL_REPLACED void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}
TAMSEL_REPLACED void operator delete(void *block) noexcept
{
    release(block);
}
TAMSEL_REPLACED void operator delete[](void *block) noexcept
{
    release(block);
}
TAMSEL_REPLACED void operator delete(void *block, size_t) noexcept
{
    release(block);
}
TAMSEL_REPLACED void operator delete[](void *block, size_t) noexcept
{
    release(block);
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "failingallocations.h"
#include "replaceallocator.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace tamsel::tests {

namespace {

thread_local int untilFailure = 0; // 0: none fails
thread_local AllocationFault::Extent extentOfFailure = AllocationFault::OnlyOne;
thread_local int failureCount = 0;

// Whether the next allocation has to fail.
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

void *orThrow(void *block)
{
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

void *allocate(std::size_t size) noexcept
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(malloc)(size));
}

void *allocateZeroed(std::size_t count, std::size_t size) noexcept
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(calloc)(count, size));
}

void *allocateAligned(std::size_t alignment, std::size_t size) noexcept
{
    return hasToFail() ? nullptr : record(TAMSEL_REAL(memalign)(alignment, size));
}

void *reallocate(void *block, std::size_t size) noexcept
{
    if (hasToFail())
        return nullptr;
    strike(block);
    return record(TAMSEL_REAL(realloc)(block, size));
}

void release(void *block) noexcept
{
    strike(block);
    TAMSEL_REAL(free)(block);
}

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

// The sanitizer has its own operators, which do not call malloc().
#define TAMSEL_REPLACED __attribute__((visibility("default")))

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

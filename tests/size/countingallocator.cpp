// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "countingallocator.h"
#include "replaceallocator.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>

namespace tamsel::tests {

namespace {

std::atomic<qsizetype> liveBlocks = 0;
std::atomic<qsizetype> liveBytes = 0;

// In front of every block.
struct alignas(std::max_align_t) Header
{
    std::size_t size; // as it was asked for
    void *allocation; // what the C library gave for header and block
};

Header *headerOf(void *block)
{
    return std::prev(static_cast<Header *>(block));
}

} // namespace

void *allocateAligned(std::size_t alignment, std::size_t size) noexcept
{
    alignment = std::max(alignment, alignof(std::max_align_t));
    const std::size_t overhead = sizeof(Header) + alignment;
    const bool possible = size <= std::numeric_limits<std::size_t>::max() - overhead;
    void *const allocation = possible ? TAMSEL_REAL(malloc)(size + overhead) : nullptr;
    if (!allocation) {
        errno = ENOMEM;
        return nullptr;
    }
    void *block = std::next(static_cast<Header *>(allocation));
    std::size_t room = size + alignment;
    std::align(alignment, size, block, room);
    *headerOf(block) = {size, allocation};
    ++liveBlocks;
    liveBytes += static_cast<qsizetype>(size);
    return block;
}

void *allocate(std::size_t size) noexcept
{
    return allocateAligned(alignof(std::max_align_t), size);
}

void *allocateZeroed(std::size_t count, std::size_t size) noexcept
{
    if (size > 0 && count > std::numeric_limits<std::size_t>::max() / size) {
        errno = ENOMEM;
        return nullptr;
    }
    void *const block = allocate(count * size);
    if (block)
        std::memset(block, 0, count * size);
    return block;
}

void release(void *block) noexcept
{
    if (!block)
        return;
    const Header header = *headerOf(block);
    --liveBlocks;
    liveBytes -= static_cast<qsizetype>(header.size);
    TAMSEL_REAL(free)(header.allocation);
}

void *reallocate(void *block, std::size_t size) noexcept
{
    void *const moved = allocate(size);
    if (block && moved) {
        std::memcpy(moved, block, std::min(size, headerOf(block)->size));
        release(block);
    }
    return moved;
}

Heap Heap::now()
{
    return {liveBlocks, liveBytes};
}

} // namespace tamsel::tests

extern "C" __attribute__((visibility("default"))) std::size_t malloc_usable_size(void *block)
{
    return block ? tamsel::tests::headerOf(block)->size : 0;
}

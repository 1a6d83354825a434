// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "countingallocator.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>

// The C library's own entrances, which it keeps for replacements such as these.
extern "C" {
void *__libc_malloc(std::size_t size); // NOLINT(bugprone-reserved-identifier,cert-dcl*)
void __libc_free(void *block); // NOLINT(bugprone-reserved-identifier,cert-dcl*)
}

namespace {

std::atomic<qsizetype> liveBlocks = 0;
std::atomic<qsizetype> liveBytes = 0;

/*! Stands in front of every block. */
struct alignas(std::max_align_t) Header
{
    std::size_t size; // as it was asked for
    void *allocation; // what the C library gave for header and block
};

Header *headerOf(void *block)
{
    return std::prev(static_cast<Header *>(block));
}

void *allocate(std::size_t size, std::size_t alignment)
{
    const std::size_t overhead = sizeof(Header) + alignment;
    const bool possible = size <= std::numeric_limits<std::size_t>::max() - overhead;
    void *const allocation = possible ? __libc_malloc(size + overhead) : nullptr;
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

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cppcoreguidelines-no-malloc)
#pragma GCC visibility push(default) // or the other libraries would not find them
extern "C" {

void *malloc(std::size_t size)
{
    return allocate(size, alignof(std::max_align_t));
}

void *memalign(std::size_t alignment, std::size_t size)
{
    return allocate(size, std::max(alignment, alignof(std::max_align_t)));
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

void *calloc(std::size_t count, std::size_t size)
{
    if (size > 0 && count > std::numeric_limits<std::size_t>::max() / size) {
        errno = ENOMEM;
        return nullptr;
    }
    void *const block = allocate(count * size, alignof(std::max_align_t));
    if (block)
        std::memset(block, 0, count * size);
    return block;
}

void free(void *block)
{
    if (!block)
        return;
    const Header header = *headerOf(block);
    --liveBlocks;
    liveBytes -= static_cast<qsizetype>(header.size);
    __libc_free(header.allocation);
}

void *realloc(void *block, std::size_t size)
{
    void *const moved = allocate(size, alignof(std::max_align_t));
    if (block && moved) {
        std::memcpy(moved, block, std::min(size, headerOf(block)->size));
        free(block);
    }
    return moved;
}

std::size_t malloc_usable_size(void *block)
{
    return block ? headerOf(block)->size : 0;
}

} // extern "C"
#pragma GCC visibility pop
// NOLINTEND(readability-inconsistent-declaration-parameter-name,cppcoreguidelines-no-malloc)

namespace tamsel::tests {

Heap Heap::now()
{
    return {liveBlocks, liveBytes};
}

} // namespace tamsel::tests

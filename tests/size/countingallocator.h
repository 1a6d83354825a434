// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_COUNTINGALLOCATOR_H
#define TAMSEL_TESTS_COUNTINGALLOCATOR_H

#include <QtCore/qglobal.h>

namespace tamsel::tests {

// What the whole process has on the heap now. A program that links this file takes malloc() and its
// kin from it, the shared libraries included; they count and pass on to the C library.
struct Heap
{
    qsizetype blocks = 0;
    qsizetype bytes = 0; // as asked for; the C library rounds up and adds a header

    static Heap now();

    friend Heap operator+(const Heap &one, const Heap &other)
    {
        return {one.blocks + other.blocks, one.bytes + other.bytes};
    }
    friend Heap operator-(const Heap &after, const Heap &before)
    {
        return {after.blocks - before.blocks, after.bytes - before.bytes};
    }
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_COUNTINGALLOCATOR_H

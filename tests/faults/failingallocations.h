// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FAILINGALLOCATIONS_H
#define TAMSEL_TESTS_FAILINGALLOCATIONS_H

#include <QtCore/QtGlobal>

namespace tamsel::tests {

// While it lives, allocations of its thread fail as if memory had run out: malloc() and the like
// return null, operator new throws std::bad_alloc. One at a time.
class AllocationFault
{
public:
    enum Extent {
        OnlyOne, // as at a short peak: the one with that number
        AllFrom, // as if memory is used up: that one and all later ones
    };

    // The first allocation from now on has the number 1.
    AllocationFault(int number, Extent extent);
    ~AllocationFault();

    // How many allocations have failed so far.
    int failures() const;

private:
    Q_DISABLE_COPY_MOVE(AllocationFault)
};

// While it lives, it counts the allocations of its thread that no thread has freed. One at a time.
class AllocationLedger
{
public:
    AllocationLedger();
    ~AllocationLedger();

    int alive() const;

private:
    Q_DISABLE_COPY_MOVE(AllocationLedger)
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FAILINGALLOCATIONS_H

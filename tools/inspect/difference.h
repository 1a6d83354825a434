// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef DIFFERENCE_H
#define DIFFERENCE_H

#include "options.h"

class Box;
class TablePrinter;

// Prints what readers would see change if before became after. Returns whether anything
// would.
bool printDifference(const Box &before, const Box &after, const Options &options,
                     TablePrinter &printer);

#endif // DIFFERENCE_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef DIFFERENCE_H
#define DIFFERENCE_H

#include "options.h"

class Source;
class TablePrinter;

// Prints which effective values would change if one box became the other. Returns whether any would.
bool printDifference(const Source &before, const Source &after, const Options &options,
                     TablePrinter &printer);

#endif // DIFFERENCE_H

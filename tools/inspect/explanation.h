// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef EXPLANATION_H
#define EXPLANATION_H

#include "options.h"

class Box;
class TablePrinter;

// Prints the walk through all layers for the setting that options name. Returns whether a layer
// answers.
bool printExplanation(const Box &box, const Options &options, TablePrinter &printer);

#endif // EXPLANATION_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef EXPLANATION_H
#define EXPLANATION_H

#include "options.h"

class Source;
class TablePrinter;

// Prints what every layer holds for the setting that the options name. Returns whether one of them
// is its origin.
bool printExplanation(const Source &source, const Options &options, TablePrinter &printer);

#endif // EXPLANATION_H

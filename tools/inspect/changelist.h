// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef CHANGELIST_H
#define CHANGELIST_H

#include "options.h"

class SnapshotFile;
class TablePrinter;

// Prints the last changes that the options ask for, oldest first. Returns whether there is one.
bool printChanges(const SnapshotFile &snapshot, const Options &options, TablePrinter &printer);

#endif // CHANGELIST_H

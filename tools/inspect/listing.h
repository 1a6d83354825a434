// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef LISTING_H
#define LISTING_H

#include "options.h"

#include <QtCore/QString>

class Source;
class TablePrinter;

// Prints a row for each setting that the options ask for. Returns whether there is one.
bool printSettings(const Source &source, const Options &options, TablePrinter &printer);

// Prints the value of the setting that the options ask for, and nothing else. Returns whether there
// is one.
bool printValue(const Source &source, const Options &options, TablePrinter &printer);

// A layer's value in JSON.
QString jsonOf(const LayerValue &layerValue);

#endif // LISTING_H

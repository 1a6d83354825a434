// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef LISTING_H
#define LISTING_H

#include "options.h"

#include <QtCore/QString>

class Box;
class QJsonObject;
class TablePrinter;
struct LayerValue;

// Prints a row for each setting that options ask for. Returns whether there was one.
bool printSettings(const Box &box, const Options &options, TablePrinter &printer);

// "RavonaConfDefault 'ru'"; with the name of its entry where readers of the setting do not get it.
QString layerValueText(const LayerValue &layerValue);

// What a layer holds, with the keys "layer", "value", "type" and "file".
QJsonObject layerValueObject(const LayerValue &layerValue);

// The same and "entry".
QJsonObject entryObject(const LayerValue &layerValue);

#endif // LISTING_H

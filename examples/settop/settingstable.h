// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTINGSTABLE_H
#define SETTINGSTABLE_H

#include "settingscatalogue.h"

class QTextStream;

/*! Prints a row for each of \a settings, in aligned columns. */
void printTable(QTextStream &out, const QList<EffectiveSetting> &settings);

#endif // SETTINGSTABLE_H

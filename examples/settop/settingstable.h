// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTINGSTABLE_H
#define SETTINGSTABLE_H

namespace tamsel {
class ConfigurationManager;
}
class QTextStream;

// Prints a row for each setting of this host that a layer holds, in aligned columns.
void printTable(QTextStream &out, const tamsel::ConfigurationManager &settings);

#endif // SETTINGSTABLE_H

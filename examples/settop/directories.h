// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef DIRECTORIES_H
#define DIRECTORIES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// The arguments, after the name of the program, that are neither an option nor the value of one.
// tamsel::commandLineArgs::parse() ignores them, and must have accepted the command line before.
QStringList positionalArguments(const QStringList &arguments);

// The directory as a text that file names can be appended to: the library adds no "/".
QString asPrefix(const QString &directory);

// Creates the directory if it is missing. Returns what is wrong if files cannot be made there, an
// empty text otherwise.
QString prepareStorage(const QString &directory);

#endif // DIRECTORIES_H

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

// Creates the directory if it is missing. Returns an error message if no file can be created there,
// else an empty text.
QString prepareStorage(const QString &directory);

#endif // DIRECTORIES_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_PROGRAM_H
#define TAMSEL_TESTS_PROGRAM_H

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>

QT_FORWARD_DECLARE_CLASS(QProcess)

namespace tamsel::tests {

// How long a step of another program may take, in milliseconds; emulated programs are slow.
inline constexpr int patience = 120'000;

// The result of a program that was run to its end.
struct ProgramResult
{
    QString end; // "exit 0", "signal 6", or what kept it from running
    QString output;
    QString errors; // standard error
};

// Options for running a program.
struct ProgramSurroundings
{
    ProgramSurroundings();

    QString directory; // the test's current directory if empty
    QString outputFile; // gets standard output instead of the result; may be a terminal
    bool isOfThisMachine = false; // like /bin/sh, which needs no emulator
    QProcessEnvironment environment; // a UTF-8 locale, and Qt's messages as they are by default
};

// Runs program and waits for its end; under CMAKE_CROSSCOMPILING_EMULATOR if this tree is built
// with one. Messages of the emulator itself are left out.
ProgramResult runProgram(const QString &program, const QStringList &arguments,
                         const ProgramSurroundings &surroundings = {});

// Starts program as runProgram() does, and does not wait.
void startProgram(QProcess *process, const QString &program, const QStringList &arguments,
                  const ProgramSurroundings &surroundings = {});

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_PROGRAM_H

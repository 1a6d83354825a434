// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "program.h"

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// The emulator's command line; empty if programs run without one.
QStringList emulator()
{
    return QStringLiteral(TAMSEL_TESTS_EMULATOR).split(u'|', Qt::SkipEmptyParts);
}

// Some programs abort on purpose; they must not leave a core file in their directory.
void leaveNoCoreBehind()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

QString endOf(const QProcess &process)
{
    const QString how
            = process.exitStatus() == QProcess::NormalExit ? u"exit %1"_s : u"signal %1"_s;
    return how.arg(process.exitCode());
}

// If a signal ends the program, the emulator says so on the program's standard error.
QString withoutEmulatorsRemarks(QString errors)
{
    static const QRegularExpression remark(u"^qemu: uncaught target signal .*\n"_s,
                                           QRegularExpression::MultilineOption);
    return emulator().isEmpty() ? errors : errors.remove(remark);
}

} // namespace

ProgramSurroundings::ProgramSurroundings() : environment(QProcessEnvironment::systemEnvironment())
{
    // Qt warns of any other locale, and its messages may go to the system's log or look different.
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    environment.remove(u"QT_MESSAGE_PATTERN"_s);
}

ProgramResult runProgram(const QString &program, const QStringList &arguments,
                         const ProgramSurroundings &surroundings)
{
    QProcess process;
    startProgram(&process, program, arguments, surroundings);
    if (!process.waitForFinished(patience)) {
        const QString reason = process.errorString();
        process.kill();
        process.waitForFinished();
        return {reason, {}, {}};
    }
    return {endOf(process), QString::fromUtf8(process.readAllStandardOutput()),
            withoutEmulatorsRemarks(QString::fromUtf8(process.readAllStandardError()))};
}

void startProgram(QProcess *process, const QString &program, const QStringList &arguments,
                  const ProgramSurroundings &surroundings)
{
    QStringList command = QStringList(program) + arguments;
    if (!surroundings.isOfThisMachine)
        command = emulator() + command;
    process->setProgram(command.takeFirst());
    process->setArguments(command);
    process->setWorkingDirectory(surroundings.directory);
    process->setProcessEnvironment(surroundings.environment);
    if (!surroundings.outputFile.isEmpty())
        process->setStandardOutputFile(surroundings.outputFile, QIODevice::Append);
    process->setChildProcessModifier(leaveNoCoreBehind);
    process->start(QIODevice::ReadOnly);
}

} // namespace tamsel::tests

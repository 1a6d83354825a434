// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TRANSCRIPTS_H
#define TAMSEL_TESTS_TRANSCRIPTS_H

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <optional>

namespace tamsel::tests {

// A terminal that a program can write to. It is read only after the program has ended, so the
// output must be small enough for its buffer.
class Terminal
{
public:
    explicit Terminal(ushort columns);
    ~Terminal();
    QString name() const { return m_name; } // empty if there are no terminals
    QString text() const;

private:
    Q_DISABLE_COPY_MOVE(Terminal)

    const int m_screen;
    int m_keyboard = -1;
    QString m_name;
};

// A temporary directory in which shell commands are run and compared with transcripts. The contents
// of a file follow "<< a file", the output of a command follows "$ a command". Lines of standard
// error begin with "! ", "[1]" is an exit code. "80$ a command" runs it on a terminal of 80
// columns.
class TestShell
{
public:
    // `program` is the name by which commands call a program, `command` its shell command.
    TestShell(const QString &program, const QByteArray &command);

    QString path(const QString &name) const { return m_directory.filePath(name); }
    // Creates missing directories too.
    void write(const QString &name, const QByteArray &contents) const;
    QString run(const QString &command, const QProcessEnvironment &changes = {},
                std::optional<ushort> columns = {}) const;
    // Runs the commands of a transcript, compares, and returns how many there are.
    int check(const QString &transcript) const;

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

private:
    QTemporaryDir m_directory;
    QTemporaryDir m_programs;
};

// A column "transcript" and a row for each "== a name" in the *.txt files of a directory.
void addTranscriptRows(const QString &directory);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TRANSCRIPTS_H

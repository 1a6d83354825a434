// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TRANSCRIPTS_H
#define TAMSEL_TESTS_TRANSCRIPTS_H

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <optional>

namespace tamsel::tests {

// A terminal that a program can write to. It holds little: it is read only after the program has ended.
class Terminal
{
public:
    explicit Terminal(ushort columns);
    ~Terminal();
    QString name() const { return m_name; } // empty where there are no terminals
    QString text() const;

private:
    Q_DISABLE_COPY_MOVE(Terminal)

    const int m_screen;
    int m_keyboard = -1;
    QString m_name;
};

// A temporary directory in which commands of the shell are run and compared with transcripts:
// "<< a file" says what a file holds, "$ a command" what it prints, "! " in front of standard error,
// "[1]" for an exit code. "80$ a command" runs it on a terminal of 80 columns.
class TestShell
{
public:
    // The commands find a program by its name; command is what the shell is given for it.
    TestShell(const QString &program, const QByteArray &command);

    QString path(const QString &name) const { return m_directory.filePath(name); }
    // Makes the directories on the way as well.
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

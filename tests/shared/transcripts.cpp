// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "transcripts.h"

#include "files.h"
#include "program.h"

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <algorithm>
#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

Terminal::Terminal(ushort columns) : m_screen(posix_openpt(O_RDWR | O_NOCTTY))
{
    std::array<char, 64> name{};
    if (m_screen < 0 || grantpt(m_screen) != 0 || unlockpt(m_screen) != 0
        || ptsname_r(m_screen, name.data(), name.size()) != 0)
        return;
    m_name = QFile::decodeName(name.data());
    // Kept open: the output is lost when the last descriptor is closed.
    m_keyboard = open(name.data(), O_RDWR | O_NOCTTY);
    const winsize size{24, columns, 0, 0};
    ioctl(m_screen, TIOCSWINSZ, &size);
    fcntl(m_screen, F_SETFL, O_NONBLOCK);
}

Terminal::~Terminal()
{
    close(m_keyboard);
    close(m_screen);
}

QString Terminal::text() const
{
    QByteArray result;
    std::array<char, 1024> buffer{};
    for (ssize_t size = 1; size > 0;) {
        size = read(m_screen, buffer.data(), buffer.size());
        result.append(buffer.data(), std::max<ssize_t>(size, 0));
    }
    return QString::fromUtf8(result).remove(u'\r');
}

TestShell::TestShell(const QString &program, const QByteArray &command)
{
    const QString script = m_programs.filePath(program);
    if (!writeFile(script, "#!/bin/sh\nulimit -c 0\nexec " + command + " \"$@\"\n")
        || !QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        qFatal("no script written");
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    environment.insert(u"PATH"_s, m_programs.path() + u':' + environment.value(u"PATH"_s));
}

void TestShell::write(const QString &name, const QByteArray &contents) const
{
    QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
    QVERIFY(writeFile(path(name), contents));
}

QString TestShell::run(const QString &command, const QProcessEnvironment &changes,
                       std::optional<ushort> columns) const
{
    const Terminal terminal(columns.value_or(0));
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!changes.isEmpty()) {
        QProcessEnvironment changed = environment;
        changed.insert(changes);
        process.setProcessEnvironment(changed);
    }
    process.setWorkingDirectory(m_directory.path());
    process.setStandardInputFile(QProcess::nullDevice());
    if (columns)
        process.setStandardOutputFile(terminal.name(), QIODevice::Append);
    process.start(u"/bin/sh"_s, {u"-c"_s, command});
    if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit)
        return process.errorString();
    QString result = columns ? terminal.text() : QString::fromUtf8(process.readAllStandardOutput());
    const QStringList errors
            = QString::fromUtf8(process.readAllStandardError()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &error : errors)
        result += "! "_L1 + error + u'\n';
    if (process.exitCode() != 0)
        result += u"[%1]\n"_s.arg(process.exitCode());
    return result;
}

int TestShell::check(const QString &transcript) const
{
    static const QRegularExpression step(
            u"^(<< |(\\d*)\\$ )(.*)\n((?:(?!\\d*\\$ |<< |```).*\n)*)"_s,
            QRegularExpression::MultilineOption);
    int count = 0;
    auto matches = step.globalMatch(transcript);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString command = match.captured(3);
        if (match.captured(1) == "<< "_L1) {
            write(command, match.captured(4).toUtf8());
            continue;
        }
        ++count;
        const QString columns = match.captured(2);
        const QString shown = run(
                command, {}, columns.isEmpty() ? std::nullopt : std::optional(columns.toUShort()));
        if (shown != match.captured(4)) {
            // Not QCOMPARE(), which truncates long texts.
            QTest::qFail(qUtf8Printable(command + " prints\n"_L1 + shown), __FILE__, __LINE__);
            return count;
        }
    }
    return count;
}

void addTranscriptRows(const QString &directory)
{
    QTest::addColumn<QString>("transcript");

    const QDir folder(directory);
    const QStringList files = folder.entryList({u"*.txt"_s});
    for (const QString &file : files) {
        const QString text = u'\n' + QString::fromUtf8(readFile(folder.filePath(file)));
        const QStringList sections = text.split(u"\n== "_s).mid(1);
        for (QString section : sections) {
            // The blank line before the next section is not output of the last command.
            if (section.endsWith(u'\n'))
                section.chop(1);
            const QString row = file.section(u'.', 0, 0) + ": "_L1 + section.section(u'\n', 0, 0);
            QTest::newRow(qUtf8Printable(row)) << section + u'\n';
        }
    }
}

} // namespace tamsel::tests

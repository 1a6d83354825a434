// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "childprocess.h"

#include <QtCore/QtGlobal>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tamsel::tests {

namespace {

// An expected death leaves no core file, no backtrace and no output.
void dieQuietly()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    qInstallMessageHandler(nullptr);
    for (const int number : {SIGABRT, SIGALRM, SIGBUS, SIGILL, SIGSEGV})
        static_cast<void>(std::signal(number, SIG_DFL));
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
}

// An exception from work ends the child: it must not propagate into the parent's frames.
QByteArray reportOf(const std::function<QByteArray()> &work) noexcept
{
    return work().append('\n');
}

} // namespace

ChildResult inChild(const std::function<QByteArray()> &work, unsigned seconds)
{
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    const pid_t child = fork();
    if (child < 0)
        qFatal("cannot fork");
    if (child == 0) {
        dieQuietly();
        alarm(seconds);
        const QByteArray report = reportOf(work);
        const ssize_t written = write(ends[1], report.constData(), size_t(report.size()));
        _exit(written == report.size() ? 0 : 1);
    }

    close(ends[1]);
    ChildResult result;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        result.report.append(buffer, qsizetype(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.end = WIFSIGNALED(status)
            ? QByteArray("signal ").append(QByteArray::number(WTERMSIG(status)))
            : QByteArray("exit ").append(QByteArray::number(WEXITSTATUS(status)));
    result.lived = result.report.endsWith('\n');
    result.report.chop(1);
    return result;
}

} // namespace tamsel::tests

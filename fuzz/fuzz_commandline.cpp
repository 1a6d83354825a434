// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The input is the argument vector, one argument per line. The parser may end the process, so it runs in
// a child process, which must end in one of the documented ways.

#include <tamsel/commandlineargs.h>

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int badShape = 3;

bool isInt(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<int>();
}

bool isText(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QString>() && !value.toString().isEmpty();
}

bool hasDocumentedShape(const QVariantMap &groups)
{
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const QVariantMap entries = group->toMap();
        if (entries.isEmpty())
            return false;
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            const QString path = group.key() + u'/' + entry.key();
            const bool known = path == "Logging/level"_L1 || path == "Service/pos"_L1
                    ? isInt(*entry)
                    : path == "Service/ott_drm"_L1 ? *entry == QVariant(true)
                    : path == "Service/playUrl"_L1 || path == "Service/testSpyUrl"_L1
                            || path == "Service/audio"_L1 || path == "Service/subs"_L1
                    ? isText(*entry)
                    : false;
            if (!known)
                return false;
        }
    }
    return true;
}

[[noreturn]] void parseAndExit(std::vector<std::string> &arguments)
{
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    // The parser may exit and abort, as documented; libFuzzer must not report either as a finding.
    on_exit([](int code, void *) { _exit(code); }, nullptr);
    signal(SIGABRT, SIG_DFL);

    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    int argc = int(argv.size());
    argv.push_back(nullptr);
    const QCoreApplication application(argc, argv.data());
    _exit(hasDocumentedShape(tamsel::commandLineArgs::parse()) ? EXIT_SUCCESS : badShape);
}

} // namespace

// The sanitizers' default exit code, 1, would look like a documented one.
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "exitcode=99";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::vector<std::string> arguments{"host"};
    std::string argument;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            arguments.push_back(argument);
            argument.clear();
        } else if (data[i] != 0) { // an argument cannot contain a NUL
            argument.push_back(char(data[i]));
        }
    }
    arguments.push_back(argument);

    const pid_t child = fork();
    if (child == 0)
        parseAndExit(arguments);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return 0;
    const bool exited = WIFEXITED(status)
            && (WEXITSTATUS(status) == EXIT_SUCCESS || WEXITSTATUS(status) == EXIT_FAILURE);
    const bool aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
    if (!exited && !aborted) {
        fprintf(stderr, "the child ended with status %d\n", status);
        abort();
    }
    return 0;
}

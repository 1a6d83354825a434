// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "recordedcalls.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <cerrno>
#include <cstdarg>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

struct Recording
{
    QByteArray folder; // with a "/" at its end
    bool refusesUnnamed;
    Calls calls;
    QMap<QByteArray, int> files; // those with a name
    QHash<int, int> openFiles; // by descriptor
    int fileCount;
};

thread_local Recording *recording = nullptr; // null while a call is recorded

// Pauses the recording, so that the recording code's own calls are not recorded.
class Pause
{
public:
    Pause() : m_recording(std::exchange(recording, nullptr)) { }
    ~Pause() { recording = m_recording; }
    Q_DISABLE_COPY_MOVE(Pause)

    Recording *operator->() const { return m_recording; }
    explicit operator bool() const { return m_recording != nullptr; }

    // The name in the folder; null if the path is outside it.
    QByteArray nameOf(const char *path) const
    {
        const QByteArray text(path);
        return m_recording != nullptr && text.startsWith(m_recording->folder)
                ? text.mid(m_recording->folder.size())
                : QByteArray();
    }

    void add(const Call &call) const { m_recording->calls.append(call); }

private:
    Recording *const m_recording;
};

template <typename Function> Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool hasMode(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

int recordOpen(const char *function, const char *path, int flags, mode_t mode)
{
    const Pause paused;
    const bool isUnnamed = (flags & O_TMPFILE) == O_TMPFILE;
    if (isUnnamed && paused && paused->refusesUnnamed) {
        errno = EOPNOTSUPP;
        return -1;
    }
    const int result = next<int (*)(const char *, int, ...)>(function)(path, flags, mode);
    if (result < 0 || !paused)
        return result;
    const QByteArray name = paused.nameOf(path);
    if (isUnnamed || (!name.isNull() && !paused->files.contains(name) && (flags & O_CREAT) != 0)) {
        const int file = paused->fileCount++;
        paused.add({Call::Create, file, isUnnamed ? QByteArray() : name, {}, {}});
        if (!isUnnamed)
            paused->files.insert(name, file);
        paused->openFiles.insert(result, file);
    } else if (!name.isNull()) {
        paused->openFiles.insert(result, paused->files.value(name));
    }
    return result;
}

int recordSync(const char *function, int descriptor)
{
    const Pause paused;
    const int result = next<int (*)(int)>(function)(descriptor);
    if (result == 0 && paused && paused->openFiles.contains(descriptor))
        paused.add({Call::Sync, paused->openFiles.value(descriptor), {}, {}, {}});
    return result;
}

} // namespace

} // namespace tamsel::tests

using namespace tamsel::tests;

// The functions that QtCore calls. If one is missing here, the test notices that the folder differs
// from the recorded calls' result.

#undef open
#undef open64

extern "C" Q_DECL_EXPORT int open(const char *path, int flags, ...)
{
    va_list list;
    va_start(list, flags);
    const mode_t mode = hasMode(flags) ? va_arg(list, mode_t) : 0;
    va_end(list);
    return recordOpen("open", path, flags, mode);
}

extern "C" Q_DECL_EXPORT int open64(const char *path, int flags, ...)
{
    va_list list;
    va_start(list, flags);
    const mode_t mode = hasMode(flags) ? va_arg(list, mode_t) : 0;
    va_end(list);
    return recordOpen("open64", path, flags, mode);
}

extern "C" Q_DECL_EXPORT int fsync(int descriptor)
{
    return recordSync("fsync", descriptor);
}

extern "C" Q_DECL_EXPORT int fdatasync(int descriptor)
{
    return recordSync("fdatasync", descriptor);
}

extern "C" Q_DECL_EXPORT int close(int descriptor)
{
    const Pause paused;
    if (paused)
        paused->openFiles.remove(descriptor);
    static const auto real = next<int (*)(int)>("close");
    return real(descriptor);
}

extern "C" Q_DECL_EXPORT ssize_t write(int descriptor, const void *data, size_t size)
{
    const Pause paused;
    static const auto real = next<ssize_t (*)(int, const void *, size_t)>("write");
    const ssize_t result = real(descriptor, data, size);
    if (result > 0 && paused && paused->openFiles.contains(descriptor)) {
        paused.add({Call::Write,
                    paused->openFiles.value(descriptor),
                    {},
                    {},
                    QByteArray(static_cast<const char *>(data), qsizetype(result))});
    }
    return result;
}

extern "C" Q_DECL_EXPORT int linkat(int from, const char *oldPath, int to, const char *newPath,
                                    int flags) noexcept
{
    const Pause paused;
    static const auto real = next<int (*)(int, const char *, int, const char *, int)>("linkat");
    const int result = real(from, oldPath, to, newPath, flags);
    const QByteArray name = paused.nameOf(newPath);
    if (result == 0 && !name.isNull()) {
        const QByteArray descriptor = QByteArray(oldPath).mid(int(qstrlen("/proc/self/fd/")));
        const int file = paused->openFiles.value(descriptor.toInt(), -1);
        paused->files.insert(name, file);
        paused.add({Call::Link, file, name, {}, {}});
    }
    return result;
}

extern "C" Q_DECL_EXPORT int rename(const char *oldPath, const char *newPath) noexcept
{
    const Pause paused;
    static const auto real = next<int (*)(const char *, const char *)>("rename");
    const int result = real(oldPath, newPath);
    const QByteArray name = paused.nameOf(newPath);
    if (result == 0 && !name.isNull()) {
        const QByteArray oldName = paused.nameOf(oldPath);
        const int file = paused->files.take(oldName);
        paused->files.insert(name, file);
        paused.add({Call::Rename, file, name, oldName, {}});
    }
    return result;
}

extern "C" Q_DECL_EXPORT int unlink(const char *path) noexcept
{
    const Pause paused;
    static const auto real = next<int (*)(const char *)>("unlink");
    const int result = real(path);
    const QByteArray name = paused.nameOf(path);
    if (result == 0 && !name.isNull())
        paused.add({Call::Remove, paused->files.take(name), name, {}, {}});
    return result;
}

namespace tamsel::tests {

namespace {

using Names = QMap<QByteArray, int>;

bool isOfNames(const Call &call)
{
    switch (call.kind) {
    case Call::Create:
        return !call.name.isEmpty();
    case Call::Write:
    case Call::Sync:
        return false;
    case Call::Link:
    case Call::Rename:
    case Call::Remove:
        return true;
    }
    return false;
}

void apply(const Call &call, Names *names)
{
    names->remove(call.kind == Call::Remove ? call.name : call.oldName);
    if (call.kind != Call::Remove)
        names->insert(call.name, call.file);
}

// The contents of a file that the disk may hold after the first \a count calls.
QList<QByteArray> contentsAfterPowerCut(int file, const QList<QByteArray> &before,
                                        const Calls &calls, qsizetype count)
{
    QByteArray safe = before.value(file);
    QByteArray all = safe;
    for (const Call &call : calls.first(count)) {
        if (call.file != file)
            continue;
        all += call.data;
        if (call.kind == Call::Sync)
            safe = all;
    }
    QList<QByteArray> result;
    for (qsizetype size = safe.size(); size <= all.size(); ++size) {
        result.append(all.first(size));
        if (size < all.size())
            result.append(all.first(size) + QByteArray(all.size() - size, '\0'));
    }
    return result;
}

} // namespace

FolderState stateOf(const QString &folder)
{
    FolderState result;
    const QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        QFile file(folder + u'/' + name);
        if (file.open(QFile::ReadOnly)) // a host could not read it either
            result.insert(name.toUtf8(), file.readAll());
    }
    return result;
}

Calls recordCalls(const QString &folder, UnnamedFiles unnamed, const std::function<void()> &action)
{
    Recording result{folder.toUtf8() + '/', unnamed == UnnamedFiles::Refused, {}, {}, {}, 0};
    const FolderState before = stateOf(folder);
    for (auto file = before.keyBegin(); file != before.keyEnd(); ++file)
        result.files.insert(*file, result.fileCount++);
    recording = &result;
    action();
    recording = nullptr;
    return result.calls;
}

QList<QByteArray> describe(const Calls &calls)
{
    QMap<int, QByteArray> names;
    for (const Call &call : calls) {
        if (!call.name.isEmpty())
            names.insert(call.file, call.name);
    }
    QList<QByteArray> result;
    for (const Call &call : calls) {
        const QByteArray &name = names[call.file];
        switch (call.kind) {
        case Call::Create:
            result.append("create " + (call.name.isEmpty() ? "without a name" : call.name));
            break;
        case Call::Write:
            result.append("write " + name
                          + (name.endsWith(".lock") ? QByteArray()
                                                    : ": " + QByteArray::number(call.data.size())));
            break;
        case Call::Sync:
            result.append("synchronise " + name);
            break;
        case Call::Link:
            result.append("link " + call.name);
            break;
        case Call::Rename:
            result.append("rename " + call.oldName + " to " + call.name);
            break;
        case Call::Remove:
            result.append("remove " + call.name);
            break;
        }
    }
    static const QRegularExpression ending(u"(\\.conf)\\.[A-Za-z]{6}\\b"_s);
    for (QByteArray &line : result)
        line = QString::fromUtf8(line).replace(ending, u"\\1.XXXXXX"_s).toUtf8();
    return result;
}

FolderState stateAfter(const FolderState &before, const Calls &calls)
{
    Names names;
    QMap<int, QByteArray> contents;
    for (auto file = before.cbegin(); file != before.cend(); ++file) {
        const int number = int(names.size());
        names.insert(file.key(), number);
        contents.insert(number, file.value());
    }
    for (const Call &call : calls) {
        if (isOfNames(call))
            apply(call, &names);
        contents[call.file] += call.data;
    }
    FolderState result;
    for (auto name = names.cbegin(); name != names.cend(); ++name)
        result.insert(name.key(), contents.value(name.value()));
    return result;
}

QList<FolderState> statesAfterPowerCut(const FolderState &before, const Calls &calls)
{
    QList<FolderState> result;
    QSet<QByteArray> known;
    for (qsizetype count = 0; count <= calls.size(); ++count) {
        Calls changes;
        for (const Call &call : calls.first(count)) {
            if (isOfNames(call))
                changes.append(call);
        }
        for (unsigned chosen = 0; chosen < 1U << changes.size(); ++chosen) {
            Names names;
            for (auto name = before.keyBegin(); name != before.keyEnd(); ++name)
                names.insert(*name, int(names.size()));
            for (qsizetype i = 0; i < changes.size(); ++i) {
                if ((chosen >> i & 1U) != 0)
                    apply(changes.at(i), &names);
            }
            QList<FolderState> states{FolderState()};
            for (auto name = names.cbegin(); name != names.cend(); ++name) {
                QList<FolderState> more;
                const auto contents
                        = contentsAfterPowerCut(name.value(), before.values(), calls, count);
                for (const FolderState &state : std::as_const(states)) {
                    for (const QByteArray &content : contents) {
                        more.append(state);
                        more.last().insert(name.key(), content);
                    }
                }
                states = more;
            }
            for (const FolderState &state : std::as_const(states)) {
                QByteArray text;
                for (auto file = state.cbegin(); file != state.cend(); ++file)
                    text += file.key() + '\n' + QByteArray::number(file.value().size()) + '\n'
                            + file.value();
                if (!known.contains(text)) {
                    known.insert(text);
                    result.append(state);
                }
            }
        }
    }
    return result;
}

} // namespace tamsel::tests

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDEDCALLS_H
#define TAMSEL_TESTS_RECORDEDCALLS_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <functional>

namespace tamsel::tests {

// A call of the C library that changes what is in a folder. A file is a number, since it may have
// no name yet, or several; names lie in the folder.
struct Call
{
    enum Kind { Create, Write, Sync, Link, Rename, Remove };

    Kind kind;
    int file;
    QByteArray name; // of Create (may be empty), Link, Rename (the new one), Remove
    QByteArray oldName; // of Rename
    QByteArray data; // of Write, which appends
};

using Calls = QList<Call>;
using FolderState = QMap<QByteArray, QByteArray>; // file names and contents

enum class UnnamedFiles { Allowed, Refused };

// What the folder holds.
FolderState stateOf(const QString &folder);

// The calls by which action(), on this thread, changes the contents of the folder. With
// UnnamedFiles::Refused the file system knows no O_TMPFILE.
Calls recordCalls(const QString &folder, UnnamedFiles unnamed, const std::function<void()> &action);

// A line for each call; random endings of names are "XXXXXX", the size of a lock file is left out.
QList<QByteArray> describe(const Calls &calls);

// The folder after all calls; before is what it held. Numbers from 0 stand for these files.
FolderState stateAfter(const FolderState &before, const Calls &calls);

// What the folder may hold after a power cut between or after the calls. Data is safe once it is
// synchronised; until then it may be missing, cut at any byte, or zeros. A change of a name is there
// as a whole or not at all, whatever the others are: no file system keeps less.
QList<FolderState> statesAfterPowerCut(const FolderState &before, const Calls &calls);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDEDCALLS_H

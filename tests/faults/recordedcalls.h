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

// A call of the C library that changes a folder. Files have numbers, because a file may have no
// name yet, or several. Names are relative to the folder.
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

// The files in the folder.
FolderState stateOf(const QString &folder);

// Runs action(), and returns its calls on this thread that change the folder. With
// UnnamedFiles::Refused, the file system does not support O_TMPFILE.
Calls recordCalls(const QString &folder, UnnamedFiles unnamed, const std::function<void()> &action);

// A line for each call. Random suffixes of names become "XXXXXX"; the size of a lock file is left
// out.
QList<QByteArray> describe(const Calls &calls);

// The folder after all calls; before is its state before them. The numbers from 0 on are its files.
FolderState stateAfter(const FolderState &before, const Calls &calls);

// The states that the folder may have after a power cut between or after the calls. Data is safe
// once it is synchronised; until then it may be missing, cut at any byte, or zeros. Each change of
// a name is there or not, independently of the others: no file system guarantees less.
QList<FolderState> statesAfterPowerCut(const FolderState &before, const Calls &calls);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDEDCALLS_H

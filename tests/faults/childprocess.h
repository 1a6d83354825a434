// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_CHILDPROCESS_H
#define TAMSEL_TESTS_CHILDPROCESS_H

#include <QtCore/QByteArray>

#include <functional>

namespace tamsel::tests {

// What became of a piece of work in a process of its own.
struct ChildResult
{
    bool lived = false; // until it had returned
    QByteArray report; // what it returned
    QByteArray end; // "exit 0", "signal 11"; signal 14: it took too long
};

// Forks and does work in the child, for at most seconds.
ChildResult inChild(const std::function<QByteArray()> &work, unsigned seconds = 60);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_CHILDPROCESS_H

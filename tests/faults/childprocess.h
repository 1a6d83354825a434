// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_CHILDPROCESS_H
#define TAMSEL_TESTS_CHILDPROCESS_H

#include <QtCore/QByteArray>

#include <functional>

namespace tamsel::tests {

// The result of work that ran in its own process.
struct ChildResult
{
    bool lived = false; // whether work returned
    QByteArray report; // what work returned
    QByteArray end; // "exit 0", "signal 11"; signal 14: it took too long
};

// Forks and runs work in the child, for at most so many seconds.
ChildResult inChild(const std::function<QByteArray()> &work, unsigned seconds = 60);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_CHILDPROCESS_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_SKIP_H
#define TAMSEL_TESTS_SKIP_H

#include <QtTest/QTest>

#include <unistd.h>

// QSKIP omits a variadic argument, which clang does not accept in C++17.
#define SKIP_TEST(reason) \
    do { \
        QTest::qSkip(reason, __FILE__, __LINE__); \
        return; \
    } while (false)

namespace tamsel::tests {

// While it lives, a process of root runs as another user, because file modes do not apply to root.
class Unprivileged
{
public:
    Unprivileged() : m_dropped(geteuid() == 0 && seteuid(65534) == 0) { }
    ~Unprivileged()
    {
        if (m_dropped && seteuid(0) != 0)
            qFatal("the privileges did not come back");
    }

private:
    Q_DISABLE_COPY_MOVE(Unprivileged)

    const bool m_dropped;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_SKIP_H

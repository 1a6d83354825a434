// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_WRITING_H
#define TAMSEL_TESTS_WRITING_H

#include <QtCore/QString>

// The settings that writinghost writes, shared with the tests that check them.
namespace tamsel::tests::writing {

// The endless writer writes to so many keys in turn.
constexpr int keyCount = 50;

inline QString group()
{
    return QStringLiteral("numbers");
}

inline QString keyOf(int number)
{
    return QString::number(number % keyCount);
}

// The length changes with the number, so that a torn file is noticed.
inline QString valueOf(int number)
{
    return QString::number(number) + QString(1 + number % 61, u'x');
}

} // namespace tamsel::tests::writing

#endif // TAMSEL_TESTS_WRITING_H

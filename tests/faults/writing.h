// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_WRITING_H
#define TAMSEL_TESTS_WRITING_H

#include <QtCore/QString>

// What writinghost writes, and how the tests recognise it.
namespace tamsel::tests::writing {

// The settings of the endless writer: each write goes to the next of so many keys.
constexpr int keyCount = 50;

inline QString group()
{
    return QStringLiteral("numbers");
}

inline QString keyOf(int number)
{
    return QString::number(number % keyCount);
}

// Of a length that changes with the number, so that a torn file shows.
inline QString valueOf(int number)
{
    return QString::number(number) + QString(1 + number % 61, u'x');
}

} // namespace tamsel::tests::writing

#endif // TAMSEL_TESTS_WRITING_H

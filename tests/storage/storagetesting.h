// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_STORAGETESTING_H
#define TAMSEL_TESTS_STORAGETESTING_H

#include "threads.h"

#include <QtCore/QDebug>
#include <QtCore/QVariant>

namespace tamsel::tests {

// A value with the types of all its parts, for comparisons: for QVariant itself the number 1, the
// fraction 1.0 and the text "1" are equal.
inline QString shown(const QVariant &value)
{
    return QDebug::toString(value);
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_STORAGETESTING_H

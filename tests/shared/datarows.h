// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_DATAROWS_H
#define TAMSEL_TESTS_DATAROWS_H

#include "layers.h"

#include <QtTest/QTest>

#include <limits>

namespace tamsel::tests {

// A column "type" and a row for each of the types, named after it.
inline void addTypeRows(const QList<SettingsType> &types)
{
    QTest::addColumn<SettingsType>("type");
    for (const SettingsType type : types)
        QTest::newRow(keyOf(type)) << type;
}

// A column "type" and a row for each kind of value that names no layer.
inline void addUnknownTypeRows()
{
    QTest::addColumn<SettingsType>("type");
    QTest::newRow("one above") << static_cast<SettingsType>(8);
    QTest::newRow("one below") << static_cast<SettingsType>(-1);
    QTest::newRow("largest") << static_cast<SettingsType>(std::numeric_limits<int>::max());
    QTest::newRow("smallest") << static_cast<SettingsType>(std::numeric_limits<int>::min());
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_DATAROWS_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_DATAROWS_H
#define TAMSEL_TESTS_DATAROWS_H

#include "layers.h"

#include <QtCore/QDebug>
#include <QtCore/QVariant>
#include <QtTest/QTest>

namespace tamsel::tests {

// A column "type" and a row for each of the types, named after it.
inline void addTypeRows(const QList<SettingsType> &types)
{
    QTest::addColumn<SettingsType>("type");
    for (const SettingsType type : types)
        QTest::newRow(keyOf(type)) << type;
}

// A value with the types of all its parts, for comparisons: to QVariant the number 1, the fraction
// 1.0 and the text "1" are equal.
inline QString shown(const QVariant &value)
{
    return QDebug::toString(value);
}

// A column "value" and rows of values whose types a layer in memory keeps.
inline void addValueRows()
{
    using namespace Qt::StringLiterals;
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *name, const QVariant &value) { QTest::newRow(name) << value; };
    row("text", u"en"_s);
    row("empty text", u""_s);
    row("null text", QString());
    row("number", 5);
    row("large number", Q_INT64_C(-5'000'000'000));
    row("fraction", 0.5);
    row("truth", false);
    row("bytes", QByteArray("\0\xff", 2));
    row("list", QVariantList{1, u"two"_s, QVariant()});
    row("map", QVariantMap{{u"a"_s, 1}, {u"b"_s, QVariantMap()}});
    row("null number", QVariant(QMetaType::fromType<int>()));
    row("layer", QVariant::fromValue(Rdm));
    row("invalid", QVariant());
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_DATAROWS_H

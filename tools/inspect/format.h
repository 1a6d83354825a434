// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef FORMAT_H
#define FORMAT_H

#include "settingjson.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

using tamsel::host::asciiOnly;
using tamsel::host::escaped;
using tamsel::host::JsonObject;
using tamsel::host::jsonOf;
using tamsel::host::jsonOrNull;
using tamsel::host::layerName;

// A value for people to read: texts in quotes, bytes that are not printable ASCII as \xNN, lists
// and maps as JSON, an invalid value as "(invalid)".
QString valueText(const QVariant &value);

// A value for a program to read: texts and bytes as they are, a list of texts with a line for each,
// other lists and maps as JSON, nothing for an invalid value.
QByteArray rawValue(const QVariant &value);

// An array on one line; the members are JSON already.
QString jsonArray(const QStringList &members);

// The name of the value's type; "-" for an invalid value.
QString typeText(const QVariant &value);

// The same, with the types of the values in lists and maps.
QString wholeTypeText(const QVariant &value);

// How many columns of a terminal the text takes.
qsizetype columnsOf(const QString &text);

// The text in pieces of at most so many columns. It is cut after a blank if the second half of the
// piece has one.
QStringList wrapped(const QString &text, qsizetype columns);

#endif // FORMAT_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef FORMAT_H
#define FORMAT_H

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <initializer_list>
#include <utility>

// The name of a layer, as the library's log messages show it too.
QString layerName(tamsel::SettingsType layer);

// A value for people to read: texts in quotes, bytes that are no ASCII text as \xNN, lists and maps
// as JSON, an invalid value as "(invalid)".
QString valueText(const QVariant &value);

// A value for a program to read: texts and bytes as they are, a list of texts with a line for each,
// lists and maps as JSON, nothing for an invalid value.
QByteArray rawValue(const QVariant &value);

// The name of the value's type; "-" for an invalid value.
QString typeText(const QVariant &value);

// The same with the types of what lists and maps hold.
QString wholeTypeText(const QVariant &value);

// A value in JSON: integers with all their digits, bytes as valueText() has them. What JSON does not
// know becomes a text, an invalid value null.
QString jsonOf(const QVariant &value);

// A text in JSON. Characters that cannot be seen are escaped.
QString jsonOf(const QString &text);

// An object or an array on one line; the members are in JSON already.
QString jsonObject(std::initializer_list<std::pair<QLatin1StringView, QString>> members);
QString jsonArray(const QStringList &members);

// The text on a single line and unable to steer a terminal: control characters are escaped, and so
// are those that turn the direction of what follows or cannot be seen.
QString escaped(const QString &text);

// The text with all that is not ASCII escaped.
QString asciiOnly(const QString &text);

// How many columns of a terminal the text takes.
qsizetype columnsOf(const QString &text);

// The text in pieces of no more than so many columns; a long one is cut behind a blank if there is
// one in its second half.
QStringList wrapped(const QString &text, qsizetype columns);

#endif // FORMAT_H

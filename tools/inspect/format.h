// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef FORMAT_H
#define FORMAT_H

#include <tamsel/settingstype.h>

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVariant>

// The name of a layer, as the library's log messages show it too.
QString layerName(tamsel::SettingsType layer);

// A value for people to read: texts in quotes, an invalid value as "(invalid)".
QString valueText(const QVariant &value);

// The name of the value's type; "-" for an invalid value.
QString typeText(const QVariant &value);

// The value as JSON has it; what JSON does not know becomes a text, an invalid value null.
QJsonValue jsonValue(const QVariant &value);

// The name of the value's type; null for an invalid value.
QJsonValue jsonType(const QVariant &value);

// text on a single line and unable to steer a terminal: control characters are escaped.
QString escaped(const QString &text);

// How many columns of a terminal text takes.
qsizetype columnsOf(const QString &text);

// text, or its beginning and "…", in no more than columns.
QString elided(const QString &text, qsizetype columns);

#endif // FORMAT_H

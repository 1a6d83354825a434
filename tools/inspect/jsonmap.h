// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef JSONMAP_H
#define JSONMAP_H

#include <QtCore/QJsonDocument>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

// The contents of the JSON file fileName; "-" is standard input. Throws a UserError.
QJsonDocument readJson(const QString &fileName);

// The settings map, group to QVariantMap, that the JSON file fileName holds. Throws a UserError.
QVariantMap readJsonMap(const QString &fileName);

#endif // JSONMAP_H

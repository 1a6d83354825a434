// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "format.h"

#include <QtCore/QStringList>

using namespace Qt::StringLiterals;

QString layerName(tamsel::SettingsType layer)
{
    return QVariant::fromValue(layer).toString();
}

QString valueText(const QVariant &value)
{
    // QSettings reads a text with unquoted commas as a list.
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(", "_L1);
    return value.toString();
}

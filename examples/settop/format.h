// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef FORMAT_H
#define FORMAT_H

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

// The name of a layer, the same as in the library's log messages.
QString layerName(tamsel::SettingsType layer);

// A value for people to read.
QString valueText(const QVariant &value);

#endif // FORMAT_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef PATTERN_H
#define PATTERN_H

#include "setting.h"

#include <QtCore/QList>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>

// What settings are chosen by.
class Pattern
{
public:
    // Throws a UserError.
    explicit Pattern(const QString &text);

    const QString &text() const { return m_text; }
    bool matches(const SettingName &name) const;
    bool matchesAny(const QList<SettingName> &names) const;

    // Another pattern, which matches one of the names; empty if none comes near.
    QString alternative(const QList<SettingName> &names) const;

private:
    QString m_text;
    QRegularExpression m_expression;
};

#endif // PATTERN_H

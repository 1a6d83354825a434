// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef PATTERN_H
#define PATTERN_H

#include "setting.h"

#include <QtCore/QList>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>

// Selects settings by group/key, with wildcards.
class Pattern
{
public:
    // Throws a UserError.
    explicit Pattern(const QString &text);

    const QString &text() const { return m_text; }
    bool matches(const SettingName &name) const;
    bool matchesAny(const QList<SettingName> &names) const;

    // A similar pattern that matches one of the names; empty if there is none.
    QString alternative(const QList<SettingName> &names) const;

private:
    QString m_text;
    QRegularExpression m_expression;
};

#endif // PATTERN_H

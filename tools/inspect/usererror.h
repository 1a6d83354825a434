// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef USERERROR_H
#define USERERROR_H

#include <QtCore/QString>

#include <utility>

// An error for the user; main() prints it.
class UserError
{
public:
    explicit UserError(QString text) : m_text(std::move(text)) { }
    const QString &text() const { return m_text; }

private:
    QString m_text;
};

#endif // USERERROR_H

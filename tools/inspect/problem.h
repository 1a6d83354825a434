// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef PROBLEM_H
#define PROBLEM_H

#include <QtCore/QString>

#include <utility>

/*! What keeps the tool from telling the truth. Thrown where it is met, told by main(). */
class Problem
{
public:
    explicit Problem(QString text) : m_text(std::move(text)) { }
    const QString &text() const { return m_text; }

private:
    QString m_text;
};

#endif // PROBLEM_H

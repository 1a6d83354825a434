// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_JOURNAL_H
#define TAMSEL_TESTS_JOURNAL_H

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QStringBuilder>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <utility>

namespace tamsel::tests {

// What the fakes of one test recorded, one line each, in the order in which it happened. Loggers and
// handlers write into the same journal, so a single comparison checks texts, counts and total order.
// Safe to use from several threads.
class Journal
{
public:
    void add(const QString &line)
    {
        const QMutexLocker locker(&m_mutex);
        m_lines.append(line);
    }

    // The lines so far; the journal is empty afterwards.
    QStringList take()
    {
        const QMutexLocker locker(&m_mutex);
        return std::exchange(m_lines, {});
    }

private:
    QStringList m_lines; // guarded by m_mutex
    QMutex m_mutex;
};

// A value with its type, as the journal shows it: "int(5)", "QString(en)", "invalid".
inline QString describe(const QVariant &value)
{
    if (!value.isValid())
        return QStringLiteral("invalid");
    return QLatin1StringView(value.typeName()) % QLatin1Char('(') % value.toString()
            % QLatin1Char(')');
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_JOURNAL_H

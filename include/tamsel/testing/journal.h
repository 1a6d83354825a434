// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTING_JOURNAL_H
#define TAMSEL_TESTING_JOURNAL_H

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QStringBuilder>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <utility>

/*! \brief For the tests of programs that use libtamsel; not for production. */
namespace tamsel::testing {

/*!
 * \brief What the recorders of one test wrote down, line by line, in the order of events.
 *
 * If a logger and handlers share a journal, one comparison checks texts, counts and total order.
 *
 * \par Ownership
 * Recorders borrow the journal that they are given. It must outlive them.
 * \par Threads
 * Safe to use from several threads.
 * \par Failure
 * There is none.
 */
class Journal
{
public:
    /*! \brief Appends a line. */
    void add(const QString &line)
    {
        const QMutexLocker locker(&m_mutex);
        m_lines.append(line);
    }

    /*! \brief Returns the lines so far. The journal is empty afterwards. */
    QStringList take()
    {
        const QMutexLocker locker(&m_mutex);
        return std::exchange(m_lines, {});
    }

private:
    QStringList m_lines; // guarded by m_mutex
    QMutex m_mutex;
};

/*! \brief Returns a value with its type, as in a journal: "int(5)", "QString(en)", "invalid". */
inline QString describe(const QVariant &value)
{
    if (!value.isValid())
        return QStringLiteral("invalid");
    return QLatin1StringView(value.typeName()) % QLatin1Char('(') % value.toString()
            % QLatin1Char(')');
}

} // namespace tamsel::testing

#endif // TAMSEL_TESTING_JOURNAL_H

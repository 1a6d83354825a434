// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_JOURNAL_H
#define TAMSEL_TESTS_JOURNAL_H

#include <QtCore/QMutex>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace tamsel::tests {

/*!
 * What the fakes of one test heard, one line each, in the order in which it happened: loggers and
 * handlers write into the same journal, so a single comparison checks texts, counts and total
 * order. Safe to write from several threads.
 */
class Journal
{
public:
    void add(const QString &line);
    /*! The lines so far; the journal is empty afterwards. */
    QStringList take();

private:
    QStringList m_lines; // guarded by m_mutex
    QMutex m_mutex;
};

/*! A value with its type, as the journal shows it: "int(5)", "QString(en)", "invalid". */
QString describe(const QVariant &value);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_JOURNAL_H

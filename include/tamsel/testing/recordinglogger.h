// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTING_RECORDINGLOGGER_H
#define TAMSEL_TESTING_RECORDINGLOGGER_H

#include <tamsel/ilogger.h>
#include <tamsel/testing/journal.h>

#include <functional>

namespace tamsel::testing {

/*!
 * \brief A logger that writes each message into a journal.
 *
 * A line is the operation and the message: "info: Storage: Rdm initialized".
 *
 * \par Ownership
 * The manager borrows the logger, and the logger the journal, if it is given one.
 * \par Threads
 * Several threads may log. Set #reaction before the first message.
 * \par Failure
 * What #reaction throws reaches the thread that logs.
 */
class RecordingLogger : public ILogger
{
public:
    /*! \brief A logger with a journal of its own. */
    RecordingLogger() = default;
    /*! \brief A logger that writes into \a journal. */
    explicit RecordingLogger(Journal *journal) : m_journal(journal) { }

    /*! \brief Writes "error: " and \a message. */
    void error(const QString &message) override { record("error: ", message); }
    /*! \brief Writes "warning: " and \a message. */
    void warning(const QString &message) override { record("warning: ", message); }
    /*! \brief Writes "info: " and \a message. */
    void info(const QString &message) override { record("info: ", message); }
    /*! \brief Writes "debug: " and \a message. */
    void debug(const QString &message) override { record("debug: ", message); }

    /*! \brief Returns what is in the journal, and empties it. */
    QStringList take() { return m_journal->take(); }

    /*! \brief Called with the message on the thread that logs, after the line is written. */
    std::function<void(const QString &message)> reaction;

private:
    Q_DISABLE_COPY_MOVE(RecordingLogger)

    void record(const char *operation, const QString &message)
    {
        m_journal->add(QLatin1StringView(operation) % message);
        if (reaction)
            reaction(message);
    }

    Journal m_ownJournal;
    Journal *const m_journal = &m_ownJournal;
};

} // namespace tamsel::testing

#endif // TAMSEL_TESTING_RECORDINGLOGGER_H

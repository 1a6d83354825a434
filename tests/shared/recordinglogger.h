// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDINGLOGGER_H
#define TAMSEL_TESTS_RECORDINGLOGGER_H

#include "journal.h"

#include <tamsel/ilogger.h>

#include <functional>

namespace tamsel::tests {

// Writes "error: text", "warning: text", "info: text" or "debug: text" into its journal, then calls
// the reaction, if there is one, with the message.
class RecordingLogger : public ILogger
{
public:
    RecordingLogger() = default; // with a journal of its own
    explicit RecordingLogger(Journal *journal) : m_journal(journal) { } // borrowed

    void error(const QString &message) override { record("error: ", message); }
    void warning(const QString &message) override { record("warning: ", message); }
    void info(const QString &message) override { record("info: ", message); }
    void debug(const QString &message) override { record("debug: ", message); }

    // The lines of the journal, those of others that write into it included; it is empty afterwards.
    QStringList take() { return m_journal->take(); }

    std::function<void(const QString &message)> reaction; // runs on the thread that logs

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

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDINGLOGGER_H

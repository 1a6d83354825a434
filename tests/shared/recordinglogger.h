// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDINGLOGGER_H
#define TAMSEL_TESTS_RECORDINGLOGGER_H

#include <tamsel/ilogger.h>

namespace tamsel::tests {

class Journal;

/*! Writes "error: text", "warning: text", "info: text" and "debug: text" into a journal. */
class RecordingLogger final : public ILogger
{
public:
    explicit RecordingLogger(Journal *journal); // borrowed

    void error(const QString &message) override;
    void warning(const QString &message) override;
    void info(const QString &message) override;
    void debug(const QString &message) override;

private:
    Journal *const m_journal;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDINGLOGGER_H

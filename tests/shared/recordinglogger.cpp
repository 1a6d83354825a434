// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "recordinglogger.h"

#include "journal.h"

using namespace Qt::StringLiterals;

namespace tamsel::tests {

RecordingLogger::RecordingLogger(Journal *journal) : m_journal(journal) { }

void RecordingLogger::error(const QString &message)
{
    m_journal->add("error: "_L1 + message);
}

void RecordingLogger::warning(const QString &message)
{
    m_journal->add("warning: "_L1 + message);
}

void RecordingLogger::info(const QString &message)
{
    m_journal->add("info: "_L1 + message);
}

void RecordingLogger::debug(const QString &message)
{
    m_journal->add("debug: "_L1 + message);
}

} // namespace tamsel::tests

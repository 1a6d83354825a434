// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "recordinghandler.h"

#include "journal.h"
#include "testhost.h"

#include <QtCore/QStringBuilder>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

RecordingHandler::RecordingHandler(Journal *journal, const QString &name)
    : m_journal(journal), m_name(name)
{
}

void RecordingHandler::onValueChanged(SettingsType type, const QString &group, const QString &key,
                                      const QVariant &value)
{
    m_journal->add(m_name % ": "_L1 % QLatin1StringView(keyOf(type)) % ' '_L1 % group % '/'_L1 % key
                   % " = "_L1 % describe(value));
    if (reaction)
        reaction(type, group, key, value);
}

} // namespace tamsel::tests

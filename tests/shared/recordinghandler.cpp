// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "recordinghandler.h"

#include "journal.h"

#include <QtCore/QMetaEnum>
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
    const auto typeKey = QLatin1StringView(
            QMetaEnum::fromType<SettingsType>().valueToKey(static_cast<int>(type)));
    m_journal->add(m_name % ": "_L1 % typeKey % ' '_L1 % group % '/'_L1 % key % " = "_L1
                   % describe(value));
    if (reaction)
        reaction(type, group, key, value);
}

} // namespace tamsel::tests

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDINGHANDLER_H
#define TAMSEL_TESTS_RECORDINGHANDLER_H

#include "journal.h"
#include "layers.h"

#include <tamsel/iconfigurationchangehandler.h>

#include <functional>

namespace tamsel::tests {

// Writes "name: Runtime g/k = int(5)" into its journal for each change it is notified of, then calls
// the reaction, if there is one.
class RecordingHandler : public IConfigurationChangeHandler
{
public:
    using Reaction = std::function<void(SettingsType type, const QString &group, const QString &key,
                                        const QVariant &value)>;

    RecordingHandler() = default; // with a journal of its own
    explicit RecordingHandler(Journal *journal, const QString &name = QStringLiteral("handler"))
        : m_name(name), m_journal(journal) // borrowed
    {
    }

    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        m_journal->add(m_name % QLatin1StringView(": ") % QLatin1StringView(keyOf(type))
                       % QLatin1Char(' ') % group % QLatin1Char('/') % key
                       % QLatin1StringView(" = ") % describe(value));
        if (reaction)
            reaction(type, group, key, value); // may delete this handler
    }

    // The lines of the journal, those of others that write into it included; it is empty afterwards.
    QStringList take() { return m_journal->take(); }

    Reaction reaction; // runs on the thread of the change

private:
    Q_DISABLE_COPY_MOVE(RecordingHandler)

    const QString m_name = QStringLiteral("handler");
    Journal m_ownJournal;
    Journal *const m_journal = &m_ownJournal;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDINGHANDLER_H

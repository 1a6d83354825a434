// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTING_RECORDINGHANDLER_H
#define TAMSEL_TESTING_RECORDINGHANDLER_H

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/settingstype.h>
#include <tamsel/testing/journal.h>

#include <functional>

namespace tamsel::testing {

/*!
 * \brief A handler that writes a line into a journal for each change that it is notified of.
 *
 * A line is "handler: Runtime ui/lang = QString(en)", with the handler's name in front and with
 * "invalid" for a setting that no layer holds any more.
 *
 * \par Ownership
 * The manager borrows the handler, and the handler the journal, if it is given one.
 * \par Threads
 * Several threads may notify it. Set #reaction before the first notification.
 * \par Failure
 * What #reaction throws reaches the thread of the change.
 */
class RecordingHandler : public IConfigurationChangeHandler
{
public:
    /*! \brief What to do in a notification. */
    using Reaction = std::function<void(SettingsType type, const QString &group, const QString &key,
                                        const QVariant &value)>;

    /*! \brief A handler with a journal of its own. */
    RecordingHandler() = default;
    /*! \brief A handler that writes into \a journal under \a name. */
    explicit RecordingHandler(Journal *journal, const QString &name = QStringLiteral("handler"))
        : m_name(name), m_journal(journal)
    {
    }

    /*! \brief Writes the line, and then calls #reaction, if there is one. */
    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        m_journal->add(m_name % QLatin1StringView(": ") % QVariant::fromValue(type).toString()
                       % QLatin1Char(' ') % group % QLatin1Char('/') % key
                       % QLatin1StringView(" = ") % describe(value));
        if (reaction)
            reaction(type, group, key, value); // may delete this handler
    }

    /*! \brief Returns what is in the journal, and empties it. */
    QStringList take() { return m_journal->take(); }

    /*!
     * \brief Called on the thread of the change, after the line is written.
     *
     * It may delete the handler, and itself with it; after that it must not use what it captured.
     */
    Reaction reaction;

private:
    Q_DISABLE_COPY_MOVE(RecordingHandler)

    const QString m_name = QStringLiteral("handler");
    Journal m_ownJournal;
    Journal *const m_journal = &m_ownJournal;
};

} // namespace tamsel::testing

#endif // TAMSEL_TESTING_RECORDINGHANDLER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDINGHANDLER_H
#define TAMSEL_TESTS_RECORDINGHANDLER_H

#include <tamsel/iconfigurationchangehandler.h>

#include <functional>

namespace tamsel::tests {

class Journal;

/*!
 * Writes "name: Runtime g/k = int(5)" into a journal for each change that it hears of, then runs
 * \c reaction if there is one.
 */
class RecordingHandler final : public IConfigurationChangeHandler
{
public:
    explicit RecordingHandler(Journal *journal, const QString &name = QStringLiteral("handler"));

    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;

    std::function<void(SettingsType type, const QString &group, const QString &key,
                       const QVariant &value)>
            reaction;

private:
    Journal *const m_journal; // borrowed
    const QString m_name;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDINGHANDLER_H

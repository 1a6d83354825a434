// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef CHANGEPRINTER_H
#define CHANGEPRINTER_H

#include <tamsel/iconfigurationchangehandler.h>

namespace tamsel {
class ConfigurationManager;
}
class QTextStream;

// Prints a line for each change of a setting, from its construction to its destruction.
//
// It runs on the thread that changes the setting; settop has only one.
class ChangePrinter final : public tamsel::IConfigurationChangeHandler
{
public:
    // Both are borrowed and outlive the printer.
    ChangePrinter(tamsel::ConfigurationManager *settings, QTextStream *out);
    ~ChangePrinter() override;

    void onValueChanged(tamsel::SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;

    // How many changes were printed so far.
    int count() const { return m_count; }

private:
    Q_DISABLE_COPY_MOVE(ChangePrinter)

    tamsel::ConfigurationManager *const m_settings;
    QTextStream *const m_out;
    int m_count = 0;
};

#endif // CHANGEPRINTER_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef EXAMPLES_PRINTING_H
#define EXAMPLES_PRINTING_H

#include <tamsel/iconfigurationchangehandler.h>

#include <QtCore/QTextStream>

// Shared by the numbered examples: lines of output, and a change handler that prints its arguments.
namespace printing {

inline void line(const QString &text)
{
    QTextStream(stdout) << text << Qt::endl;
}

class Handler : public tamsel::IConfigurationChangeHandler
{
public:
    void onValueChanged(tamsel::SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override
    {
        QTextStream out(stdout);
        out << "  " << QVariant::fromValue(type).toString() << ": " << group << '/' << key;
        if (value.isValid())
            out << " = '" << value.toString() << "' (" << value.typeName() << ')' << Qt::endl;
        else
            out << " is gone" << Qt::endl;
    }
};

} // namespace printing

#endif // EXAMPLES_PRINTING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef EXAMPLES_PRINTING_H
#define EXAMPLES_PRINTING_H

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

#include <QtCore/QTextStream>

// Shared by the numbered examples: a logger and a change handler that print their arguments.
namespace printing {

inline void line(const QString &text)
{
    QTextStream(stdout) << text << Qt::endl;
}

class Logger : public tamsel::ILogger
{
public:
    void error(const QString &message) override { print("error", message); }
    void warning(const QString &message) override { print("warning", message); }
    void info(const QString &message) override { print("info", message); }
    void debug(const QString &message) override { print("debug", message); }

private:
    static void print(const char *severity, const QString &message)
    {
        QTextStream(stdout) << "  [" << severity << "] " << message << Qt::endl;
    }
};

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

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/qtlogger.h>

#include <QtCore/QByteArray>
#include <QtCore/QDebug>
#include <QtCore/QLoggingCategory>

namespace tamsel::host {

class QtLoggerPrivate
{
public:
    explicit QtLoggerPrivate(const char *categoryName)
        : name(categoryName), category(name.constData())
    {
    }

    const QByteArray name; // the category keeps a pointer to it
    const QLoggingCategory category;
};

QtLogger::QtLogger(const char *category) : d(std::make_unique<QtLoggerPrivate>(category)) { }

QtLogger::~QtLogger() = default;

// A stream, not a format: a percent sign in a message is no directive. Not qCCritical(): a macro without
// its last argument is not C++17, and the place in the source would be the same for every message.
void QtLogger::error(const QString &message)
{
    QMessageLogger().critical(d->category).nospace().noquote() << message;
}

void QtLogger::warning(const QString &message)
{
    QMessageLogger().warning(d->category).nospace().noquote() << message;
}

void QtLogger::info(const QString &message)
{
    QMessageLogger().info(d->category).nospace().noquote() << message;
}

void QtLogger::debug(const QString &message)
{
    QMessageLogger().debug(d->category).nospace().noquote() << message;
}

} // namespace tamsel::host

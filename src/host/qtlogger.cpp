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

// A stream, so that a percent sign in a message is not read as a format. Not qCCritical(): a macro
// without its last argument is not C++17, and every message would have the same source location.
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

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settoplogger.h"

#include <QtCore/QByteArray>

#include <cstdio>

using tamsel::LogsConfigWrapper;

void SettopLogger::takeLevelFrom(tamsel::ConfigurationManager *settings)
{
    m_settings = settings;
}

void SettopLogger::error(const QString &message)
{
    log(logging::Error, message);
}

void SettopLogger::warning(const QString &message)
{
    log(logging::Warning, message);
}

void SettopLogger::info(const QString &message)
{
    log(logging::Info, message);
}

void SettopLogger::debug(const QString &message)
{
    log(logging::Debug, message);
}

logging::Level SettopLogger::lastShown() const
{
    if (!m_settings)
        return logging::Info;
    const logging::Level level = LogsConfigWrapper(m_settings).level();
    return LogsConfigWrapper::isLevelValid(level) ? level : logging::Info;
}

void SettopLogger::log(logging::Level level, const QString &message) const
{
    if (level > lastShown())
        return;
    const QString name = LogsConfigWrapper::stringLevelToIntLevel().key(level);
    const QByteArray line = QStringLiteral("[%1] %2\n").arg(name, message).toUtf8();
    // Stdio locks the stream during this single call, so lines of several threads stay whole. A
    // failure cannot be reported anywhere.
    static_cast<void>(
            std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr));
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/abstractstorage.h>

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

using namespace Qt::StringLiterals;

namespace tamsel {

AbstractStorage::AbstractStorage(SettingsType type, IConfigurationChangeHandler *handler,
                                 ILogger *logger) noexcept
    : m_type(type), m_handler(handler), m_logger(logger)
{
}

AbstractStorage::~AbstractStorage() = default;

void AbstractStorage::setValue(const QString &, const QString &, const QVariant &)
{
    m_logger->error(u"The storage doesn't support writing!"_s);
}

void AbstractStorage::remove(const QString &, const QString &)
{
    m_logger->error(u"The storage doesn't support removing!"_s);
}

void AbstractStorage::notify(const QString &group, const QString &key, const QVariant &value)
{
    if (m_handler)
        m_handler->onValueChanged(m_type, group, key, value);
}

} // namespace tamsel

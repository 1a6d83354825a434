// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "journal.h"

#include <QtCore/QMutexLocker>
#include <QtCore/QStringBuilder>

#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

void Journal::add(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    m_lines.append(line);
}

QStringList Journal::take()
{
    const QMutexLocker locker(&m_mutex);
    return std::exchange(m_lines, {});
}

QString describe(const QVariant &value)
{
    if (!value.isValid())
        return u"invalid"_s;
    return QLatin1StringView(value.typeName()) % '('_L1 % value.toString() % ')'_L1;
}

} // namespace tamsel::tests

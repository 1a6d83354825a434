// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_REJECTEDVALUES_H
#define TAMSEL_HOST_REJECTEDVALUES_H

#include "settingjson.h"

#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <map>
#include <utility>

namespace tamsel::host {

// For each setting, the last value that was not of the type it was read as. Thread-safe.
class RejectedValues
{
public:
    RejectedValues() = default;

    // Whether the value differs from the last one of this setting.
    bool isNew(const QString &group, const QString &key, const QVariant &value)
    {
        QVariant last = value;
        {
            const QMutexLocker locker(&m_mutex);
            const auto [entry, isFirst] = m_values.insert({{group, key}, value});
            if (isFirst)
                return true;
            last.swap(entry->second);
        }
        // A NaN is not equal to itself, nor is a value of a type without comparison.
        return last.metaType() != value.metaType()
                || (last != value && jsonOf(last) != jsonOf(value));
    }

private:
    Q_DISABLE_COPY_MOVE(RejectedValues)

    QMutex m_mutex;
    std::map<std::pair<QString, QString>, QVariant> m_values; // guarded by m_mutex
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_REJECTEDVALUES_H

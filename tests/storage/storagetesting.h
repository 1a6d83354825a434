// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_STORAGETESTING_H
#define TAMSEL_TESTS_STORAGETESTING_H

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <tamsel/abstractstorage.h>

#include <QtCore/QDebug>
#include <QtCore/QVariant>

#include <memory>

namespace tamsel::tests {

// A value with the types of all its parts, for comparisons: for QVariant itself the number 1, the
// fraction 1.0 and the text "1" are equal.
inline QString shown(const QVariant &value)
{
    return QDebug::toString(value);
}

// A storage whose log and notifications end up in one journal.
template <typename Storage, SettingsType type> struct RecordedStorage
{
    template <typename... Arguments>
    explicit RecordedStorage(const Arguments &...arguments)
        : storage(std::make_unique<Storage>(type, &handler, &logger, arguments...))
    {
    }

    Journal journal;
    RecordingHandler handler{&journal};
    RecordingLogger logger{&journal};
    std::unique_ptr<AbstractStorage> storage;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_STORAGETESTING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_STORAGETESTING_H
#define TAMSEL_TESTS_STORAGETESTING_H

#include "datarows.h"
#include "recording.h"

#include <tamsel/abstractstorage.h>

#include <memory>

namespace tamsel::tests {

// A storage whose log and notifications go to one journal.
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

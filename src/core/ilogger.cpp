// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/ilogger.h>

namespace tamsel {

ILogger::~ILogger() = default;

} // namespace tamsel

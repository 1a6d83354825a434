// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/iconfigurationchangehandler.h>

namespace tamsel {

IConfigurationChangeHandler::~IConfigurationChangeHandler() = default;

} // namespace tamsel

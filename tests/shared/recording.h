// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_RECORDING_H
#define TAMSEL_TESTS_RECORDING_H

// The journal, the logger and the handler are from the testing component that users get.
#include <tamsel/testing/box.h>

namespace tamsel::tests {
using namespace tamsel::testing;
using tamsel::testing::describe; // beside those that a test adds
} // namespace tamsel::tests

#endif // TAMSEL_TESTS_RECORDING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FAULTRUN_H
#define TAMSEL_TESTS_FAULTRUN_H

#include "program.h"

namespace tamsel::tests {

// `full` with TAMSEL_FAULTS=full in the environment, else `quick`.
int rounds(int quick, int full);

// The seed in TAMSEL_FAULTS_SEED, to repeat a run, or else a new one. Prints it.
quint32 seed();

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FAULTRUN_H

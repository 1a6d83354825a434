// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FAULTRUN_H
#define TAMSEL_TESTS_FAULTRUN_H

#include "program.h"

namespace tamsel::tests {

// full in the long run, which TAMSEL_FAULTS=full in the environment asks for; else quick.
int rounds(int quick, int full);

// A seed of TAMSEL_FAULTS_SEED, to repeat a run, or a new one; it is printed.
quint32 seed();

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FAULTRUN_H

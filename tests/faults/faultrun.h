// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FAULTRUN_H
#define TAMSEL_TESTS_FAULTRUN_H

#include <QtCore/QtGlobal>

namespace tamsel::tests {

// How long a step of another program may take, in milliseconds; emulated programs are slow.
constexpr int patience = 60'000;

// full in the long run, which TAMSEL_FAULTS=full in the environment asks for; else quick.
int rounds(int quick, int full);

// A seed of TAMSEL_FAULTS_SEED, to repeat a run, or a new one; it is printed.
quint32 seed();

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FAULTRUN_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "faultrun.h"

#include <QtCore/QByteArray>
#include <QtCore/QRandomGenerator>
#include <QtCore/QString>

namespace tamsel::tests {

int rounds(int quick, int full)
{
    return qgetenv("TAMSEL_FAULTS") == "full" ? full : quick;
}

quint32 seed()
{
    bool isGiven = false;
    quint32 result = qEnvironmentVariable("TAMSEL_FAULTS_SEED").toUInt(&isGiven);
    if (!isGiven)
        result = QRandomGenerator::global()->generate();
    qInfo("seed %u, to be repeated with TAMSEL_FAULTS_SEED=%u", result, result);
    return result;
}

} // namespace tamsel::tests

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TOUR_H
#define TOUR_H

class ChangePrinter;
class QTextStream;

namespace tamsel {
class ConfigurationManager;
}

// Makes every kind of change that is notified, and those for which no handler is called. Leaves the
// user's language in custom.conf.
void changeSettings(tamsel::ConfigurationManager &settings, const ChangePrinter &changes,
                    QTextStream &out);

#endif // TOUR_H

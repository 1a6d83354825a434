// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The test of a program outside of this tree, with an installed tamsel::testing.

#include <tamsel/testing/box.h>

#include <cstdio>

int main()
{
    tamsel::testing::Box box;
    box.manager.setValue(QStringLiteral("ui"), QStringLiteral("lang"), QStringLiteral("en"),
                         tamsel::SettingsType::Runtime);
    const QStringList lines = box.take();
    if (lines.size() != 2
        || lines.last() != QStringLiteral("handler: Runtime ui/lang = QString(en)")) {
        std::fprintf(stderr, "the journal is: %s\n", qPrintable(lines.join(QLatin1Char('\n'))));
        return 1;
    }
    return 0;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_COMPAREJOURNAL_H
#define TAMSEL_TESTS_COMPAREJOURNAL_H

#include "testhost.h"

#include <QtTest/QTest>

namespace tamsel::tests {

// The lines that \a text expects, without indentation and empty lines. SELF becomes the name of \a
// self, and "log: " the logger operation of that layer. If its changes are not logged, the "log: "
// line is dropped.
inline QStringList expectedLines(QStringView text, SettingsType self = SettingsType::Rdm)
{
    QStringList result;
    for (const QStringView part : text.split(u'\n')) {
        const QString line
                = part.trimmed().toString().replace(QStringLiteral("SELF"), nameOf(self));
        if (line.startsWith(QLatin1StringView("log: ")))
            result += changeLine(self, line.sliced(5));
        else if (!line.isEmpty())
            result.append(line);
    }
    return result;
}

// Empty if the two are equal. Otherwise all lines in order: "-" is missing, "+" is surplus.
inline QString difference(const QStringList &actual, const QStringList &expected)
{
    if (actual == expected)
        return {};
    QString text = QStringLiteral("the journal differs (- expected, + actual):");
    qsizetype next = 0;
    for (const QString &line : expected) {
        const qsizetype found = actual.indexOf(line, next);
        if (found < 0) {
            text += QLatin1StringView("\n- ") + line;
            continue;
        }
        for (; next < found; ++next)
            text += QLatin1StringView("\n+ ") + actual.at(next);
        text += QLatin1StringView("\n  ") + actual.at(next++);
    }
    for (; next < actual.size(); ++next)
        text += QLatin1StringView("\n+ ") + actual.at(next);
    return text;
}

} // namespace tamsel::tests

// Takes the lines of a journal and compares them with expectedLines(...).
#define COMPARE_JOURNAL(journal, ...) \
    do { \
        const QString differenceText = tamsel::tests::difference( \
                (journal).take(), tamsel::tests::expectedLines(__VA_ARGS__)); \
        QVERIFY2(differenceText.isEmpty(), qPrintable(differenceText)); \
    } while (false)

#endif // TAMSEL_TESTS_COMPAREJOURNAL_H

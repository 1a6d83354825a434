// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "tableprinter.h"

#include "format.h"
#include "usererror.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <numeric>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Widths = QList<qsizetype>;

constexpr qsizetype usualWidth = 80; // of a terminal that does not tell
constexpr qsizetype longestPadding = 60; // one long value shall not make every line long
constexpr qsizetype narrow = 8; // of a column, where others can still give way
constexpr qsizetype narrowest = 3; // a column below that tells nothing

bool environmentAllowsColour()
{
    return qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

qsizetype terminalWidth()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return usualWidth;
    return size.ws_col;
}

// Of each column, the width of its longest text.
Widths naturalWidths(const QList<Row> &rows)
{
    Widths widths(rows.first().cells.size());
    for (const Row &row : rows) {
        for (qsizetype i = 0; i < row.cells.size(); ++i)
            widths[i] = std::max(widths[i], columnsOf(row.cells.at(i)));
    }
    return widths;
}

// Takes from the widest of columns until available is enough or all are down to least.
void shrink(Widths &widths, const QList<qsizetype> &columns, qsizetype available, qsizetype least)
{
    const auto narrower
            = [&widths](qsizetype a, qsizetype b) { return widths.at(a) < widths.at(b); };
    qsizetype surplus = std::accumulate(widths.cbegin(), widths.cend(), -available);
    for (; surplus > 0; --surplus) {
        const qsizetype widest = *std::max_element(columns.cbegin(), columns.cend(), narrower);
        if (widths.at(widest) <= least)
            return;
        --widths[widest];
    }
}

QString padded(const QString &text, qsizetype width)
{
    return text + QString(std::max<qsizetype>(0, width - columnsOf(text)), u' ');
}

// A horizontal line of a frame; corners are its left end, its crossings and its right end.
QString frameLine(const Widths &widths, QStringView corners)
{
    QStringList dashes;
    for (const qsizetype width : widths)
        dashes.append(QString(width + 2, u'\u2500'));
    return corners.at(0) + dashes.join(corners.at(1)) + corners.at(2);
}

} // namespace

TablePrinter::TablePrinter(bool colour)
    : m_out(&m_file),
      m_isTerminal(isatty(STDOUT_FILENO) != 0),
      m_colour(colour && m_isTerminal && environmentAllowsColour())
{
    if (!m_file.open(STDOUT_FILENO, QIODevice::WriteOnly))
        throw UserError(u"cannot write to standard output: %1"_s.arg(m_file.errorString()));
}

void TablePrinter::printText(const QString &text)
{
    m_out << text;
}

void TablePrinter::printLine(const QString &text, Style style)
{
    m_out << painted(text, style) << '\n';
}

void TablePrinter::printTable(const QList<Row> &rows, const QList<qsizetype> &elastic)
{
    if (m_isTerminal)
        printFramed(rows, elastic);
    else
        printColumns(rows);
}

void TablePrinter::printColumns(const QList<Row> &rows)
{
    Widths widths = naturalWidths(rows);
    for (qsizetype &width : widths)
        width = std::min(width, longestPadding);
    widths.last() = 0; // no blanks at the end of a line
    for (const Row &row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.cells.size(); ++i)
            cells.append(padded(row.cells.at(i), widths.at(i)));
        printLine(cells.join("  "_L1));
    }
}

void TablePrinter::printFramed(const QList<Row> &rows, const QList<qsizetype> &elastic)
{
    Widths widths = naturalWidths(rows);
    const qsizetype available = terminalWidth() - 3 * widths.size() - 1; // "│ a │ b │"
    QList<qsizetype> all(widths.size());
    std::iota(all.begin(), all.end(), 0);
    shrink(widths, elastic, available, narrow);
    shrink(widths, all, available, narrowest);
    printLine(frameLine(widths, u"\u250c\u252c\u2510"), Style::Faint);
    const QString bar = painted(u"\u2502"_s, Style::Faint);
    for (const Row &row : rows) {
        m_out << bar;
        for (qsizetype i = 0; i < row.cells.size(); ++i) {
            const QString cell = padded(elided(row.cells.at(i), widths.at(i)), widths.at(i));
            m_out << ' ' << painted(cell, row.style) << ' ' << bar;
        }
        m_out << '\n';
        if (&row == &rows.first())
            printLine(frameLine(widths, u"\u251c\u253c\u2524"), Style::Faint);
    }
    printLine(frameLine(widths, u"\u2514\u2534\u2518"), Style::Faint);
}

void TablePrinter::printJson(const QJsonObject &object)
{
    printText(QString::fromUtf8(QJsonDocument(object).toJson()));
}

void TablePrinter::finish()
{
    m_out.flush();
    if (!m_file.flush() || m_out.status() != QTextStream::Ok)
        throw UserError(u"cannot write to standard output: %1"_s.arg(m_file.errorString()));
}

QString TablePrinter::painted(const QString &text, Style style) const
{
    if (!m_colour)
        return text;
    switch (style) {
    case Style::Plain:
        return text;
    case Style::Heading:
        return "\x1b[1m"_L1 + text + "\x1b[0m"_L1;
    case Style::Faint:
        return "\x1b[2m"_L1 + text + "\x1b[0m"_L1;
    case Style::Good:
        return "\x1b[32m"_L1 + text + "\x1b[0m"_L1;
    case Style::Alert:
        return "\x1b[31m"_L1 + text + "\x1b[0m"_L1;
    }
    return text;
}

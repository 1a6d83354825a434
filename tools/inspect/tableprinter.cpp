// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "tableprinter.h"

#include "format.h"
#include "usererror.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Widths = QList<qsizetype>;

constexpr qsizetype usualWidth = 80; // of a terminal whose size is unknown
constexpr qsizetype unlimited = std::numeric_limits<qsizetype>::max();
constexpr qsizetype longestPadding = 60; // so that one long value does not make every line long
constexpr qsizetype roomForValues = 30;
constexpr qsizetype gap = 2; // between two columns without frames
constexpr qsizetype indent = 4; // of a note
constexpr qsizetype narrow = 8; // a column's least width while others can still shrink
constexpr qsizetype narrowest = 3; // a narrower column would be unreadable

bool isDumb()
{
    return qEnvironmentVariableIsEmpty("TERM") || qgetenv("TERM") == "dumb";
}

// Users may set COLUMNS to another width.
qsizetype terminalWidth()
{
    if (const int columns = qEnvironmentVariableIntValue("COLUMNS"); columns > 0)
        return columns;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return usualWidth;
    return size.ws_col;
}

// The width of the longest text in each column.
Widths naturalWidths(const Table &table)
{
    Widths widths(table.rows.first().cells.size());
    for (const Row &row : table.rows) {
        for (qsizetype i = 0; i < row.cells.size(); ++i)
            widths[i] = std::max(widths[i], columnsOf(row.cells.at(i)));
    }
    return widths;
}

// The width of a table with its frame: "| a | b |".
qsizetype framedWidth(const Widths &widths)
{
    return std::accumulate(widths.cbegin(), widths.cend(), 3 * widths.size() + 1);
}

// Shrinks the widest of the columns until the table fits or all of them are at the least width.
void shrink(Widths &widths, const QList<qsizetype> &columns, qsizetype available, qsizetype least)
{
    const auto narrower
            = [&widths](qsizetype a, qsizetype b) { return widths.at(a) < widths.at(b); };
    qsizetype surplus = framedWidth(widths) - available;
    while (surplus > 0) {
        const qsizetype widest = *std::max_element(columns.cbegin(), columns.cend(), narrower);
        if (widths.at(widest) <= least)
            return;
        // Shrinks a single column in one step: a value may have millions of characters.
        const qsizetype step
                = columns.size() > 1 ? 1 : std::min(surplus, widths.at(widest) - least);
        widths[widest] -= step;
        surplus -= step;
    }
}

QString padded(const QString &text, qsizetype width)
{
    return text + QString(std::max<qsizetype>(0, width - columnsOf(text)), u' ');
}

} // namespace

void Table::leaveOutRepetitions(const QStringList &headings)
{
    QStringList repeated;
    for (qsizetype column = rows.first().cells.size() - 1; column >= 0; --column) {
        const QString heading = rows.first().cells.at(column);
        const QString text = rows.at(1).cells.at(column);
        const auto isRepetition = [&](const Row &row) { return row.cells.at(column) == text; };
        if (!headings.contains(heading)
            || !std::all_of(rows.cbegin() + 1, rows.cend(), isRepetition))
            continue;
        for (Row &row : rows)
            row.cells.removeAt(column);
        repeated.prepend(heading + u' ' + text);
        if (column < valueColumn)
            --valueColumn;
    }
    if (!repeated.isEmpty())
        remark = u"in every row: "_s + repeated.join(", "_L1);
}

TablePrinter::TablePrinter(Options options)
    : m_out(&m_file),
      m_isTerminal(isatty(STDOUT_FILENO) != 0),
      m_colour(options.testFlag(Colour) && m_isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR")
               && !isDumb()),
      m_asciiTexts(options.testFlag(Ascii) && m_isTerminal),
      m_asciiFrames(options.testFlag(Ascii) || isDumb()),
      m_width(options.testFlag(Wide) ? unlimited : terminalWidth())
{
    if (!m_file.open(STDOUT_FILENO, QIODevice::WriteOnly))
        throw lostOutput();
}

void TablePrinter::printText(const QString &text)
{
    m_out << text;
}

void TablePrinter::printBytes(const QByteArray &bytes)
{
    m_out.flush();
    // A large block is not buffered, so an error is reported only here.
    if (m_file.write(bytes) != bytes.size())
        throw lostOutput();
}

void TablePrinter::printLine(const QString &text, Style style)
{
    m_out << painted(shown(text), style) << '\n';
}

void TablePrinter::printTable(const QList<Table> &tables)
{
    if (!m_isTerminal) {
        printColumns(tables.first());
        return;
    }
    const auto fits
            = [this](const Table &table) { return framedWidth(naturalWidths(table)) <= m_width; };
    const auto first = std::find_if(tables.cbegin(), tables.cend(), fits);
    printFramed(first == tables.cend() ? tables.last() : *first);
}

void TablePrinter::printColumns(const Table &table)
{
    Widths widths = naturalWidths(table);
    for (qsizetype &width : widths)
        width = std::min(width, longestPadding);
    QString line;
    for (const Row &row : table.rows) {
        line.resize(0);
        for (qsizetype i = 0; i + 1 < row.cells.size(); ++i) {
            const QString &cell = row.cells.at(i);
            line += cell;
            line.resize(line.size() + std::max(gap, widths.at(i) + gap - columnsOf(cell)), u' ');
        }
        printLine(line + row.cells.last());
    }
}

void TablePrinter::printFramed(const Table &table)
{
    Table asShown = table;
    if (m_asciiTexts) {
        for (Row &row : asShown.rows) {
            for (QString &cell : row.cells)
                cell = asciiOnly(cell);
        }
    }
    Widths widths = naturalWidths(asShown);
    QList<qsizetype> others(widths.size());
    std::iota(others.begin(), others.end(), 0);
    const QList<qsizetype> all = others;
    others.removeAt(table.valueColumn);
    // A note takes the whole width of the table. If the table is too narrow for it, it grows.
    for (const Row &row : std::as_const(asShown.rows)) {
        if (!row.note.isEmpty()) {
            const qsizetype wanted = 4 + indent + columnsOf(shown(row.note));
            widths[table.valueColumn] += std::max<qsizetype>(0, wanted - framedWidth(widths));
        }
    }
    shrink(widths, {table.valueColumn}, m_width, roomForValues);
    shrink(widths, others, m_width, narrow);
    shrink(widths, all, m_width, narrowest);
    printFrame(widths, u"\u250c\u252c\u2510");
    for (const Row &row : std::as_const(asShown.rows)) {
        printFramedRow(row, widths);
        if (&row == &asShown.rows.constFirst())
            printFrame(widths, u"\u251c\u253c\u2524");
    }
    printFrame(widths, u"\u2514\u2534\u2518");
    if (!table.remark.isEmpty())
        printLine(table.remark);
}

void TablePrinter::printFramedRow(const Row &row, const Widths &widths)
{
    const QString bar = painted(m_asciiFrames ? u"|"_s : u"\u2502"_s, Style::Faint);
    QList<QStringList> cells;
    for (qsizetype i = 0; i < widths.size(); ++i)
        cells.append(wrapped(row.cells.at(i), widths.at(i)));
    const auto fewerLines = [](const auto &a, const auto &b) { return a.size() < b.size(); };
    const qsizetype lines = std::max_element(cells.cbegin(), cells.cend(), fewerLines)->size();
    for (qsizetype line = 0; line < lines; ++line) {
        m_out << bar;
        for (qsizetype i = 0; i < widths.size(); ++i) {
            const QString text = padded(cells.at(i).value(line), widths.at(i));
            m_out << ' ' << painted(text, row.style) << ' ' << bar;
        }
        m_out << '\n';
    }
    if (row.note.isEmpty())
        return;
    const qsizetype room = std::max(framedWidth(widths) - 4 - indent, narrowest);
    const QStringList notes = wrapped(shown(row.note), room);
    for (const QString &note : notes) {
        const QString text = QString(indent, u' ') + padded(note, room);
        m_out << bar << ' ' << painted(text, row.style) << ' ' << bar << '\n';
    }
}

// A horizontal line; the corners are its left end, its crossings and its right end.
void TablePrinter::printFrame(const Widths &widths, QStringView corners)
{
    if (m_asciiFrames)
        corners = u"+++";
    const QChar dash = m_asciiFrames ? u'-' : u'\u2500';
    QStringList dashes;
    for (const qsizetype width : widths)
        dashes.append(QString(width + 2, dash));
    const QString line = corners.at(0) + dashes.join(corners.at(1)) + corners.at(2);
    printLine(line, Style::Faint);
}

void TablePrinter::finish()
{
    m_out.flush();
    if (!m_file.flush() || m_out.status() != QTextStream::Ok)
        throw lostOutput();
}

UserError TablePrinter::lostOutput() const
{
    return UserError(u"cannot write to standard output: %1"_s.arg(m_file.errorString()));
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

QString TablePrinter::shown(const QString &text) const
{
    return m_asciiTexts ? asciiOnly(text) : text;
}

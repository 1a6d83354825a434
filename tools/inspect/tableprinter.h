// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TABLEPRINTER_H
#define TABLEPRINTER_H

#include "usererror.h"

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTextStream>

enum class Style { Plain, Heading, Faint, Good, Alert };

// A line of a table.
struct Row
{
    QStringList cells;
    Style style = Style::Plain;
    QString note = {}; // printed on a line below, if not empty
};

// The text of a cell that has nothing to show.
inline QString emptyCell()
{
    return QStringLiteral("-");
}

// The first row is the heading; all have as many cells as it has.
struct Table
{
    QList<Row> rows;
    qsizetype valueColumn = 0; // keeps more room than the others
    QString remark = {}; // printed below the table, if not empty

    // Moves columns that have the same text in every row into the remark.
    void leaveOutRepetitions(const QStringList &headings);
};

// Prints to standard output. On a terminal, tables are framed, coloured and fitted to its width;
// elsewhere they are plain lines. Nothing is truncated.
class TablePrinter
{
public:
    enum Option {
        Plain = 0,
        Colour = 1, // unless the environment asks for none
        Wide = 2, // ignores the terminal's width
        Ascii = 4, // on a terminal that cannot show more
    };
    Q_DECLARE_FLAGS(Options, Option)

    explicit TablePrinter(Options options);

    bool isTerminal() const { return m_isTerminal; }

    // Prints the text as it is, with its own line ends.
    void printText(const QString &text);
    void printBytes(const QByteArray &bytes);
    void printLine(const QString &text, Style style = Style::Plain);
    // Prints the first of the tables that fits the terminal, or else the last one, with its cells
    // on several lines. Without a terminal, prints the first one.
    void printTable(const QList<Table> &tables);
    // Throws a UserError if not everything could be written.
    void finish();

private:
    Q_DISABLE_COPY_MOVE(TablePrinter)

    UserError lostOutput() const;
    void printColumns(const Table &table);
    void printFramed(const Table &table);
    void printFramedRow(const Row &row, const QList<qsizetype> &widths);
    void printFrame(const QList<qsizetype> &widths, QStringView corners);
    QString painted(const QString &text, Style style) const;
    QString shown(const QString &text) const;

    QFile m_file;
    QTextStream m_out;
    const bool m_isTerminal;
    const bool m_colour;
    const bool m_asciiTexts;
    const bool m_asciiFrames;
    const qsizetype m_width;
};

#endif // TABLEPRINTER_H

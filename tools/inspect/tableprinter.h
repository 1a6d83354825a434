// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TABLEPRINTER_H
#define TABLEPRINTER_H

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTextStream>

class QJsonObject;

enum class Style { Plain, Heading, Faint, Good, Alert };

// A line of a table.
struct Row
{
    QStringList cells;
    Style style = Style::Plain;
};

// Standard output. A terminal gets frames and colours, and tables that fit into its width. All else
// gets plain lines with everything in them.
class TablePrinter
{
public:
    // Shows no colours if colour is false, or where the environment asks for none.
    explicit TablePrinter(bool colour);

    // text as it is, with its own ends of lines.
    void printText(const QString &text);
    void printLine(const QString &text, Style style = Style::Plain);
    // The first of rows is the heading; all have as many cells as it has. Where the table is too
    // wide, the columns elastic give way before the others.
    void printTable(const QList<Row> &rows, const QList<qsizetype> &elastic);
    void printJson(const QJsonObject &object);
    // Throws a UserError if not everything could be written.
    void finish();

private:
    Q_DISABLE_COPY_MOVE(TablePrinter)

    void printColumns(const QList<Row> &rows);
    void printFramed(const QList<Row> &rows, const QList<qsizetype> &elastic);
    QString painted(const QString &text, Style style) const;

    QFile m_file;
    QTextStream m_out;
    bool m_isTerminal;
    bool m_colour;
};

#endif // TABLEPRINTER_H

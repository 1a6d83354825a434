// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "changelist.h"

#include "format.h"
#include "snapshotfile.h"
#include "tableprinter.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A handler gets an invalid value if no layer holds the setting any more.
QString valueTextOf(const RecordedChange &change)
{
    const Value &value = change.value.value;
    return value.shown().type.isEmpty() ? u"(removed)"_s : value.text();
}

Row rowOf(const RecordedChange &change)
{
    return {{escaped(change.time), escaped(change.name.group), escaped(change.name.key),
             valueTextOf(change), change.value.value.type(), layerName(change.value.layer)}};
}

// Rows show the time of day only. The date and all that is the same in every row are below the
// table; an unusual type is below its row.
Table narrowTable(const Table &table)
{
    Table result = table;
    const QString date = table.rows.at(1).cells.first().section(u'T', 0, 0);
    const bool isOneDay
            = std::all_of(table.rows.cbegin() + 1, table.rows.cend(), [&date](const Row &row) {
                  return row.cells.first().startsWith(date + u'T');
              });
    for (qsizetype i = 1; isOneDay && i < result.rows.size(); ++i) {
        QString &time = result.rows[i].cells.first();
        time = time.section(u'T', 1).remove(u'Z');
    }
    result.leaveOutRepetitions({u"type"_s, u"origin"_s});
    if (isOneDay) {
        const QString remark = u"on %1, UTC"_s.arg(date);
        result.remark = result.remark.isEmpty() ? remark : remark + "; "_L1 + result.remark;
    }
    const qsizetype type = result.rows.first().cells.indexOf(u"type"_s);
    for (Row &row : result.rows) {
        const QString typeName = type < 0 ? u"-"_s : row.cells.takeAt(type);
        if (row.style != Style::Heading && typeName != "-"_L1 && typeName != "QString"_L1)
            row.note = "type "_L1 + typeName;
    }
    return result;
}

// The origin, too, is a note below its row.
Table narrowestTable(const Table &table)
{
    Table result = narrowTable(table);
    if (result.rows.first().cells.constLast() != "origin"_L1)
        return result;
    for (Row &row : result.rows) {
        const QString origin = row.cells.takeLast();
        if (row.style == Style::Heading)
            continue;
        const QString type = row.note.isEmpty() ? QString() : "; "_L1 + row.note;
        row.note = "origin "_L1 + origin + type;
    }
    return result;
}

QString changeJson(const RecordedChange &change)
{
    return JsonObject()
            .add("number"_L1, QString::number(change.number))
            .addText("time"_L1, change.time)
            .addText("group"_L1, change.name.group)
            .addText("key"_L1, change.name.key)
            .addValue(change.value.value.shown())
            .addText("origin"_L1, layerName(change.value.layer))
            .finished();
}

} // namespace

bool printChanges(const SnapshotFile &snapshot, const Options &options, TablePrinter &printer)
{
    Table table{{{{u"time"_s, u"group"_s, u"key"_s, u"value"_s, u"type"_s, u"origin"_s},
                  Style::Heading}},
                3};
    QStringList lines;
    for (const RecordedChange &change : snapshot.changes()) {
        if (!options.wants(change.name))
            continue;
        if (options.json)
            lines.append(u'\n' + changeJson(change));
        else
            table.rows.append(rowOf(change));
    }
    if (options.json) {
        printer.printText(u"{\"changes\":["_s + lines.join(u',')
                          + u"\n],\"warnings\":%1}\n"_s.arg(jsonOf(QVariant(snapshot.warnings()))));
        return !lines.isEmpty();
    }
    if (table.rows.size() == 1)
        return false;
    printer.printTable({table, narrowTable(table), narrowestTable(table)});
    if (printer.isTerminal())
        printer.printLine(escaped(snapshot.remark()));
    return true;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "difference.h"

#include "format.h"
#include "listing.h"
#include "source.h"
#include "tableprinter.h"

#include <map>

using namespace Qt::StringLiterals;

namespace {

// The effective value of a setting before and after; none where no layer holds it.
struct Change
{
    std::optional<LayerValue> before;
    std::optional<LayerValue> after;
};

using Changes = std::map<std::pair<QString, QString>, Change>;

QString kindOf(const Change &change)
{
    if (!change.before)
        return u"added"_s;
    return change.after ? u"changed"_s : u"removed"_s;
}

Style styleOf(const Change &change)
{
    if (!change.before)
        return Style::Good;
    return change.after ? Style::Plain : Style::Alert;
}

bool isVisible(const Change &change)
{
    if (!change.before || !change.after)
        return change.before.has_value() != change.after.has_value();
    // The same value from another origin is not a change for a reader.
    return !change.before->value.isSameAs(change.after->value);
}

Changes changesBetween(const Source &before, const Source &after, const Options &options)
{
    Changes result;
    const auto collectInto = [&](std::optional<LayerValue> Change::*side) {
        return [&, side](const Setting &setting) {
            if (options.wants(setting))
                result[{setting.name.group, setting.name.key}].*side = setting.origin;
        };
    };
    before.visit(collectInto(&Change::before));
    after.visit(collectInto(&Change::after));
    for (auto change = result.begin(); change != result.end();)
        change = isVisible(change->second) ? std::next(change) : result.erase(change);
    return result;
}

// One side of a change as it is shown. Different values look different, if only by a nested type.
struct Side
{
    QString value;
    QString type;
    QString origin;
};

Side sideOf(const std::optional<LayerValue> &side, const std::optional<LayerValue> &other)
{
    if (!side)
        return {emptyCell(), emptyCell(), emptyCell()};
    const Value &value = side->value;
    const bool looksSame
            = other && other->value.text() == value.text() && other->value.type() == value.type();
    return {value.text(), looksSame ? value.wholeType() : value.type(), layerName(side->layer)};
}

// A value, with its type if the other side's value looks the same.
QString textOf(const Side &side, const Side &other)
{
    return side.value == other.value ? u"%1 (%2)"_s.arg(side.value, side.type) : side.value;
}

QString sideJson(const std::optional<LayerValue> &side, const std::optional<LayerValue> &other)
{
    if (!side)
        return u"null"_s;
    tamsel::host::ShownValue shown = side->value.shown();
    if (other && jsonOf(shown.value) == jsonOf(other->value.value())
        && shown.type == other->value.shown().type && !shown.type.isEmpty())
        shown.type = side->value.wholeType().toUtf8();
    return JsonObject()
            .addValue(shown)
            .addText("origin"_L1, layerName(side->layer))
            .addTextOrNull("file"_L1, side->file)
            .finished();
}

void printJson(const Changes &changes, const QStringList &warnings, TablePrinter &printer)
{
    QString start = u"{"_s;
    for (const QString &kind : {u"added"_s, u"removed"_s, u"changed"_s}) {
        printer.printText(start + jsonOf(kind) + ":["_L1);
        start = u"\n],"_s;
        QString separator = u"\n"_s;
        for (const auto &[name, change] : changes) {
            if (kindOf(change) != kind)
                continue;
            printer.printText(separator
                              + JsonObject()
                                        .addText("group"_L1, name.first)
                                        .addText("key"_L1, name.second)
                                        .add("old"_L1, sideJson(change.before, change.after))
                                        .add("new"_L1, sideJson(change.after, change.before))
                                        .finished());
            separator = u",\n"_s;
        }
    }
    printer.printText(u"\n],\"warnings\":%1}\n"_s.arg(jsonOf(QVariant(warnings))));
}

// Both values side by side.
Table wideTable(const Changes &changes)
{
    Table table{{{{u"change"_s, u"group"_s, u"key"_s, u"old value"_s, u"old origin"_s,
                   u"new value"_s, u"new origin"_s},
                  Style::Heading}},
                3};
    for (const auto &[name, change] : changes) {
        const Side before = sideOf(change.before, change.after);
        const Side after = sideOf(change.after, change.before);
        table.rows.append(
                {{kindOf(change), escaped(name.first), escaped(name.second), textOf(before, after),
                  before.origin, textOf(after, before), after.origin},
                 styleOf(change)});
    }
    return table;
}

// The old value above the new one.
Table narrowDifference(const Table &table)
{
    Table result{{{{u"group"_s, u"key"_s, u"value"_s, u"origin"_s}, Style::Heading}}, 2};
    for (qsizetype i = 1; i < table.rows.size(); ++i) {
        const Row &row = table.rows.at(i);
        QStringList names = row.cells.mid(1, 2);
        for (const auto &[sign, value] : {std::pair(u"- "_s, 3), std::pair(u"+ "_s, 5)}) {
            const QString origin = row.cells.at(value + 1);
            if (origin == emptyCell())
                continue;
            result.rows.append(
                    {names + QStringList{sign + row.cells.at(value), origin}, row.style});
            names = QStringList{{}, {}};
        }
    }
    return result;
}

} // namespace

bool printDifference(const Source &before, const Source &after, const Options &options,
                     TablePrinter &printer)
{
    const Changes changes = changesBetween(before, after, options);
    if (options.json) {
        QStringList warnings = before.warnings() + after.warnings();
        warnings.removeDuplicates();
        printJson(changes, warnings, printer);
    } else if (!changes.empty()) {
        const Table table = wideTable(changes);
        printer.printTable({table, narrowDifference(table)});
    }
    return !changes.empty();
}

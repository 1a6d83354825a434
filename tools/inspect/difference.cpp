// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "difference.h"

#include "box.h"
#include "format.h"
#include "listing.h"
#include "tableprinter.h"

#include <map>

using namespace Qt::StringLiterals;

namespace {

constexpr auto none = "-"_L1;

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
    // Another origin of the same value is no change for a reader.
    const QVariant &before = change.before->value;
    const QVariant &after = change.after->value;
    if (before == after)
        return false;
    // What is not a number is not equal to itself.
    return jsonOf(before) != jsonOf(after) || wholeTypeText(before) != wholeTypeText(after);
}

Changes changesBetween(const Box &before, const Box &after, const Options &options)
{
    Changes result;
    const auto collectInto = [&](std::optional<LayerValue> Change::*side) {
        return [&, side](const Setting &setting) {
            if (options.wants(setting.name))
                result[{setting.name.group, setting.name.key}].*side = setting.origin;
        };
    };
    before.visit(collectInto(&Change::before));
    after.visit(collectInto(&Change::after));
    for (auto change = result.begin(); change != result.end();)
        change = isVisible(change->second) ? std::next(change) : result.erase(change);
    return result;
}

// How one side of a change looks: what differs must look different, if only by a type deep inside.
struct Side
{
    QString value;
    QString type;
    QString origin;
};

using Format = QString (*)(const QVariant &);

Side sideOf(const std::optional<LayerValue> &side, const std::optional<LayerValue> &other,
            Format format)
{
    if (!side)
        return {none, none, none};
    Side result{format(side->value), typeText(side->value), layerName(side->layer)};
    if (other && format(other->value) == result.value && typeText(other->value) == result.type)
        result.type = wholeTypeText(side->value);
    return result;
}

// A value, and its type if the other side's value reads the same.
QString textOf(const Side &side, const Side &other)
{
    return side.value == other.value ? u"%1 (%2)"_s.arg(side.value, side.type) : side.value;
}

QString sideJson(const std::optional<LayerValue> &side, const std::optional<LayerValue> &other)
{
    if (!side)
        return u"null"_s;
    const auto [value, type, origin] = sideOf(side, other, jsonOf);
    return jsonObject({
            {"value"_L1, value},
            {"type"_L1, side->value.isValid() ? jsonOf(type) : u"null"_s},
            {"origin"_L1, jsonOf(origin)},
            {"file"_L1, jsonOrNull(side->file)},
    });
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
                              + jsonObject({
                                      {"group"_L1, jsonOf(name.first)},
                                      {"key"_L1, jsonOf(name.second)},
                                      {"old"_L1, sideJson(change.before, change.after)},
                                      {"new"_L1, sideJson(change.after, change.before)},
                              }));
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
        const Side before = sideOf(change.before, change.after, valueText);
        const Side after = sideOf(change.after, change.before, valueText);
        table.rows.append(
                {{kindOf(change), escaped(name.first), escaped(name.second), textOf(before, after),
                  before.origin, textOf(after, before), after.origin},
                 styleOf(change)});
    }
    return table;
}

// The old value above the new one.
Table narrowTable(const Table &table)
{
    Table result{{{{u"group"_s, u"key"_s, u"value"_s, u"origin"_s}, Style::Heading}}, 2};
    for (qsizetype i = 1; i < table.rows.size(); ++i) {
        const Row &row = table.rows.at(i);
        QStringList names = row.cells.mid(1, 2);
        for (const auto &[sign, value] : {std::pair(u"- "_s, 3), std::pair(u"+ "_s, 5)}) {
            const QString origin = row.cells.at(value + 1);
            if (origin == none)
                continue;
            result.rows.append(
                    {names + QStringList{sign + row.cells.at(value), origin}, row.style});
            names = QStringList{{}, {}};
        }
    }
    return result;
}

} // namespace

bool printDifference(const Box &before, const Box &after, const Options &options,
                     TablePrinter &printer)
{
    const Changes changes = changesBetween(before, after, options);
    if (options.json) {
        QStringList warnings = before.warnings() + after.warnings();
        warnings.removeDuplicates();
        printJson(changes, warnings, printer);
    } else if (!changes.empty()) {
        const Table table = wideTable(changes);
        printer.printTable({table, narrowTable(table)});
    }
    return !changes.empty();
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "difference.h"

#include "box.h"
#include "format.h"
#include "listing.h"
#include "tableprinter.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <map>

using namespace Qt::StringLiterals;

namespace {

// A setting before and after; none where no layer answers.
struct Change
{
    std::optional<LayerValue> before;
    std::optional<LayerValue> after;
};

using Changes = std::map<std::pair<QString, QString>, Change>;

bool isVisible(const Change &change)
{
    if (!change.before || !change.after)
        return change.before.has_value() != change.after.has_value();
    // Another layer that answers with the same value is no change for a reader.
    return change.before->value != change.after->value;
}

// Only what readers see changing.
Changes changesBetween(const QList<Setting> &before, const QList<Setting> &after)
{
    Changes result;
    for (const Setting &setting : before)
        result[{setting.name.group, setting.name.key}].before = setting.answer;
    for (const Setting &setting : after)
        result[{setting.name.group, setting.name.key}].after = setting.answer;
    for (auto change = result.begin(); change != result.end();)
        change = isVisible(change->second) ? std::next(change) : result.erase(change);
    return result;
}

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

QString valueOf(const std::optional<LayerValue> &layerValue)
{
    return layerValue ? valueText(layerValue->value) : u"-"_s;
}

QString layerOf(const std::optional<LayerValue> &layerValue)
{
    return layerValue ? layerName(layerValue->layer) : u"-"_s;
}

QJsonValue objectOf(const std::optional<LayerValue> &layerValue)
{
    if (!layerValue)
        return QJsonValue::Null;
    return layerValueObject(*layerValue);
}

void printJson(const Changes &changes, TablePrinter &printer)
{
    // Grown outside of the object: there they would be copied.
    std::map<QString, QJsonArray> arrays{{u"added"_s, {}}, {u"removed"_s, {}}, {u"changed"_s, {}}};
    for (const auto &[name, change] : changes) {
        arrays[kindOf(change)].append(QJsonObject{{u"group"_s, name.first},
                                                  {u"key"_s, name.second},
                                                  {u"old"_s, objectOf(change.before)},
                                                  {u"new"_s, objectOf(change.after)}});
    }
    QJsonObject result;
    for (const auto &[kind, array] : arrays)
        result[kind] = array;
    printer.printJson(result);
}

void printText(const Changes &changes, TablePrinter &printer)
{
    if (changes.empty()) {
        printer.printLine(u"no reader would see a difference"_s);
        return;
    }
    QList<Row> rows{{{u"change"_s, u"group"_s, u"key"_s, u"old value"_s, u"old layer"_s,
                      u"new value"_s, u"new layer"_s},
                     Style::Heading}};
    for (const auto &[name, change] : changes) {
        rows.append(
                {{kindOf(change), escaped(name.first), escaped(name.second), valueOf(change.before),
                  layerOf(change.before), valueOf(change.after), layerOf(change.after)},
                 styleOf(change)});
    }
    printer.printTable(rows, {3, 5}); // the values
}

} // namespace

bool printDifference(const Box &before, const Box &after, const Options &options,
                     TablePrinter &printer)
{
    const Changes changes = changesBetween(before.settings(options), after.settings(options));
    if (options.json)
        printJson(changes, printer);
    else
        printText(changes, printer);
    return !changes.empty();
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "explanation.h"

#include "box.h"
#include "format.h"
#include "listing.h"
#include "tableprinter.h"

#include <QtCore/QFileInfo>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

constexpr auto none = "-"_L1;

// What one layer says to the lookup.
struct Step
{
    SettingsType layer;
    std::optional<LayerValue> layerValue;
    QString state;
    QString file; // of the layer; empty if it has none
    bool fileExists = false;
};

QList<Step> stepsOf(const Box &box, const Setting &setting)
{
    QList<Step> steps;
    for (const SettingsType layer : tamsel::storagePriority) {
        const QString file = box.fileOf(layer);
        Step step{layer, std::nullopt, u"absent"_s, file,
                  file == "-"_L1 || (!file.isEmpty() && QFileInfo::exists(file))};
        if (setting.origin && setting.origin->layer == layer) {
            step.layerValue = setting.origin;
            step.state = u"origin"_s;
        }
        for (const LayerValue &overridden : setting.overridden) {
            if (overridden.layer == layer && overridden.entry.isEmpty()) {
                step.layerValue = overridden;
                step.state = u"overridden"_s;
            }
        }
        steps.append(step);
    }
    return steps;
}

QString fileText(const QString &file)
{
    if (file.isEmpty())
        return u"--set"_s;
    return file == "-"_L1 ? u"standard input"_s : escaped(file);
}

// Where the value comes from, or where it would.
QString fileText(const Step &step)
{
    if (step.layerValue)
        return fileText(step.layerValue->file);
    if (step.file.isEmpty())
        return none;
    return step.fileExists ? fileText(step.file) : u"%1 (no such file)"_s.arg(fileText(step.file));
}

Row rowOf(const Step &step)
{
    const QString rank = QString::number(tamsel::priorityOf(step.layer));
    const QString layer = layerName(step.layer);
    if (!step.layerValue)
        return {{rank, layer, step.state, none, none, fileText(step)}, Style::Faint};
    const QVariant &value = step.layerValue->value;
    return {{rank, layer, step.state, valueText(value), typeText(value), fileText(step)},
            step.state == "origin"_L1 ? Style::Good : Style::Plain};
}

// Type and file stand below each row.
Table narrowTable(const Table &table)
{
    Table result = table;
    for (Row &row : result.rows) {
        const QString file = row.cells.takeLast();
        const QString type = row.cells.takeLast();
        if (row.style == Style::Heading)
            continue;
        if (type != none)
            row.note = u"%1 in %2"_s.arg(type, file);
        else if (file != none)
            row.note = u"in %1"_s.arg(file);
    }
    return result;
}

QString stepJson(const Step &step)
{
    const LayerValue layerValue
            = step.layerValue.value_or(LayerValue{step.layer, {}, step.file, {}});
    return jsonObject({
            {"rank"_L1, QString::number(tamsel::priorityOf(step.layer))},
            {"layer"_L1, jsonOf(layerName(step.layer))},
            {"state"_L1, jsonOf(step.state)},
            {"value"_L1, jsonOf(layerValue.value)},
            {"type"_L1, jsonOrNull(QString::fromLatin1(layerValue.value.typeName()))},
            {"file"_L1, jsonOrNull(layerValue.file)},
            {"fileExists"_L1, step.fileExists ? u"true"_s : u"false"_s},
    });
}

QString originText(const LayerValue &layerValue)
{
    return u"%1 (%2)"_s.arg(layerName(layerValue.layer), fileText(layerValue.file));
}

// What becomes of an entry that is listed as the setting, and is none.
QString entryText(const LayerValue &layerValue)
{
    const QString listed = u"%1 lists the entry %2 as this setting, but it "_s.arg(
            originText(layerValue), valueText(layerValue.entry));
    if (layerValue.isLost())
        return listed + "cannot be read"_L1;
    const qsizetype slash = layerValue.entry.indexOf(u'/');
    const QString group = slash < 0 ? QString() : layerValue.entry.left(slash);
    return listed
            + u"is read as group %1, key %2"_s.arg(valueText(group),
                                                   valueText(layerValue.entry.mid(slash + 1)));
}

QString summaryOf(const Setting &setting)
{
    QStringList overridden;
    QStringList entries;
    for (const LayerValue &layerValue : setting.overridden) {
        if (layerValue.entry.isEmpty())
            overridden.append(
                    u"%1 from %2"_s.arg(valueText(layerValue.value), layerName(layerValue.layer)));
        else
            entries.append(entryText(layerValue));
    }
    QString result = escaped(setting.name.text());
    if (setting.origin) {
        result = u"%1 is %2, from %3; overrides %4"_s.arg(
                result, valueText(setting.origin->value), originText(*setting.origin),
                overridden.isEmpty() ? u"nothing"_s : overridden.join(", "_L1));
    } else {
        result += " is held by no layer"_L1;
    }
    for (const QString &entry : entries)
        result += "; "_L1 + entry;
    return result;
}

void printJson(const Box &box, const Setting &setting, const QList<Step> &steps,
               TablePrinter &printer)
{
    QStringList layers;
    for (const Step &step : steps)
        layers.append(u'\n' + stepJson(step));
    QStringList entries;
    for (const LayerValue &layerValue : setting.overridden) {
        if (!layerValue.entry.isEmpty())
            entries.append(jsonOf(layerValue));
    }
    printer.printText(jsonObject({
                              {"group"_L1, jsonOf(setting.name.group)},
                              {"key"_L1, jsonOf(setting.name.key)},
                              {"layers"_L1, jsonArray(layers)},
                              {"unreadable"_L1, jsonArray(entries)},
                              {"summary"_L1, jsonOf(summaryOf(setting))},
                              {"warnings"_L1, jsonOf(QVariant(box.warnings()))},
                      })
                      + u'\n');
}

} // namespace

bool printExplanation(const Box &box, const Options &options, TablePrinter &printer)
{
    const Setting setting = box.setting(*options.explained);
    const QList<Step> steps = stepsOf(box, setting);
    if (options.json) {
        printJson(box, setting, steps, printer);
        return setting.origin.has_value();
    }
    Table table{{{{u"rank"_s, u"layer"_s, u"state"_s, u"value"_s, u"type"_s, u"file"_s},
                  Style::Heading}},
                3};
    for (const Step &step : steps)
        table.rows.append(rowOf(step));
    printer.printTable({table, narrowTable(table)});
    printer.printLine(summaryOf(setting), setting.origin ? Style::Heading : Style::Alert);
    return setting.origin.has_value();
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "explanation.h"

#include "format.h"
#include "listing.h"
#include "source.h"
#include "tableprinter.h"

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// The lookup in one layer.
struct Step
{
    SettingsType layer;
    std::optional<LayerValue> layerValue;
    QString state;
    QString file; // of the layer; empty if it has none
    std::optional<bool> fileExists; // none if unknown
    QString place; // where the value comes from, or would come from
};

QString placeOf(const Source &source, const Step &step)
{
    if (step.layerValue)
        return source.placeText(step.layer, step.layerValue->file);
    if (step.file.isEmpty())
        return emptyCell();
    const QString file = source.placeText(step.layer, step.file);
    return step.fileExists.value_or(true) ? file : u"%1 (no such file)"_s.arg(file);
}

QList<Step> stepsOf(const Source &source, const Setting &setting)
{
    QList<Step> steps;
    for (const SettingsType layer : tamsel::storagePriority) {
        Step step{
                layer,    std::nullopt, u"absent"_s, source.fileOf(layer), source.fileExists(layer),
                QString()};
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
        step.place = placeOf(source, step);
        steps.append(step);
    }
    return steps;
}

Row rowOf(const Step &step)
{
    const QString rank = QString::number(tamsel::priorityOf(step.layer));
    const QString layer = layerName(step.layer);
    if (!step.layerValue)
        return {{rank, layer, step.state, emptyCell(), emptyCell(), step.place}, Style::Faint};
    const Value &value = step.layerValue->value;
    return {{rank, layer, step.state, value.text(), value.type(), step.place},
            step.state == "origin"_L1 ? Style::Good : Style::Plain};
}

// Type and file are notes below each row.
Table narrowSteps(const Table &table)
{
    Table result = table;
    for (Row &row : result.rows) {
        const QString file = row.cells.takeLast();
        const QString type = row.cells.takeLast();
        if (row.style == Style::Heading)
            continue;
        if (type != emptyCell())
            row.note = u"%1 in %2"_s.arg(type, file);
        else if (file != emptyCell())
            row.note = u"in %1"_s.arg(file);
    }
    return result;
}

QString stepJson(const Step &step)
{
    const LayerValue layerValue
            = step.layerValue.value_or(LayerValue{step.layer, Value(), step.file, {}});
    QString fileExists = u"null"_s;
    if (step.fileExists)
        fileExists = *step.fileExists ? u"true"_s : u"false"_s;
    return JsonObject()
            .addNumber("rank"_L1, static_cast<quint64>(tamsel::priorityOf(step.layer)))
            .addText("layer"_L1, layerName(step.layer))
            .addText("state"_L1, step.state)
            .addValue(layerValue.value.shown())
            .addTextOrNull("file"_L1, layerValue.file)
            .add("fileExists"_L1, fileExists)
            .finished();
}

QString originText(const Source &source, const LayerValue &layerValue)
{
    return u"%1 (%2)"_s.arg(layerName(layerValue.layer),
                            source.placeText(layerValue.layer, layerValue.file));
}

// Says how an entry is read that the layer lists as the setting, but reads under another key.
QString entryText(const Source &source, const LayerValue &layerValue)
{
    const QString listed = u"%1 lists the entry %2 as this setting, but it "_s.arg(
            originText(source, layerValue), valueText(layerValue.entry));
    if (layerValue.isLost())
        return listed + "cannot be read"_L1;
    const qsizetype slash = layerValue.entry.indexOf(u'/');
    const QString group = slash < 0 ? QString() : layerValue.entry.left(slash);
    return listed
            + u"is read as group %1, key %2"_s.arg(valueText(group),
                                                   valueText(layerValue.entry.mid(slash + 1)));
}

QString summaryOf(const Source &source, const Setting &setting)
{
    QStringList overridden;
    QStringList entries;
    for (const LayerValue &layerValue : setting.overridden) {
        const QString layer = layerName(layerValue.layer);
        if (!layerValue.entry.isEmpty())
            entries.append(entryText(source, layerValue));
        else if (layerValue.value.isKnown())
            overridden.append(u"%1 from %2"_s.arg(layerValue.value.text(), layer));
        else
            overridden.append(layer);
    }
    QString result = escaped(setting.name.text());
    if (setting.origin) {
        result = u"%1 is %2, from %3; overrides %4"_s.arg(
                result, setting.origin->value.text(), originText(source, *setting.origin),
                overridden.isEmpty() ? u"nothing"_s : overridden.join(", "_L1));
    } else {
        result += " is held by no layer"_L1;
    }
    for (const QString &entry : entries)
        result += "; "_L1 + entry;
    return result;
}

void printJson(const Source &source, const Setting &setting, const QList<Step> &steps,
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
    printer.printText(JsonObject()
                              .addText("group"_L1, setting.name.group)
                              .addText("key"_L1, setting.name.key)
                              .add("layers"_L1, jsonArray(layers))
                              .add("unreadable"_L1, jsonArray(entries))
                              .addText("summary"_L1, summaryOf(source, setting))
                              .add("warnings"_L1, jsonOf(QVariant(source.warnings())))
                              .finished()
                      + u'\n');
}

} // namespace

bool printExplanation(const Source &source, const Options &options, TablePrinter &printer)
{
    const Setting setting = source.setting(*options.explained);
    const QList<Step> steps = stepsOf(source, setting);
    if (options.json) {
        printJson(source, setting, steps, printer);
        return setting.origin.has_value();
    }
    Table table{{{{u"rank"_s, u"layer"_s, u"state"_s, u"value"_s, u"type"_s, u"file"_s},
                  Style::Heading}},
                3};
    for (const Step &step : steps)
        table.rows.append(rowOf(step));
    printer.printTable({table, narrowSteps(table)});
    printer.printLine(summaryOf(source, setting), setting.origin ? Style::Heading : Style::Alert);
    return setting.origin.has_value();
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "explanation.h"

#include "box.h"
#include "format.h"
#include "listing.h"
#include "tableprinter.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// Where one layer stands in the walk.
struct Step
{
    SettingsType layer;
    std::optional<LayerValue> layerValue;
    bool answers = false;
    QString file; // of the layer; empty if it has none
    bool fileExists = false;
};

QList<Step> stepsOf(const Box &box, const Setting &setting)
{
    QList<Step> steps;
    for (const SettingsType layer : tamsel::storagePriority) {
        const QString file = box.fileOf(layer);
        Step step{layer, std::nullopt, false, file, !file.isEmpty() && QFileInfo::exists(file)};
        if (setting.answer && setting.answer->layer == layer) {
            step.layerValue = setting.answer;
            step.answers = true;
        }
        for (const LayerValue &hidden : setting.hidden) {
            if (hidden.layer == layer && hidden.entry.isEmpty())
                step.layerValue = hidden;
        }
        steps.append(step);
    }
    return steps;
}

QString placeOf(const Step &step)
{
    if (step.layerValue)
        return step.layerValue->file.isEmpty() ? u"--set"_s : escaped(step.layerValue->file);
    if (step.file.isEmpty())
        return u"-"_s;
    return step.fileExists ? escaped(step.file) : u"%1 (no such file)"_s.arg(escaped(step.file));
}

Row rowOf(const Step &step)
{
    const QString rank = QString::number(tamsel::priorityOf(step.layer));
    const QString layer = layerName(step.layer);
    if (!step.layerValue)
        return {{rank, layer, u"absent"_s, u"-"_s, u"-"_s, placeOf(step)}, Style::Faint};
    const QVariant &value = step.layerValue->value;
    return {{rank, layer, step.answers ? u"answers"_s : u"hidden"_s, valueText(value),
             typeText(value), placeOf(step)},
            step.answers ? Style::Good : Style::Plain};
}

QJsonObject objectOf(const Step &step)
{
    const LayerValue layerValue
            = step.layerValue.value_or(LayerValue{step.layer, {}, step.file, {}});
    QJsonObject result = layerValueObject(layerValue);
    result[u"rank"_s] = tamsel::priorityOf(step.layer);
    result[u"present"_s] = step.layerValue.has_value();
    result[u"answers"_s] = step.answers;
    result[u"fileExists"_s] = step.fileExists;
    return result;
}

QString nameText(const Setting &setting)
{
    return escaped(setting.name.group + u'/' + setting.name.key);
}

QString originText(const LayerValue &layerValue)
{
    return u"%1 (%2)"_s.arg(layerName(layerValue.layer),
                            layerValue.file.isEmpty() ? u"--set"_s : escaped(layerValue.file));
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
    QStringList hidden;
    QStringList entries;
    for (const LayerValue &layerValue : setting.hidden) {
        if (layerValue.entry.isEmpty())
            hidden.append(
                    u"%1 from %2"_s.arg(valueText(layerValue.value), layerName(layerValue.layer)));
        else
            entries.append(entryText(layerValue));
    }
    QString result = nameText(setting);
    if (setting.answer) {
        result = u"%1 is %2, from %3; hides %4"_s.arg(
                result, valueText(setting.answer->value), originText(*setting.answer),
                hidden.isEmpty() ? u"nothing"_s : hidden.join(", "_L1));
    } else {
        result += " is held by no layer"_L1;
    }
    for (const QString &entry : entries)
        result += "; "_L1 + entry;
    return result;
}

QJsonObject objectOf(const Setting &setting, const QList<Step> &steps)
{
    QJsonArray layers;
    for (const Step &step : steps)
        layers.append(objectOf(step));
    QJsonArray entries;
    for (const LayerValue &layerValue : setting.hidden) {
        if (!layerValue.entry.isEmpty())
            entries.append(entryObject(layerValue));
    }
    return {{u"group"_s, setting.name.group},
            {u"key"_s, setting.name.key},
            {u"layers"_s, layers},
            {u"unreadable"_s, entries},
            {u"summary"_s, summaryOf(setting)}};
}

} // namespace

bool printExplanation(const Box &box, const Options &options, TablePrinter &printer)
{
    const Setting setting = box.setting(*options.explained);
    const QList<Step> steps = stepsOf(box, setting);
    if (options.json) {
        printer.printJson(objectOf(setting, steps));
        return setting.answer.has_value();
    }
    QList<Row> rows{{{u"rank"_s, u"layer"_s, u"state"_s, u"value"_s, u"type"_s, u"stands in"_s},
                     Style::Heading}};
    for (const Step &step : steps)
        rows.append(rowOf(step));
    printer.printTable(rows, {3, 5}); // value and place
    printer.printLine(summaryOf(setting), setting.answer ? Style::Heading : Style::Alert);
    return setting.answer.has_value();
}

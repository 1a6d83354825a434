// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "listing.h"

#include "format.h"
#include "source.h"
#include "tableprinter.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto usualType = "QString"_L1; // of the values in a file; not shown

// "RavonaConfDefault 'ru'"; with the full key of its entry if readers of the setting do not get it.
QString layerValueText(const LayerValue &layerValue)
{
    QString layer = layerName(layerValue.layer);
    if (!layerValue.value.isKnown())
        return layer;
    const QString value = layerValue.isLost() ? u"(cannot be read)"_s : layerValue.value.text();
    return layerValue.entry.isEmpty()
            ? layer + u' ' + value
            : u"%1 %2 as %3"_s.arg(layer, value, valueText(layerValue.entry));
}

QString overriddenText(const Setting &setting)
{
    QStringList texts;
    for (const LayerValue &layerValue : setting.overridden)
        texts.append(layerValueText(layerValue));
    return texts.isEmpty() ? emptyCell() : texts.join(", "_L1);
}

Row rowOf(const Setting &setting)
{
    const QString group = escaped(setting.name.group);
    const QString key = escaped(setting.name.key);
    const QString overridden = overriddenText(setting);
    if (!setting.origin)
        return {{group, key, emptyCell(), emptyCell(), u"! none"_s, overridden}, Style::Alert};
    const LayerValue &origin = *setting.origin;
    return {{group, key, origin.value.text(), origin.value.type(), layerName(origin.layer),
             overridden}};
}

// Overridden values and unusual types are notes below their row. Columns that are the same in every
// row are in the remark below the table.
Table narrowListing(const Table &table)
{
    Table result = table;
    result.leaveOutRepetitions({u"type"_s, u"origin"_s});
    const qsizetype type = result.rows.first().cells.indexOf(u"type"_s);
    for (Row &row : result.rows) {
        QStringList notes;
        const QString overridden = row.cells.takeLast();
        const QString typeName = type < 0 ? QString(usualType) : row.cells.takeAt(type);
        if (row.style == Style::Heading)
            continue;
        if (typeName != usualType && typeName != emptyCell())
            notes.append("type "_L1 + typeName);
        if (overridden != emptyCell())
            notes.append("overrides "_L1 + overridden);
        row.note = notes.join("; "_L1);
    }
    return result;
}

bool printTable(const Source &source, const Options &options, TablePrinter &printer)
{
    Table table{{{{u"group"_s, u"key"_s, u"value"_s, u"type"_s, u"origin"_s, u"overridden"_s},
                  Style::Heading}},
                2};
    source.visit([&](const Setting &setting) {
        if (options.wants(setting))
            table.rows.append(rowOf(setting));
    });
    if (table.rows.size() == 1)
        return false;
    if (!printer.isTerminal()) {
        printer.printTable({table});
        return true;
    }
    printer.printTable({table, narrowListing(table)});
    if (const QString remark = source.remark(); !remark.isEmpty())
        printer.printLine(escaped(remark));
    return true;
}

QString jsonOfSetting(const Setting &setting)
{
    QStringList overridden;
    for (const LayerValue &layerValue : setting.overridden)
        overridden.append(jsonOf(layerValue));
    const LayerValue origin = setting.origin.value_or(LayerValue{});
    return tamsel::host::settingJson(setting.name.group, setting.name.key, origin.value.shown(),
                                     setting.origin ? std::optional(origin.layer) : std::nullopt,
                                     origin.file, jsonArray(overridden))
            .finished();
}

// Prints one setting per line, and keeps only one in memory: there may be many.
bool printJson(const Source &source, const Options &options, TablePrinter &printer)
{
    const QString first = u"\n"_s;
    QString separator = first;
    printer.printText(u"{\"settings\":["_s);
    source.visit([&](const Setting &setting) {
        if (!options.wants(setting))
            return;
        printer.printText(separator + jsonOfSetting(setting));
        separator = u",\n"_s;
    });
    printer.printText(u"\n],\"warnings\":%1}\n"_s.arg(jsonOf(QVariant(source.warnings()))));
    return separator != first;
}

} // namespace

QString jsonOf(const LayerValue &layerValue)
{
    return tamsel::host::layerValueJson(layerValue.layer, layerValue.value.shown(), layerValue.file,
                                        layerValue.entry);
}

bool printSettings(const Source &source, const Options &options, TablePrinter &printer)
{
    return options.json ? printJson(source, options, printer)
                        : printTable(source, options, printer);
}

bool printValue(const Source &source, const Options &options, TablePrinter &printer)
{
    const Setting setting = source.setting(*options.wanted);
    if (!setting.origin)
        return false;
    const QVariant &value = setting.origin->value.value();
    if (options.json)
        printer.printText(jsonOf(value) + u'\n');
    else if (printer.isTerminal())
        printer.printLine(escaped(QString::fromUtf8(rawValue(value))));
    else
        printer.printBytes(rawValue(value) + '\n');
    return true;
}

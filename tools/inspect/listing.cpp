// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "listing.h"

#include "box.h"
#include "format.h"
#include "tableprinter.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

using namespace Qt::StringLiterals;

namespace {

// What is missing is null in JSON.
QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QString hiddenText(const Setting &setting)
{
    QStringList texts;
    for (const LayerValue &layerValue : setting.hidden)
        texts.append(layerValueText(layerValue));
    return texts.isEmpty() ? u"-"_s : texts.join(", "_L1);
}

Row rowOf(const Setting &setting)
{
    const QString group = escaped(setting.name.group);
    const QString key = escaped(setting.name.key);
    const QString hidden = hiddenText(setting);
    if (!setting.answer)
        return {{group, key, u"-"_s, u"-"_s, u"! nobody"_s, hidden}, Style::Alert};
    const LayerValue &answer = *setting.answer;
    return {{group, key, valueText(answer.value), typeText(answer.value), layerName(answer.layer),
             hidden}};
}

QJsonObject objectOf(const Setting &setting)
{
    static const QJsonObject nobody{{u"layer"_s, QJsonValue()},
                                    {u"value"_s, QJsonValue()},
                                    {u"type"_s, QJsonValue()},
                                    {u"file"_s, QJsonValue()}};
    QJsonArray hidden;
    for (const LayerValue &layerValue : setting.hidden)
        hidden.append(entryObject(layerValue));
    QJsonObject result = setting.answer ? layerValueObject(*setting.answer) : nobody;
    result[u"group"_s] = setting.name.group;
    result[u"key"_s] = setting.name.key;
    result[u"hidden"_s] = hidden;
    result[u"hiddenEverywhere"_s] = !setting.answer;
    return result;
}

} // namespace

QString layerValueText(const LayerValue &layerValue)
{
    const QString layer = layerName(layerValue.layer);
    const QString value = layerValue.isLost() ? u"(cannot be read)"_s : valueText(layerValue.value);
    return layerValue.entry.isEmpty()
            ? layer + u' ' + value
            : u"%1 %2 as %3"_s.arg(layer, value, valueText(layerValue.entry));
}

QJsonObject layerValueObject(const LayerValue &layerValue)
{
    return {{u"layer"_s, layerName(layerValue.layer)},
            {u"value"_s, jsonValue(layerValue.value)},
            {u"type"_s, jsonType(layerValue.value)},
            {u"file"_s, textOrNull(layerValue.file)}};
}

QJsonObject entryObject(const LayerValue &layerValue)
{
    QJsonObject result = layerValueObject(layerValue);
    result[u"entry"_s] = textOrNull(layerValue.entry);
    return result;
}

bool printSettings(const Box &box, const Options &options, TablePrinter &printer)
{
    const QList<Setting> settings = box.settings(options);
    if (options.json) {
        QJsonArray array;
        for (const Setting &setting : settings)
            array.append(objectOf(setting));
        printer.printJson({{u"settings"_s, array}});
    } else if (!settings.isEmpty()) {
        QList<Row> rows{
                {{u"group"_s, u"key"_s, u"value"_s, u"type"_s, u"answered by"_s, u"hides"_s},
                 Style::Heading}};
        for (const Setting &setting : settings)
            rows.append(rowOf(setting));
        printer.printTable(rows, {2, 5}); // values and what they hide
    }
    return !settings.isEmpty();
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "listing.h"

#include "box.h"
#include "screen.h"
#include "texts.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

using namespace Qt::StringLiterals;

namespace {

/*! What is missing is null in JSON. */
QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QString hiddenText(const Setting &setting)
{
    QStringList texts;
    for (const Holding &holding : setting.hidden)
        texts.append(holdingText(holding));
    return texts.isEmpty() ? u"-"_s : texts.join(", "_L1);
}

Row rowOf(const Setting &setting)
{
    const QString group = escaped(setting.name.group);
    const QString key = escaped(setting.name.key);
    const QString hidden = hiddenText(setting);
    if (!setting.answer)
        return {{group, key, u"-"_s, u"-"_s, u"! nobody"_s, hidden}, Style::Alert};
    const Holding &answer = *setting.answer;
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
    for (const Holding &holding : setting.hidden)
        hidden.append(entryObject(holding));
    QJsonObject result = setting.answer ? holdingObject(*setting.answer) : nobody;
    result[u"group"_s] = setting.name.group;
    result[u"key"_s] = setting.name.key;
    result[u"hidden"_s] = hidden;
    result[u"hiddenEverywhere"_s] = !setting.answer;
    return result;
}

} // namespace

QString holdingText(const Holding &holding)
{
    const QString layer = layerName(holding.layer);
    const QString value = holding.isLost() ? u"(cannot be read)"_s : valueText(holding.value);
    return holding.entry.isEmpty() ? layer + u' ' + value
                                   : u"%1 %2 as %3"_s.arg(layer, value, valueText(holding.entry));
}

QJsonObject holdingObject(const Holding &holding)
{
    return {{u"layer"_s, layerName(holding.layer)},
            {u"value"_s, jsonValue(holding.value)},
            {u"type"_s, jsonType(holding.value)},
            {u"file"_s, textOrNull(holding.file)}};
}

QJsonObject entryObject(const Holding &holding)
{
    QJsonObject result = holdingObject(holding);
    result[u"entry"_s] = textOrNull(holding.entry);
    return result;
}

bool printSettings(const Box &box, const Options &options, Screen &screen)
{
    const QList<Setting> settings = box.settings(options);
    if (options.json) {
        QJsonArray array;
        for (const Setting &setting : settings)
            array.append(objectOf(setting));
        screen.printJson({{u"settings"_s, array}});
    } else if (!settings.isEmpty()) {
        QList<Row> rows{
                {{u"group"_s, u"key"_s, u"value"_s, u"type"_s, u"answered by"_s, u"hides"_s},
                 Style::Heading}};
        for (const Setting &setting : settings)
            rows.append(rowOf(setting));
        screen.printTable(rows, {2, 5}); // values and what they hide
    }
    return !settings.isEmpty();
}

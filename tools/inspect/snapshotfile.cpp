// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "snapshotfile.h"

#include "format.h"
#include "jsonmap.h"
#include "options.h"
#include "usererror.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;
using tamsel::host::ShownValue;

namespace {

constexpr int schema = 1; // the one that src/host/snapshot.cpp writes

// Callers catch it to add the member and the file.
UserError missing(QLatin1StringView name, QLatin1StringView what)
{
    return UserError(u"'%1' is not %2"_s.arg(name, what));
}

QString textIn(const QJsonObject &object, QLatin1StringView name)
{
    const QJsonValue value = object.value(name);
    if (!value.isString())
        throw missing(name, "a text"_L1);
    return value.toString();
}

QString textOrNullIn(const QJsonObject &object, QLatin1StringView name)
{
    return object.value(name).isNull() ? QString() : textIn(object, name);
}

SettingsType layerIn(const QJsonObject &object, QLatin1StringView name)
{
    const QString layer = textIn(object, name);
    for (const SettingsType type : tamsel::storagePriority) {
        if (layerName(type) == layer)
            return type;
    }
    throw missing(name, "a layer"_L1);
}

QJsonArray arrayIn(const QJsonObject &object, QLatin1StringView name)
{
    const QJsonValue value = object.value(name);
    if (!value.isArray())
        throw missing(name, "an array"_L1);
    return value.toArray();
}

SettingName nameIn(const QJsonObject &object)
{
    return {textIn(object, "group"_L1), textIn(object, "key"_L1)};
}

template <typename Reader>
void readAll(const QJsonObject &snapshot, QLatin1StringView name, const Reader &reader)
{
    qsizetype number = 0;
    const QJsonArray members = arrayIn(snapshot, name);
    for (const auto &member : members) {
        ++number;
        try {
            if (!member.isObject())
                throw UserError(u"it is not an object"_s);
            reader(member.toObject());
        } catch (const UserError &error) {
            throw UserError(
                    u"number %1 of '%2': %3"_s.arg(QString::number(number), name, error.text()));
        }
    }
}

} // namespace

SnapshotFile::SnapshotFile(const QString &fileName, const tamsel::host::Redaction &redaction)
    : m_redaction(redaction)
{
    const QJsonDocument document = readJson(fileName);
    const QJsonObject snapshot = document.object();
    if (!document.isObject() || !snapshot.value("snapshot"_L1).isDouble())
        throw UserError(u"%1 is not a snapshot of settings"_s.arg(fileName));
    if (const double found = snapshot.value("snapshot"_L1).toDouble(); found != schema) {
        throw UserError(u"%1 is a snapshot of schema %2; this version reads schema %3"_s.arg(
                fileName, QString::number(found), QString::number(schema)));
    }
    const QJsonValue process = snapshot.value("process"_L1);
    m_remark = u"held by %1, process %2 on %3, at %4"_s.arg(
            process["name"_L1].toString(), QString::number(process["pid"_L1].toInteger()),
            process["host"_L1].toString(), snapshot.value("time"_L1).toString());
    try {
        readAll(snapshot, "layers"_L1, [this](const QJsonObject &layer) { readLayer(layer); });
        readAll(snapshot, "settings"_L1,
                [this](const QJsonObject &setting) { readSetting(setting); });
        readAll(snapshot, "changes"_L1, [this](const QJsonObject &change) { readChange(change); });
    } catch (const UserError &error) {
        throw UserError(u"%1 is a damaged snapshot: %2"_s.arg(fileName, error.text()));
    }
}

void SnapshotFile::readLayer(const QJsonObject &layer)
{
    const SettingsType type = layerIn(layer, "layer"_L1);
    m_files.insert(type, textOrNullIn(layer, "file"_L1));
    if (layer.value("present"_L1).toBool() && !layer.value("available"_L1).toBool())
        m_warnings.append(
                u"%1: the process could not read or write its file"_s.arg(layerName(type)));
}

Value SnapshotFile::valueIn(const QJsonObject &object, const SettingName &name) const
{
    const QVariant value = object.value("value"_L1).toVariant();
    ShownValue shown{value, textOrNullIn(object, "type"_L1).toUtf8(), ShownValue::Redacted::No};
    // Without a type the value is invalid; JSON has null for it.
    if (shown.type.isEmpty())
        shown.value = {};
    else if (shown.type == "QStringList")
        shown.value = value.toStringList();
    const QString redacted = textOrNullIn(object, "redacted"_L1);
    if (!redacted.isEmpty()) {
        shown.value = tamsel::host::Redaction::placeholder();
        shown.redacted = redacted == "empty"_L1 ? ShownValue::Redacted::Empty
                                                : ShownValue::Redacted::NotEmpty;
    } else if (m_redaction.matches(name.group, name.key)) {
        const QByteArray type = shown.type;
        shown = tamsel::host::redactedValue(shown.value);
        shown.type = type;
    } else {
        shown.value = m_redaction.redacted(name.group, name.key, shown.value);
    }
    return Value(shown);
}

void SnapshotFile::readSetting(const QJsonObject &object)
{
    Setting setting{nameIn(object), std::nullopt, {}};
    const SettingsType origin = layerIn(object, "origin"_L1);
    setting.origin = {origin, valueIn(object, setting.name), textOrNullIn(object, "file"_L1), {}};
    readAll(object, "overridden"_L1, [&setting](const QJsonObject &layer) {
        setting.overridden.append(
                {layerIn(layer, "layer"_L1), Value::unknown(), textOrNullIn(layer, "file"_L1), {}});
    });
    if (!object.value("settled"_L1).toBool(true)) {
        m_warnings.append(u"%1 changed while it was looked up: its origin may be another"_s.arg(
                setting.name.text()));
    }
    m_settings.insert_or_assign({setting.name.group, setting.name.key}, setting);
}

void SnapshotFile::readChange(const QJsonObject &object)
{
    const QJsonValue number = object.value("number"_L1);
    if (!number.isDouble())
        throw missing("number"_L1, "a number"_L1);
    const SettingName name = nameIn(object);
    m_changes.push_back({number.toInteger(),
                         textIn(object, "time"_L1),
                         name,
                         {layerIn(object, "origin"_L1), valueIn(object, name), {}, {}}});
}

void SnapshotFile::visit(const std::function<void(const Setting &)> &visitor) const
{
    for (const auto &[name, setting] : m_settings)
        visitor(setting);
}

Setting SnapshotFile::setting(const SettingName &name) const
{
    const auto found = m_settings.find({name.group, name.key});
    return found == m_settings.cend() ? Setting{name, std::nullopt, {}} : found->second;
}

QString SnapshotFile::placeText(SettingsType layer, const QString &file) const
{
    if (!file.isEmpty())
        return escaped(file);
    return isFileLayer(layer) ? u"a file"_s : u"memory"_s;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_SETTINGJSON_H
#define TAMSEL_HOST_SETTINGJSON_H

// Values and settings in JSON, as snapshots and tamsel-inspect write them; both are built with it.

#include <tamsel/settingstype.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

namespace tamsel::host {

// How many levels of nested lists and maps are shown: each level takes stack.
constexpr int deepestShown = 500;

// The name of a layer, as the library's log messages show it too.
QString layerName(SettingsType layer);

// A value in JSON: integers with all their digits, bytes as bytesText() has them. What JSON cannot
// represent becomes a text, an invalid value null.
QString jsonOf(const QVariant &value);

// A text in JSON. Characters that cannot be seen are escaped.
QString jsonOf(const QString &text);
// null if the text is empty.
QString jsonOrNull(const QString &text);

// The text on a single line and unable to steer a terminal: control characters are escaped, and so
// are those that change the direction of the text or cannot be seen.
QString escaped(const QString &text);

// The text with all that is not ASCII escaped.
QString asciiOnly(const QString &text);

// Bytes other than printable ASCII as "\xff", a backslash as two.
QString bytesText(const QByteArray &bytes);

// A value of any type as a text.
QString plainText(const QVariant &value);

// What is shown of a value.
struct ShownValue
{
    // A secret is not kept at all, only whether it was empty.
    enum class Redacted { No, Empty, NotEmpty };

    QVariant value;
    QByteArray type; // the name; empty for an invalid value
    Redacted redacted = Redacted::No;
};

// What is shown of a value if the setting is not a secret, and if it is one.
ShownValue shownValue(const QVariant &value);
ShownValue redactedValue(const QVariant &value);

// An object in JSON, built member by member.
class JsonObject
{
public:
    // The separator follows each member but the last.
    explicit JsonObject(QLatin1StringView separator = QLatin1StringView(","))
        : m_separator(separator)
    {
    }

    JsonObject &add(QLatin1StringView name, const QString &json); // `json` is JSON already
    JsonObject &addText(QLatin1StringView name, const QString &text);
    JsonObject &addTextOrNull(QLatin1StringView name, const QString &text);
    JsonObject &addNumber(QLatin1StringView name, quint64 number);
    JsonObject &addBool(QLatin1StringView name, bool value);
    // The members "value", "type" and "redacted".
    JsonObject &addValue(const ShownValue &value);

    // The text without the closing brace: more members follow.
    QString unfinished() const { return m_text; }
    QString finished() const { return m_text + QLatin1Char('}'); }

private:
    QLatin1StringView m_separator;
    QString m_text{QLatin1Char('{')};
};

// What a layer holds.
QString layerValueJson(SettingsType layer, const ShownValue &value, const QString &file,
                       const QString &entry);

// A setting, to which further members may be added. The overridden layers are an array in JSON.
JsonObject settingJson(const QString &group, const QString &key, const ShownValue &value,
                       std::optional<SettingsType> origin, const QString &file,
                       const QString &overridden);

} // namespace tamsel::host

#endif // TAMSEL_HOST_SETTINGJSON_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settingjson.h"

#include <tamsel/host/redaction.h>

#include <QtCore/QDebug>
#include <QtCore/QLocale>
#include <QtCore/QMetaEnum>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

// Characters that end a line, move the cursor or change the direction of the text; lone surrogates.
bool isUnprintable(char32_t character)
{
    if (character >= U' ' && character <= U'~') // by far the most
        return false;
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

bool isNotAscii(char32_t character)
{
    return character >= 0x80;
}

// The escape of a character, such as "\u202e": one for each of its UTF-16 units.
QString escapeOf(QStringView units)
{
    switch (units.front().unicode()) {
    case u'\n':
        return u"\\n"_s;
    case u'\r':
        return u"\\r"_s;
    case u'\t':
        return u"\\t"_s;
    default:
        break;
    }
    QString result;
    for (const QChar unit : units)
        result += u"\\u%1"_s.arg(uint(unit.unicode()), 4, 16, '0'_L1);
    return result;
}

template <typename Predicate> QString withEscapes(const QString &text, Predicate isEscaped)
{
    // Calling isEscaped() for each character would take most of the time.
    const auto isSpecial = [&](QChar unit) {
        const bool isPlain = unit.unicode() >= 0x20 && unit.unicode() < 0x7f;
        return !isPlain && isEscaped(char32_t(unit.unicode()));
    };
    // Outside the basic plane every unit is a surrogate, for which isEscaped() is true.
    // Intentional, here and below: count_if(), as any_of() is unrolled: some 150 bytes more on MIPS32.
    if (std::count_if(text.cbegin(), text.cend(), isSpecial) == 0)
        return text;
    QString result;
    QStringView rest = text;
    while (!rest.isEmpty()) {
        char32_t character = rest.front().unicode();
        if (rest.size() > 1 && rest.front().isHighSurrogate() && rest.at(1).isLowSurrogate())
            character = QChar::surrogateToUcs4(rest.front(), rest.at(1));
        const QStringView units = rest.first(QChar::requiresSurrogates(character) ? 2 : 1);
        rest = rest.sliced(units.size());
        if (isEscaped(character))
            result += escapeOf(units);
        else
            result += units;
    }
    return result;
}

// The text that qDebug() prints; it exists for every type.
QString debugText(const QVariant &value)
{
    QString result;
    QDebug(&result).nospace() << qSetRealNumberPrecision(17) << value;
    // Only "QSize(4, 3)" of "QVariant(QSize, QSize(4, 3))": the type is shown elsewhere.
    const QString frame = u"QVariant(%1, "_s.arg(QString::fromLatin1(value.typeName()));
    if (result.startsWith(frame) && result.endsWith(u')'))
        result = result.sliced(frame.size()).chopped(1);
    return result;
}

QString jsonOfBool(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

QString jsonOfNumber(double number)
{
    const QString digits = QString::number(number, 'g', QLocale::FloatingPointShortest);
    return std::isfinite(number) ? digits : jsonOf(digits);
}

// NOLINTBEGIN(misc-no-recursion): it ends at deepestShown
QString jsonOfValue(const QVariant &value, int depth);

QString jsonOfMap(const QVariantMap &map, int depth)
{
    QString result;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        result += result.isEmpty() ? u'{' : u',';
        result += jsonOf(entry.key());
        result += u':';
        result += jsonOfValue(*entry, depth + 1);
    }
    return result.isEmpty() ? u"{}"_s : result + u'}';
}

QString jsonOfList(const QVariantList &list, int depth)
{
    QString result;
    for (const QVariant &value : list) {
        result += result.isEmpty() ? u'[' : u',';
        result += jsonOfValue(value, depth + 1);
    }
    return result.isEmpty() ? u"[]"_s : result + u']';
}

QString jsonOfValue(const QVariant &value, int depth)
{
    if (depth > deepestShown)
        return jsonOf(u"(nested too deep)"_s);
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return u"null"_s;
    case QMetaType::Bool:
        return jsonOfBool(value.toBool());
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return QString::number(value.toLongLong());
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return QString::number(value.toULongLong());
    case QMetaType::Float:
    case QMetaType::Double:
        return jsonOfNumber(value.toDouble());
    case QMetaType::QByteArray:
        return jsonOf(bytesText(value.toByteArray()));
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return jsonOfList(value.toList(), depth);
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return jsonOfMap(value.toMap(), depth);
    case QMetaType::QVariant:
        return jsonOfValue(*static_cast<const QVariant *>(value.constData()), depth + 1);
    default:
        return jsonOf(plainText(value));
    }
}

// NOLINTEND(misc-no-recursion)

bool isEmpty(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString().isEmpty();
    case QMetaType::QByteArray:
        return value.toByteArray().isEmpty();
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return value.toList().isEmpty();
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return value.toMap().isEmpty();
    default:
        return !value.isValid() || value.isNull();
    }
}

QByteArray typeNameOf(const QVariant &value)
{
    const char *name = value.typeName(); // lives as long as the type is known
    return QByteArray::fromRawData(name, static_cast<qsizetype>(qstrlen(name)));
}

} // namespace

QString layerName(SettingsType layer)
{
    static const QMetaEnum layers = QMetaEnum::fromType<SettingsType>();
    return QString::fromLatin1(layers.valueToKey(static_cast<quint8>(layer)));
}

QString jsonOf(const QVariant &value)
{
    return jsonOfValue(value, 0);
}

QString jsonOf(const QString &text)
{
    const auto isSpecial = [](QChar c) { return c < u' ' || c > u'~' || c == u'\\' || c == u'"'; };
    if (std::count_if(text.cbegin(), text.cend(), isSpecial) == 0)
        return u'"' + text + u'"';
    QString result = text;
    result.replace(u'\\', R"(\\)"_L1).replace(u'"', R"(\")"_L1);
    return u'"' + escaped(result) + u'"';
}

QString jsonOrNull(const QString &text)
{
    return text.isEmpty() ? u"null"_s : jsonOf(text);
}

QString escaped(const QString &text)
{
    return withEscapes(text, isUnprintable);
}

QString asciiOnly(const QString &text)
{
    return withEscapes(text, isNotAscii);
}

QString bytesText(const QByteArray &bytes)
{
    QString result;
    for (const char byte : bytes) {
        if (byte == '\\')
            result += R"(\\)"_L1;
        else if (byte >= ' ' && byte <= '~')
            result += QLatin1Char(byte);
        else
            result += u"\\x%1"_s.arg(uint(uchar(byte)), 2, 16, '0'_L1);
    }
    return result;
}

QString plainText(const QVariant &value)
{
    return value.canConvert<QString>() ? value.toString() : debugText(value);
}

ShownValue shownValue(const QVariant &value)
{
    return {value, typeNameOf(value), ShownValue::Redacted::No};
}

ShownValue redactedValue(const QVariant &value)
{
    using Redacted = ShownValue::Redacted;
    return {Redaction::placeholder(), typeNameOf(value),
            isEmpty(value) ? Redacted::Empty : Redacted::NotEmpty};
}

JsonObject &JsonObject::add(QLatin1StringView name, const QString &json)
{
    if (m_text.size() > 1)
        m_text += m_separator;
    m_text += u'"';
    m_text += name;
    m_text += R"(":)"_L1;
    m_text += json;
    return *this;
}

JsonObject &JsonObject::addText(QLatin1StringView name, const QString &text)
{
    return add(name, jsonOf(text));
}

JsonObject &JsonObject::addTextOrNull(QLatin1StringView name, const QString &text)
{
    return add(name, jsonOrNull(text));
}

JsonObject &JsonObject::addNumber(QLatin1StringView name, quint64 number)
{
    return add(name, QString::number(number));
}

JsonObject &JsonObject::addBool(QLatin1StringView name, bool value)
{
    return add(name, jsonOfBool(value));
}

JsonObject &JsonObject::addValue(const ShownValue &value)
{
    using Redacted = ShownValue::Redacted;
    QString redacted;
    if (value.redacted != Redacted::No)
        redacted = value.redacted == Redacted::Empty ? u"empty"_s : u"not empty"_s;
    return add("value"_L1, jsonOf(value.value))
            .addTextOrNull("type"_L1, QString::fromUtf8(value.type))
            .addTextOrNull("redacted"_L1, redacted);
}

QString layerValueJson(SettingsType layer, const ShownValue &value, const QString &file,
                       const QString &entry)
{
    return JsonObject()
            .addText("layer"_L1, layerName(layer))
            .addValue(value)
            .addTextOrNull("file"_L1, file)
            .addTextOrNull("entry"_L1, entry)
            .finished();
}

JsonObject settingJson(const QString &group, const QString &key, const ShownValue &value,
                       std::optional<SettingsType> origin, const QString &file,
                       const QString &overridden)
{
    JsonObject result;
    result.addText("group"_L1, group)
            .addText("key"_L1, key)
            .addValue(value)
            .addTextOrNull("origin"_L1, origin ? layerName(*origin) : QString())
            .addTextOrNull("file"_L1, file)
            .add("overridden"_L1, overridden);
    return result;
}

} // namespace tamsel::host

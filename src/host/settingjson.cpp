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

// Those that end a line, move the cursor, turn the direction of what follows or are no characters.
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

// "\u202e"; of two such where UTF-16 has two units.
QString escapeOf(char32_t character)
{
    switch (character) {
    case U'\n':
        return u"\\n"_s;
    case U'\r':
        return u"\\r"_s;
    case U'\t':
        return u"\\t"_s;
    default:
        break;
    }
    QString result;
    const QString units = QString::fromUcs4(&character, 1);
    for (const QChar unit : units)
        result += u"\\u%1"_s.arg(uint(unit.unicode()), 4, 16, '0'_L1);
    return result;
}

template <typename Predicate> QString withEscapes(const QString &text, Predicate isEscaped)
{
    const auto isFine = [&](QChar unit) { return !isEscaped(char32_t(unit.unicode())); };
    // Outside of the basic plane every unit is a surrogate, which is escaped by itself.
    if (std::all_of(text.cbegin(), text.cend(), isFine))
        return text;
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t character = text.at(i).unicode();
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            character = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
        if (QChar::requiresSurrogates(character))
            ++i;
        if (!isEscaped(character))
            result += QString::fromUcs4(&character, 1);
        else if (QChar::isSurrogate(character)) // alone
            result += u"\\u%1"_s.arg(uint(character), 4, 16, '0'_L1);
        else
            result += escapeOf(character);
    }
    return result;
}

// As for qDebug(): good for every type there is.
QString debugText(const QVariant &value)
{
    QString result;
    QDebug(&result).nospace() << qSetRealNumberPrecision(17) << value;
    // "QVariant(QSize, QSize(4, 3))": the type is said elsewhere.
    const QString frame = u"QVariant(%1, "_s.arg(QString::fromLatin1(value.typeName()));
    if (result.startsWith(frame) && result.endsWith(u')'))
        result = result.sliced(frame.size()).chopped(1);
    return result;
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
    QStringList members;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
        members.append(jsonOf(entry.key()) + u':' + jsonOfValue(*entry, depth + 1));
    return u'{' + members.join(u',') + u'}';
}

QString jsonOfList(const QVariantList &list, int depth)
{
    QStringList members;
    for (const QVariant &value : list)
        members.append(jsonOfValue(value, depth + 1));
    return jsonArray(members);
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
        return value.toBool() ? u"true"_s : u"false"_s;
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
    static const QList<QString> names = [] {
        const auto layers = QMetaEnum::fromType<SettingsType>();
        QList<QString> result;
        for (const SettingsType type : storagePriority)
            result.append(QString::fromLatin1(layers.valueToKey(static_cast<quint8>(type))));
        return result;
    }();
    return names.value(priorityOf(layer));
}

QString jsonOf(const QVariant &value)
{
    return jsonOfValue(value, 0);
}

QString jsonOf(const QString &text)
{
    const auto isPlain = [](QChar c) { return c >= u' ' && c <= u'~' && c != u'\\' && c != u'"'; };
    if (std::all_of(text.cbegin(), text.cend(), isPlain))
        return u'"' + text + u'"';
    QString result = text;
    result.replace(u'\\', R"(\\)"_L1).replace(u'"', R"(\")"_L1);
    return u'"' + escaped(result) + u'"';
}

QString jsonOrNull(const QString &text)
{
    return text.isEmpty() ? u"null"_s : jsonOf(text);
}

QString jsonObject(std::initializer_list<std::pair<QLatin1StringView, QString>> members)
{
    QString result;
    for (const auto &[name, value] : members) {
        result += result.isEmpty() ? u'{' : u',';
        result += u'"' + name + R"(":)"_L1 + value;
    }
    return result + u'}';
}

QString jsonArray(const QStringList &members)
{
    return u'[' + members.join(u',') + u']';
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

QString valueMembers(const ShownValue &value)
{
    using Redacted = ShownValue::Redacted;
    QString redacted = u"null"_s;
    if (value.redacted != Redacted::No)
        redacted = value.redacted == Redacted::Empty ? u"\"empty\""_s : u"\"not empty\""_s;
    return R"("value":)"_L1 + jsonOf(value.value) + R"(,"type":)"_L1
            + jsonOrNull(QString::fromUtf8(value.type)) + R"(,"redacted":)"_L1 + redacted;
}

QString layerValueJson(SettingsType layer, const ShownValue &value, const QString &file,
                       const QString &entry)
{
    return R"({"layer":)"_L1 + jsonOf(layerName(layer)) + u',' + valueMembers(value)
            + R"(,"file":)"_L1 + jsonOrNull(file) + R"(,"entry":)"_L1 + jsonOrNull(entry) + u'}';
}

QString settingJson(const QString &group, const QString &key, const ShownValue &value,
                    std::optional<SettingsType> origin, const QString &file,
                    const QStringList &overridden, const QString &more)
{
    return R"({"group":)"_L1 + jsonOf(group) + R"(,"key":)"_L1 + jsonOf(key) + u','
            + valueMembers(value) + R"(,"origin":)"_L1
            + (origin ? jsonOf(layerName(*origin)) : u"null"_s) + R"(,"file":)"_L1
            + jsonOrNull(file) + R"(,"overridden":)"_L1 + jsonArray(overridden) + more + u'}';
}

} // namespace tamsel::host

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "format.h"

#include <QtCore/QDebug>
#include <QtCore/QLocale>
#include <QtCore/QMetaEnum>
#include <QtCore/QTextStream>

#include <algorithm>
#include <cmath>

#include <cwchar>

using namespace Qt::StringLiterals;

namespace {

// Those that end a line, move the cursor, turn the direction of what follows or are no characters.
bool isUnprintable(char32_t character)
{
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

// Unambiguous: what looks like an escape in the result is one.
QString quoted(const QString &text)
{
    QString result = text;
    result.replace(u'\\', R"(\\)"_L1).replace(u'\'', R"(\')"_L1);
    return u'\'' + escaped(result) + u'\'';
}

// Bytes that are no printable ASCII as "\xff", a backslash as two.
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

QString listText(const QStringList &texts)
{
    QStringList result;
    for (const QString &text : texts)
        result.append(quoted(text));
    return u'[' + result.join(", "_L1) + u']';
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

bool isAscii(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

// Letters of some scripts take two columns, accents of their own none.
int columnsOf(char32_t character)
{
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : width; // the locale does not know it
}

QString plainText(const QVariant &value)
{
    return value.canConvert<QString>() ? value.toString() : debugText(value);
}

QString jsonOfNumber(double number)
{
    const QString digits = QString::number(number, 'g', QLocale::FloatingPointShortest);
    return std::isfinite(number) ? digits : jsonOf(digits);
}

// NOLINTBEGIN(misc-no-recursion): values are nested no deeper than their file may nest them
QString jsonOfMap(const QVariantMap &map)
{
    QStringList members;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
        members.append(jsonOf(entry.key()) + u':' + jsonOf(*entry));
    return u'{' + members.join(u',') + u'}';
}

QString jsonOfList(const QVariantList &list)
{
    QStringList members;
    for (const QVariant &value : list)
        members.append(jsonOf(value));
    return jsonArray(members);
}
// NOLINTEND(misc-no-recursion)

} // namespace

QString layerName(tamsel::SettingsType layer)
{
    static const auto names = QMetaEnum::fromType<tamsel::SettingsType>();
    return QString::fromLatin1(names.valueToKey(static_cast<quint8>(layer)));
}

QString valueText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return u"(invalid)"_s;
    case QMetaType::QString:
        return quoted(value.toString());
    case QMetaType::QByteArray:
        return u'\'' + bytesText(value.toByteArray()).replace(u'\'', R"(\')"_L1) + u'\'';
    case QMetaType::QStringList:
        return listText(value.toStringList());
    case QMetaType::Nullptr:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
    case QMetaType::QVariant:
        return jsonOf(value);
    default:
        return escaped(plainText(value));
    }
}

QByteArray rawValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return {};
    case QMetaType::QByteArray:
        return value.toByteArray();
    case QMetaType::QStringList:
        return value.toStringList().join(u'\n').toUtf8();
    case QMetaType::Nullptr:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
    case QMetaType::QVariant:
        return jsonOf(value).toUtf8();
    default:
        return plainText(value).toUtf8();
    }
}

QString typeText(const QVariant &value)
{
    return value.isValid() ? QString::fromLatin1(value.typeName()) : u"-"_s;
}

QString wholeTypeText(const QVariant &value) // NOLINT(misc-no-recursion)
{
    QStringList inner;
    if (value.typeId() == QMetaType::QVariant) {
        inner.append(wholeTypeText(*static_cast<const QVariant *>(value.constData())));
    } else if (value.typeId() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (const QVariant &member : list)
            inner.append(wholeTypeText(member));
    } else if (value.typeId() == QMetaType::QVariantMap
               || value.typeId() == QMetaType::QVariantHash) {
        const QVariantMap map = value.toMap();
        for (const QVariant &member : map)
            inner.append(wholeTypeText(member));
    }
    return inner.isEmpty() ? typeText(value)
                           : u"%1(%2)"_s.arg(typeText(value), inner.join(", "_L1));
}

QString jsonOf(const QVariant &value) // NOLINT(misc-no-recursion)
{
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
        return jsonOfList(value.toList());
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return jsonOfMap(value.toMap());
    case QMetaType::QVariant:
        return jsonOf(*static_cast<const QVariant *>(value.constData()));
    default:
        return jsonOf(plainText(value));
    }
}

QString jsonOf(const QString &text)
{
    QString result = text;
    result.replace(u'\\', R"(\\)"_L1).replace(u'"', R"(\")"_L1);
    return u'"' + escaped(result) + u'"';
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

qsizetype columnsOf(const QString &text)
{
    if (isAscii(text))
        return text.size();
    qsizetype result = 0;
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters)
        result += columnsOf(character);
    return result;
}

QStringList wrapped(const QString &text, qsizetype columns)
{
    if (columnsOf(text) <= columns)
        return {text};
    QStringList result;
    QString line;
    qsizetype used = 0;
    qsizetype blank = 0; // the size of the line up to the last blank, with it
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        const int width = columnsOf(character);
        if (used + width > columns && !line.isEmpty()) {
            const qsizetype size = blank > line.size() / 2 ? blank : line.size();
            result.append(line.left(size));
            line.remove(0, size);
            used = columnsOf(line);
            blank = 0;
        }
        line += QString::fromUcs4(&character, 1);
        used += width;
        if (character == U' ')
            blank = line.size();
    }
    result.append(line);
    return result;
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "format.h"

#include <algorithm>
#include <iterator>

#include <cwchar>

using namespace Qt::StringLiterals;
using tamsel::host::bytesText;
using tamsel::host::plainText;

namespace {

// Unambiguous: everything in the result that looks like an escape is one.
QString quoted(const QString &text)
{
    const auto isSpecial = [](QChar c) { return c == u'\\' || c == u'\''; };
    QString result;
    result.reserve(text.size() + 4);
    result += u'\'';
    const QChar *done = text.cbegin();
    for (;;) {
        const QChar *const special = std::find_if(done, text.cend(), isSpecial);
        result += QStringView(done, special);
        if (special == text.cend())
            return escaped(result + u'\'');
        result += u'\\';
        result += *special;
        done = std::next(special);
    }
}

QString listText(const QStringList &texts)
{
    QStringList result;
    for (const QString &text : texts)
        result.append(quoted(text));
    return u'[' + result.join(", "_L1) + u']';
}

bool isAscii(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

// Letters of some scripts take two columns, combining accents none.
int columnsOf(char32_t character)
{
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : width; // the locale does not know it
}

} // namespace

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

QString jsonArray(const QStringList &members)
{
    return u'[' + members.join(u',') + u']';
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
    qsizetype blank = 0; // the size of the line up to and including the last blank
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

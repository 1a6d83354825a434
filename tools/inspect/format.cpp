// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "format.h"

#include <QtCore/QDebug>
#include <QtCore/QJsonDocument>
#include <QtCore/QMetaEnum>
#include <QtCore/QStringList>

#include <algorithm>

#include <cwchar>

using namespace Qt::StringLiterals;

namespace {

// Those that end a line, move the cursor or turn the direction of what follows.
bool isUnprintable(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString escapeOf(QChar character)
{
    switch (character.unicode()) {
    case u'\n':
        return u"\\n"_s;
    case u'\r':
        return u"\\r"_s;
    case u'\t':
        return u"\\t"_s;
    default:
        return u"\\u%1"_s.arg(ushort{character.unicode()}, 4, 16, '0'_L1);
    }
}

QString quoted(const QString &text)
{
    QString result = text;
    // Unambiguous: what looks like an escape in the result is one.
    result.replace(u'\\', R"(\\)"_L1).replace(u'\'', R"(\')"_L1);
    return u'\'' + escaped(result) + u'\'';
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
    QDebug(&result).nospace() << value;
    return result;
}

bool isAscii(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

// Letters of some scripts take two columns, accents of their own none.
int columnsOf(uint character)
{
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : width; // the locale does not know it
}

bool isText(const QVariant &value)
{
    return value.typeId() == QMetaType::QString || value.typeId() == QMetaType::QByteArray;
}

bool isContainer(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantList;
}

} // namespace

QString layerName(tamsel::SettingsType layer)
{
    static const auto names = QMetaEnum::fromType<tamsel::SettingsType>();
    return QString::fromLatin1(names.valueToKey(static_cast<quint8>(layer)));
}

QString valueText(const QVariant &value)
{
    if (!value.isValid())
        return u"(invalid)"_s;
    if (isText(value))
        return quoted(value.toString());
    if (value.typeId() == QMetaType::QStringList)
        return listText(value.toStringList());
    if (value.typeId() == QMetaType::Nullptr)
        return u"null"_s;
    if (isContainer(value))
        return escaped(QString::fromUtf8(
                QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact)));
    return escaped(value.canConvert<QString>() ? value.toString() : debugText(value));
}

QString typeText(const QVariant &value)
{
    return value.isValid() ? QString::fromLatin1(value.typeName()) : u"-"_s;
}

QJsonValue jsonValue(const QVariant &value)
{
    if (!value.isValid() || value.typeId() == QMetaType::Nullptr)
        return QJsonValue::Null;
    if (value.canConvert<QString>() || isContainer(value)
        || value.typeId() == QMetaType::QStringList)
        return QJsonValue::fromVariant(value);
    return debugText(value);
}

QJsonValue jsonType(const QVariant &value)
{
    return value.isValid() ? QJsonValue(QString::fromLatin1(value.typeName())) : QJsonValue();
}

QString escaped(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(), isUnprintable))
        return text;
    QString result;
    for (const QChar character : text)
        result += isUnprintable(character) ? escapeOf(character) : QString(character);
    return result;
}

qsizetype columnsOf(const QString &text)
{
    if (isAscii(text))
        return text.size();
    qsizetype result = 0;
    const QList<uint> characters = text.toUcs4();
    for (const uint character : characters)
        result += columnsOf(character);
    return result;
}

QString elided(const QString &text, qsizetype columns)
{
    if (columnsOf(text) <= columns)
        return text;
    QString result;
    qsizetype used = 1; // the ellipsis
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        used += columnsOf(static_cast<uint>(character));
        if (used > columns)
            break;
        result += QString::fromUcs4(&character, 1);
    }
    return result + u'\u2026';
}

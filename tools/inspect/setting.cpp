// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "setting.h"

#include "format.h"

#include <utility>

using namespace Qt::StringLiterals;
using tamsel::host::ShownValue;

namespace {

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList || value.typeId() == QMetaType::QVariantList;
}

bool isNothing(const QVariant &value)
{
    return !value.isValid() || (isList(value) && value.toList().isEmpty());
}

} // namespace

Value::Value(const QVariant &value, bool isSecret, const QVariant &shown)
    : m_shown(isSecret ? tamsel::host::redactedValue(value) : tamsel::host::shownValue(value)),
      m_raw(value)
{
    m_shown.value = shown;
}

Value::Value(const ShownValue &shown) : m_shown(shown), m_raw(std::nullopt) { }

Value Value::unknown()
{
    Value result;
    result.m_isKnown = false;
    return result;
}

QString Value::text() const
{
    if (!m_isKnown)
        return u"(unknown)"_s;
    if (m_shown.redacted != Redacted::No)
        return m_shown.redacted == Redacted::Empty ? u"(redacted, empty)"_s : u"(redacted)"_s;
    // A snapshot holds a text for a value whose type JSON does not have.
    if (isFromSnapshot() && value().typeId() == QMetaType::QString && m_shown.type != "QString") {
        if (m_shown.type == "QByteArray")
            return u'\'' + escaped(value().toString()).replace(u'\'', R"(\')"_L1) + u'\'';
        return escaped(value().toString());
    }
    return valueText(value());
}

QString Value::type() const
{
    return m_shown.type.isEmpty() ? u"-"_s : escaped(QString::fromUtf8(m_shown.type));
}

QString Value::wholeType() const
{
    return m_raw && m_shown.redacted == Redacted::No ? wholeTypeText(*m_raw) : type();
}

bool Value::isSameAs(const Value &other) const
{
    const bool hidesThis = isFromSnapshot() && m_shown.redacted != Redacted::No;
    const bool hidesOther = other.isFromSnapshot() && other.m_shown.redacted != Redacted::No;
    if (hidesThis || hidesOther) {
        const auto isEmpty = [](const Value &value) {
            return value.m_raw
                    ? tamsel::host::redactedValue(*value.m_raw).redacted == Redacted::Empty
                    : value.m_shown.redacted == Redacted::Empty;
        };
        return isEmpty(*this) == isEmpty(other);
    }
    if (isFromSnapshot() || other.isFromSnapshot()) {
        // Compared as they are shown: in a snapshot, secrets in maps are redacted too. A file holds
        // texts.
        const QVariant &mine = value();
        const QVariant &others = other.value();
        // In a file, an empty list is an invalid value.
        if (isFromSnapshot() != other.isFromSnapshot() && isNothing(mine) && isNothing(others))
            return true;
        if (isList(mine) && isList(others))
            return mine.toStringList() == others.toStringList();
        return mine == others || jsonOf(mine) == jsonOf(others)
                || (mine.isValid() && others.isValid()
                    && tamsel::host::plainText(mine) == tamsel::host::plainText(others));
    }
    // A NaN is not equal to itself, so compare what is shown too.
    return *m_raw == *other.m_raw
            || (jsonOf(*m_raw) == jsonOf(*other.m_raw)
                && wholeTypeText(*m_raw) == wholeTypeText(*other.m_raw));
}

bool LayerValue::isLost() const
{
    return entry.startsWith(u'/') || entry.endsWith(u'/') || entry.contains("//"_L1);
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/setting.h>

#include "heldvalue.h"
#include "rejectedvalues.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/origin.h>
#include <tamsel/host/redaction.h>

#include <QtCore/QDebug>
#include <QtCore/QLoggingCategory>
#include <QtCore/QStringBuilder>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

Q_LOGGING_CATEGORY(hostCategory, "tamsel.host")

enum class Kind { Signed, Unsigned, Floating, Text, Other };

Kind kindOf(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return Kind::Signed;
    case QMetaType::Char: // whether it has a sign depends on the platform
        return std::numeric_limits<char>::is_signed ? Kind::Signed : Kind::Unsigned;
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return Kind::Unsigned;
    case QMetaType::Float:
    case QMetaType::Double:
        return Kind::Floating;
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return Kind::Text;
    default:
        return Kind::Other;
    }
}

// `value` if it is a whole number from `first` to below `end`; a double holds both exactly.
template <typename Integer>
std::optional<Integer> wholeNumber(double value, double first, double end)
{
    if (!(value >= first && value < end) || value != std::trunc(value))
        return std::nullopt;
    return static_cast<Integer>(value);
}

template <typename Number> std::optional<Number> valueIf(bool ok, Number value)
{
    return ok ? std::optional(value) : std::nullopt;
}

constexpr double twoToThe63 = 9223372036854775808.0;

} // namespace

std::optional<bool> detail::toBool(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (kindOf(value) == Kind::Text) {
        const QString text = value.toString();
        if (text == "1"_L1 || text.compare("true"_L1, Qt::CaseInsensitive) == 0)
            return true;
        return valueIf(text == "0"_L1 || text.compare("false"_L1, Qt::CaseInsensitive) == 0, false);
    }
    const qint64 number = toSigned(value).value_or(-1);
    return valueIf(number == 0 || number == 1, number == 1);
}

std::optional<qint64> detail::toSigned(const QVariant &value)
{
    bool ok = true;
    switch (kindOf(value)) {
    case Kind::Signed:
        return value.toLongLong();
    case Kind::Unsigned: {
        const quint64 number = value.toULongLong();
        return valueIf(number <= quint64(std::numeric_limits<qint64>::max()), qint64(number));
    }
    case Kind::Floating:
        return wholeNumber<qint64>(value.toDouble(), -twoToThe63, twoToThe63);
    case Kind::Text: {
        const qint64 number = value.toString().toLongLong(&ok);
        return valueIf(ok, number);
    }
    case Kind::Other:
        break;
    }
    return std::nullopt;
}

std::optional<quint64> detail::toUnsigned(const QVariant &value)
{
    bool ok = true;
    switch (kindOf(value)) {
    case Kind::Signed: {
        const qint64 number = value.toLongLong();
        return valueIf(number >= 0, quint64(number));
    }
    case Kind::Unsigned:
        return value.toULongLong();
    case Kind::Floating:
        return wholeNumber<quint64>(value.toDouble(), 0, 2 * twoToThe63);
    case Kind::Text: {
        const quint64 number = value.toString().toULongLong(&ok);
        return valueIf(ok, number);
    }
    case Kind::Other:
        break;
    }
    return std::nullopt;
}

std::optional<double> detail::toDouble(const QVariant &value)
{
    switch (kindOf(value)) {
    case Kind::Signed:
    case Kind::Unsigned:
    case Kind::Floating:
        return value.toDouble();
    case Kind::Text: {
        bool ok = false;
        const double number = value.toString().toDouble(&ok);
        return valueIf(ok && std::isfinite(number), number);
    }
    case Kind::Other:
        break;
    }
    return std::nullopt;
}

std::optional<QString> detail::toText(const QVariant &value)
{
    // Intentional: a list of one is not a text, though QVariant converts it.
    const int type = value.typeId();
    QVariant text = value;
    const bool ok = type != QMetaType::QStringList && type != QMetaType::QVariantList
            && text.convert(QMetaType::fromType<QString>());
    return valueIf(ok, text.toString());
}

std::optional<QStringList> detail::toTexts(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType: // the empty list, in a file
        return QStringList();
    case QMetaType::QString: // a list of one, in a file
    case QMetaType::QStringList:
        return value.toStringList();
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        const auto isText
                = [](const QVariant &element) { return element.typeId() == QMetaType::QString; };
        // Intentional: count_if(), as all_of() is unrolled: some 150 bytes more on MIPS32.
        const bool ok = std::count_if(list.cbegin(), list.cend(), isText) == list.size();
        return valueIf(ok, value.toStringList());
    }
    default:
        return std::nullopt;
    }
}

std::optional<int> detail::toEnumerator(const QVariant &value, const QMetaEnum &enumeration)
{
    const std::optional<qint64> number = toSigned(value);
    const QString name = kindOf(value) == Kind::Text ? value.toString() : QString();
    for (int i = 0; i < enumeration.keyCount(); ++i) {
        if (number == enumeration.value(i) || name == QLatin1StringView(enumeration.key(i)))
            return enumeration.value(i);
    }
    return std::nullopt;
}

// The key of the enumerator, or its number if it has none.
QVariant detail::fromEnumerator(int value, const QMetaEnum &enumeration)
{
    for (int i = 0; i < enumeration.keyCount(); ++i) {
        if (enumeration.value(i) == value)
            return QString::fromLatin1(enumeration.key(i));
    }
    return value;
}

SettingBase::SettingBase(QString group, QString key, ChangeNotifier *notifier)
    : m_group(std::move(group)),
      m_key(std::move(key)),
      m_notifier(notifier),
      m_rejected(notifier->rejectedValues())
{
}
SettingBase::SettingBase(const SettingBase &other) = default;
SettingBase::SettingBase(SettingBase &&other) noexcept = default;
SettingBase &SettingBase::operator=(const SettingBase &other) = default;
SettingBase &SettingBase::operator=(SettingBase &&other) noexcept = default;
SettingBase::~SettingBase() = default;

QString SettingBase::group() const
{
    return m_group;
}

QString SettingBase::key() const
{
    return m_key;
}

void SettingBase::reset(SettingsType layer) const
{
    m_notifier->settings()->removeValue(m_group, m_key, layer);
}

std::optional<SettingsType> SettingBase::origin() const
{
    return originOf(*m_notifier->settings(), m_group, m_key);
}

bool SettingBase::isOverridden(SettingsType layer) const
{
    const std::optional<SettingsType> from = origin();
    return from && *from != layer && m_notifier->settings()->contains(m_group, m_key, layer);
}

// The effective value, which may be invalid; none if no layer holds the setting.
std::optional<QVariant> SettingBase::stored() const
{
    return heldValue(*m_notifier->settings(), m_group, m_key);
}

void SettingBase::store(const QVariant &value, SettingsType layer) const
{
    m_notifier->settings()->setValue(m_group, m_key, value, layer);
}

// Warns of a value that is not of the type that `name` describes, unless it is the value that was
// warned of last.
void SettingBase::reject(const QVariant &value, QString (*name)()) const
{
    if (!m_rejected->isNew(m_group, m_key, value))
        return;
    const QVariant shown = Redaction().redacted(m_group, m_key, value);
    const QString where = m_group % u'/' % m_key;
    QMessageLogger().warning(hostCategory).nospace()
            << qUtf8Printable(where) << ": " << shown << " is not " << qUtf8Printable(name())
            << ", the default is used";
}

Subscription SettingBase::subscribe(QObject *context, ChangeNotifier::Function function) const
{
    return m_notifier->subscribe(m_group, m_key, context, std::move(function));
}

} // namespace tamsel::host

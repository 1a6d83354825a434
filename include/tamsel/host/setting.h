// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_SETTING_H
#define TAMSEL_HOST_SETTING_H

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/hostglobal.h>
#include <tamsel/settingstype.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace tamsel::host {

class RejectedValues;

/*! \cond */
namespace detail {

TAMSEL_HOST_EXPORT std::optional<bool> toBool(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<qint64> toSigned(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<quint64> toUnsigned(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<double> toDouble(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<QString> toText(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<QStringList> toTexts(const QVariant &value);
TAMSEL_HOST_EXPORT std::optional<int> toEnumerator(const QVariant &value,
                                                   const QMetaEnum &enumeration);
TAMSEL_HOST_EXPORT QVariant fromEnumerator(int value, const QMetaEnum &enumeration);

// What a type is read from and written as, and what a warning calls it.
template <typename T, typename = void> struct Conversion;

template <> struct Conversion<bool>
{
    static std::optional<bool> read(const QVariant &value) { return toBool(value); }
    static QVariant written(bool value) { return value; }
    static QString name() { return QStringLiteral("true or false"); }
};

template <typename T>
struct Conversion<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>>
{
    using Limits = std::numeric_limits<T>;
    using Wide = std::conditional_t<std::is_signed_v<T>, qint64, quint64>;

    static std::optional<T> read(const QVariant &value)
    {
        std::optional<Wide> number;
        if constexpr (std::is_signed_v<T>)
            number = toSigned(value);
        else
            number = toUnsigned(value);
        if (!number || *number < Wide(Limits::min()) || *number > Wide(Limits::max()))
            return std::nullopt;
        return static_cast<T>(*number);
    }
    // QSettings writes short, long and char as @Variant, but the types below as numbers.
    static QVariant written(T value)
    {
        if constexpr (sizeof(T) > sizeof(int))
            return QVariant::fromValue(Wide(value));
        else if constexpr (std::is_signed_v<T>)
            return QVariant(static_cast<int>(value));
        else
            return QVariant(static_cast<uint>(value));
    }
    static QString name()
    {
        return QStringLiteral("an integer from %1 to %2")
                .arg(QString::number(Wide(Limits::min())), QString::number(Wide(Limits::max())));
    }
};

template <> struct Conversion<double>
{
    static std::optional<double> read(const QVariant &value) { return toDouble(value); }
    static QVariant written(double value) { return value; }
    static QString name() { return QStringLiteral("a number"); }
};

template <> struct Conversion<QString>
{
    static std::optional<QString> read(const QVariant &value) { return toText(value); }
    static QVariant written(const QString &value) { return value; }
    static QString name() { return QStringLiteral("a text"); }
};

template <> struct Conversion<QStringList>
{
    static std::optional<QStringList> read(const QVariant &value) { return toTexts(value); }
    static QVariant written(const QStringList &value) { return value; }
    static QString name() { return QStringLiteral("a list of texts"); }
};

template <typename T> struct Conversion<T, std::enable_if_t<std::is_enum_v<T>>>
{
    static std::optional<T> read(const QVariant &value)
    {
        if (value.metaType() == QMetaType::fromType<T>())
            return value.value<T>();
        const std::optional<int> number = toEnumerator(value, QMetaEnum::fromType<T>());
        return number ? std::optional(static_cast<T>(*number)) : std::nullopt;
    }
    static QVariant written(T value)
    {
        return fromEnumerator(static_cast<int>(value), QMetaEnum::fromType<T>());
    }
    static QString name()
    {
        return QLatin1StringView("a key of ")
                + QLatin1StringView(QMetaEnum::fromType<T>().enumName());
    }
};

template <typename Rep, typename Period> struct Conversion<std::chrono::duration<Rep, Period>>
{
    using Duration = std::chrono::duration<Rep, Period>;

    static std::optional<Duration> read(const QVariant &value)
    {
        const std::optional<Rep> count = Conversion<Rep>::read(value);
        return count ? std::optional(Duration(*count)) : std::nullopt;
    }
    static QVariant written(Duration value) { return Conversion<Rep>::written(value.count()); }
    static QString name() { return Conversion<Rep>::name(); }
};

} // namespace detail
/*! \endcond */

/*!
 * \brief Group, key and default of a setting of type \a T.
 *
 * It is written once, as a constant:
 *
 * \code
 * const tamsel::host::SettingDefinition<int> volume{u"player"_s, u"volume"_s, 20};
 * const tamsel::host::SettingDefinition<std::chrono::seconds> sleepTimer{u"power"_s, u"sleep"_s, {}};
 * \endcode
 */
template <typename T> struct SettingDefinition
{
    QString group; //!< The group of the setting.
    QString key; //!< The key of the setting.
    T defaultValue; //!< What a reader gets if no layer holds the setting or its value is not a T.
};

/*!
 * \brief What settings of all types have in common; use Setting.
 *
 * The threads, ownership and failures are those of Setting.
 */
class TAMSEL_HOST_EXPORT SettingBase
{
public:
    /*! \brief The group of the setting. */
    [[nodiscard]] QString group() const;
    /*! \brief The key of the setting. */
    [[nodiscard]] QString key() const;
    /*! \brief Removes the setting from \a layer; see ConfigurationManager::removeValue(). */
    void reset(SettingsType layer) const;
    /*!
     * \brief The layer of the effective value; none if no layer holds the setting.
     *
     * That value need not be of the setting's type. Call it while no other thread replaces or
     * clears a layer, as originOf().
     */
    [[nodiscard]] std::optional<SettingsType> origin() const;
    /*!
     * \brief Whether the layer \a layer holds the setting, and another one is the origin.
     *
     * Call it while no other thread replaces or clears a layer, as originOf().
     */
    [[nodiscard]] bool isOverridden(SettingsType layer) const;

protected:
    /*! \cond */
    SettingBase(QString group, QString key, ChangeNotifier *notifier);
    SettingBase(const SettingBase &other);
    SettingBase(SettingBase &&other) noexcept;
    SettingBase &operator=(const SettingBase &other);
    SettingBase &operator=(SettingBase &&other) noexcept;
    ~SettingBase();

    std::optional<QVariant> stored() const;
    void store(const QVariant &value, SettingsType layer) const;
    void reject(const QVariant &value, QString (*name)()) const;
    Subscription subscribe(QObject *context, ChangeNotifier::Function function) const;
    /*! \endcond */

private:
    QString m_group;
    QString m_key;
    ChangeNotifier *m_notifier; // borrowed
    std::shared_ptr<RejectedValues> m_rejected;
};

/*!
 * \brief A setting of the type \a T: its definition, bound to the manager of a notifier.
 *
 * \code
 * const tamsel::host::SettingDefinition<bool> subtitles{u"player"_s, u"subtitles"_s, false};
 *
 * tamsel::host::ChangeNotifier notifier(&settings);
 * const tamsel::host::Setting setting(subtitles, &notifier);
 * if (!setting.value())
 *     setting.setValue(true, tamsel::SettingsType::Runtime);
 * \endcode
 *
 * A file holds text, so texts are converted, but only those that are a value of the type:
 *
 * | Type                         | Read from                                      | Written as        |
 * |------------------------------|------------------------------------------------|-------------------|
 * | \c bool                      | bool, 1, 0; "true", "false" in any case, "1", "0" | bool           |
 * | an integer type              | whole numbers in its range, or texts of them   | the same          |
 * | \c double                    | numbers, or texts of finite ones               | double            |
 * | QString                      | what converts to a text; no lists, no maps     | QString           |
 * | QStringList                  | QStringList, lists of QString; a QString is a list of one | QStringList |
 * | an enum with Q_ENUM or Q_ENUM_NS | a key, or its number, also as a text        | its key         |
 * | a std::chrono duration       | as its representation: the number of its units | the same          |
 *
 * So "on", "off", "yes" and "no" are not a bool. "7 " is 7; "7x" and "0x7" are not an integer. A
 * bool is not a number. An invalid value in a file is read as the empty QStringList, because
 * QSettings writes an empty list that way.
 *
 * Any other value gives the default, and a warning of the category "tamsel.host". There is one
 * warning for a value, however often and from however many objects it is read. The next one comes
 * when the setting has another such value. Secrets, by the default patterns of Redaction, are not
 * shown.
 *
 * Nothing is cached: a read is one ConfigurationManager::value().
 *
 * \par Ownership
 * The notifier and its manager are borrowed and must outlive the setting. Copies are independent.
 * \par Threads
 * Any thread may read and write, as ConfigurationManager::value() and setValue(). Assigning to one
 * object is not synchronised.
 * \par Failure
 * No operation reports an error. A write that the layer refuses is logged by the layer.
 */
template <typename T> class Setting : public SettingBase
{
public:
    /*! \brief The setting \a definition in the manager of \a notifier, which is not null. */
    Setting(const SettingDefinition<T> &definition, ChangeNotifier *notifier)
        : SettingBase(definition.group, definition.key, notifier),
          m_defaultValue(definition.defaultValue)
    {
    }

    /*! \brief The effective value; the default if there is none of the type. */
    [[nodiscard]] T value() const { return converted(stored()); }
    /*! \brief The default of the definition. */
    [[nodiscard]] T defaultValue() const { return m_defaultValue; }
    /*! \brief Writes \a value into the layer \a layer; see ConfigurationManager::setValue(). */
    void setValue(const T &value, SettingsType layer) const
    {
        store(detail::Conversion<T>::written(value), layer);
    }
    /*!
     * \brief Calls \a function on the thread of \a context when value() changes.
     *
     * As ChangeNotifier::subscribe(), but not if value() is what the function got last. The first
     * call may have an unchanged value: if the default is written, or a number in place of its
     * text.
     */
    Subscription onChanged(QObject *context, std::function<void(const T &value)> function) const
    {
        return subscribe(context,
                         [setting = *this, function = std::move(function),
                          last = std::optional<T>()](const Change &change) mutable {
                             // The origin may be that of an earlier change.
                             const bool isHeld = change.origin || change.value.isValid();
                             T value = setting.converted(isHeld ? std::optional(change.value)
                                                                : std::nullopt);
                             if (last == value)
                                 return;
                             last = value;
                             function(value);
                         });
    }

private:
    T converted(const std::optional<QVariant> &stored) const
    {
        if (!stored)
            return m_defaultValue;
        if (std::optional<T> value = detail::Conversion<T>::read(*stored))
            return *std::move(value);
        reject(*stored, &detail::Conversion<T>::name);
        return m_defaultValue;
    }

    T m_defaultValue;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_SETTING_H

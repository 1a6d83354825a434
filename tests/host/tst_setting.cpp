// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/setting.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaEnum>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <chrono>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::host;
using namespace tamsel::tests;
using namespace std::chrono_literals;

namespace {

QStringList warnings;

void record(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg)
        warnings.append(QString::fromUtf8(context.category) + ": "_L1 + text);
}

QStringList takeWarnings()
{
    return std::exchange(warnings, {});
}

// A manager with two layers in memory, one in a file, and a notifier.
class Host : public TestHost
{
public:
    Host()
    {
        for (const SettingsType type : {SettingsType::Runtime, SettingsType::SystemProperties,
                                        SettingsType::CustomConfPersistent})
            prepare(type);
    }

    template <typename T> Setting<T> setting(const T &defaultValue, const QString &key = u"k"_s)
    {
        return Setting<T>({u"g"_s, key, defaultValue}, &notifier);
    }
    void set(const QVariant &value, SettingsType type = SettingsType::Runtime)
    {
        manager.setValue(u"g"_s, u"k"_s, value, type);
    }

    ChangeNotifier notifier{&manager};
    QObject context;
};

const QVariant none; // no value of the type

} // namespace

class tst_Setting : public QObject
{
    Q_OBJECT

public:
    enum class Theme { Dark = 1, Light = 2, System = -1 };
    Q_ENUM(Theme)

private Q_SLOTS:
    void init();
    void cleanup();

    void convertsStrictly_data();
    void convertsStrictly();
    void writtenValueComesBack_data();
    void writtenValueComesBack();
    void numberWithoutAKeyIsWritten();
    void emptyListComesBackFromAFile();

    void defaultIsForWhatIsNotSet();
    void writesRemovesAndKnowsItsOrigin();
    void knowsWhatIsOverridden();
    void nothingIsCached();

    void warnsOncePerValue();
    void warningHidesSecrets();
    void warningsNameTheType();

    void functionGetsTheType();
    void equalValueOfTheTypeIsNotNotified();
    void functionGetsAValueThatIsNotYetNotified();
    void copiesAreIndependent();

private:
    // Compares the stored value, read as a setting of type T, with the expected one.
    template <typename T> static void compare(const QVariant &stored, const QVariant &expected);
    template <typename T> static void roundTrip(const QVariant &value, const QByteArray &line);

    using Check = void (*)(const QVariant &stored, const QVariant &expected);
    using Trip = void (*)(const QVariant &value, const QByteArray &line);

    QtMessageHandler m_previous = nullptr;
};

void tst_Setting::init()
{
    m_previous = qInstallMessageHandler(record);
}

void tst_Setting::cleanup()
{
    qInstallMessageHandler(m_previous);
    takeWarnings();
}

template <typename T> void tst_Setting::compare(const QVariant &stored, const QVariant &expected)
{
    const T given = expected.value<T>();
    // Two defaults, so that at least one differs from the value.
    const auto defaults = [&]() -> std::array<T, 2> {
        if constexpr (std::is_same_v<T, bool>)
            return {false, true};
        else if constexpr (std::is_same_v<T, QString>)
            return {u"one default"_s, u"another"_s};
        else if constexpr (std::is_same_v<T, QStringList>)
            return {QStringList(u"one default"_s), QStringList(u"another"_s)};
        else
            return {T(11), T(12)};
    }();
    for (const T &defaultValue : defaults) {
        RecordingLogger logger;
        ConfigurationManager manager(&logger);
        ChangeNotifier notifier(&manager);
        manager.initStorage(SettingsType::Runtime);
        manager.setValue(u"g"_s, u"k"_s, stored, SettingsType::Runtime);
        const Setting<T> setting({u"g"_s, u"k"_s, defaultValue}, &notifier);
        QCOMPARE(setting.value(), expected.isValid() ? given : defaultValue);
        QCOMPARE(takeWarnings().size(), expected.isValid() ? 0 : 1);
    }
}

void tst_Setting::convertsStrictly_data()
{
    QTest::addColumn<void *>("check");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("expected");
    const auto row
            = [](const char *type, Check check, const QVariant &stored, const QVariant &expected) {
                  QTest::addRow("%s from %s", type, qPrintable(tests::describe(stored)))
                          << reinterpret_cast<void *>(check) << stored << expected;
              };

    const auto toBool = [&](const QVariant &stored, const QVariant &expected) {
        row("bool", &compare<bool>, stored, expected);
    };
    for (const QVariant &value : {QVariant(true), QVariant(1), QVariant(1U), QVariant(1.0),
                                  QVariant(u"true"_s), QVariant(u"TRUE"_s), QVariant(u"1"_s)})
        toBool(value, true);
    for (const QVariant &value : {QVariant(false), QVariant(0), QVariant(0.0), QVariant(u"false"_s),
                                  QVariant(u"False"_s), QVariant(u"0"_s), QVariant("0"_ba)})
        toBool(value, false);
    for (const QVariant &value :
         {QVariant(2), QVariant(-1), QVariant(0.5), QVariant(u""_s), QVariant(u"on"_s),
          QVariant(u"off"_s), QVariant(u"yes"_s), QVariant(u"no"_s), QVariant(u"disabled"_s),
          QVariant(u"01"_s), QVariant(u"truex"_s), QVariant(QStringList(u"true"_s)), QVariant(),
          QVariant::fromValue(nullptr)})
        toBool(value, none);

    const auto toInt = [&](const QVariant &stored, const QVariant &expected) {
        row("int", &compare<int>, stored, expected);
    };
    toInt(-7, -7);
    toInt(7U, 7);
    toInt(QVariant::fromValue<short>(-7), -7);
    toInt(QVariant::fromValue<ushort>(7), 7);
    toInt(QVariant::fromValue<signed char>(-7), -7);
    toInt(QVariant::fromValue<uchar>(7), 7);
    toInt(QVariant::fromValue<char>('a'), 97);
    toInt(QVariant::fromValue<long>(-7), -7);
    toInt(QVariant::fromValue<ulong>(7), 7);
    toInt(7.0, 7);
    toInt(7.0F, 7);
    toInt(u"-7"_s, -7);
    toInt(u"7 "_s, 7);
    toInt("7"_ba, 7);
    toInt(Q_INT64_C(2147483647), 2147483647);
    toInt(u"-2147483648"_s, std::numeric_limits<int>::min());
    for (const QVariant &value :
         {QVariant(Q_INT64_C(2147483648)), QVariant(Q_INT64_C(-2147483649)),
          QVariant(u"2147483648"_s), QVariant(7.5), QVariant(1e300), QVariant(qQNaN()),
          QVariant(qInf()), QVariant(true), QVariant(u""_s), QVariant(u"7x"_s), QVariant(u"0x7"_s),
          QVariant(u"7.0"_s), QVariant(u"loud"_s), QVariant(QStringList(u"7"_s)), QVariant()})
        toInt(value, none);

    const auto toUchar = [&](const QVariant &stored, const QVariant &expected) {
        row("uchar", &compare<uchar>, stored, expected);
    };
    toUchar(255, QVariant::fromValue<uchar>(255));
    toUchar(u"0"_s, QVariant::fromValue<uchar>(0));
    toUchar(256, none);
    toUchar(-1, none);
    toUchar(u"-1"_s, none);

    const auto toLong = [&](const QVariant &stored, const QVariant &expected) {
        row("qint64", &compare<qint64>, stored, expected);
    };
    const qint64 lowest = std::numeric_limits<qint64>::min();
    const qint64 highest = std::numeric_limits<qint64>::max();
    toLong(QVariant::fromValue(quint64(highest)), highest);
    toLong(QVariant::fromValue(quint64(highest) + 1), none);
    toLong(-9223372036854775808.0, lowest);
    toLong(9223372036854775808.0, none);
    toLong(u"9223372036854775807"_s, highest);
    toLong(u"9223372036854775808"_s, none);

    const auto toUlong = [&](const QVariant &stored, const QVariant &expected) {
        row("quint64", &compare<quint64>, stored, expected);
    };
    toUlong(u"18446744073709551615"_s, QVariant::fromValue(std::numeric_limits<quint64>::max()));
    toUlong(u"18446744073709551616"_s, none);
    toUlong(QVariant::fromValue(std::numeric_limits<quint64>::max()),
            QVariant::fromValue(std::numeric_limits<quint64>::max()));
    toUlong(9223372036854775808.0, QVariant::fromValue(quint64(1) << 63));
    toUlong(18446744073709551616.0, none);
    toUlong(0, QVariant::fromValue(quint64(0)));
    toUlong(-1, none);
    toUlong(-1.0, none);
    toUlong(true, none);

    const auto toDouble = [&](const QVariant &stored, const QVariant &expected) {
        row("double", &compare<double>, stored, expected);
    };
    toDouble(0.5, 0.5);
    toDouble(0.5F, 0.5);
    toDouble(qInf(), qInf());
    toDouble(-7, -7.0);
    toDouble(7U, 7.0);
    toDouble(u"5e-1"_s, 0.5);
    for (const QVariant &value : {QVariant(u"0,5"_s), QVariant(u"inf"_s), QVariant(u"nan"_s),
                                  QVariant(u""_s), QVariant(true), QVariant()})
        toDouble(value, none);

    const auto toText = [&](const QVariant &stored, const QVariant &expected) {
        row("QString", &compare<QString>, stored, expected);
    };
    toText(u"text"_s, u"text"_s);
    toText(u""_s, u""_s);
    toText("bytes"_ba, u"bytes"_s);
    toText(7, u"7"_s);
    toText(true, u"true"_s);
    toText(QDate(2026, 11, 22), u"2026-11-22"_s);
    toText(QStringList(u"one"_s), none);
    toText(QVariantList{u"one"_s}, none);
    toText(QVariantMap{{u"a"_s, u"b"_s}}, none);
    toText(QVariant(), none);

    const auto toTexts = [&](const QVariant &stored, const QVariant &expected) {
        row("QStringList", &compare<QStringList>, stored, expected);
    };
    toTexts(QStringList({u"a"_s, u"b"_s}), QStringList({u"a"_s, u"b"_s}));
    toTexts(u"a, b"_s, QStringList(u"a, b"_s));
    toTexts(QVariantList{u"a"_s, u"b"_s}, QStringList({u"a"_s, u"b"_s}));
    toTexts(QVariantList{u"a"_s, 7}, none);
    toTexts(7, none);

    const auto toTheme = [&](const QVariant &stored, const QVariant &expected) {
        row("Theme", &compare<Theme>, stored, expected);
    };
    const auto theme = [](Theme value) { return QVariant::fromValue(value); };
    toTheme(theme(Theme::Light), theme(Theme::Light));
    toTheme(u"Light"_s, theme(Theme::Light));
    toTheme("Light"_ba, theme(Theme::Light));
    toTheme(2, theme(Theme::Light));
    toTheme(u"-1"_s, theme(Theme::System));
    for (const QVariant &value :
         {QVariant(3), QVariant(u"light"_s), QVariant(u"Theme::Light"_s), QVariant(u""_s),
          QVariant(true), QVariant(QStringList(u"Light"_s)), QVariant()})
        toTheme(value, none);

    const auto toSeconds = [&](const QVariant &stored, const QVariant &expected) {
        row("seconds", &compare<std::chrono::seconds>, stored, expected);
    };
    toSeconds(90, QVariant::fromValue(std::chrono::seconds(90)));
    toSeconds(u"90"_s, QVariant::fromValue(std::chrono::seconds(90)));
    toSeconds(u"90s"_s, none);
    toSeconds(0.5, none);
    row("fractions of minutes", &compare<std::chrono::duration<double, std::ratio<60>>>, u"0.5"_s,
        QVariant::fromValue(std::chrono::duration<double, std::ratio<60>>(0.5)));
}

void tst_Setting::convertsStrictly()
{
    QFETCH(void *const, check);
    QFETCH(const QVariant, stored);
    QFETCH(const QVariant, expected);
    reinterpret_cast<Check>(check)(stored, expected);
}

template <typename T> void tst_Setting::roundTrip(const QVariant &value, const QByteArray &line)
{
    Host host;
    const auto setting = host.setting(T());
    setting.setValue(value.value<T>(), SettingsType::CustomConfPersistent);
    QCOMPARE(setting.value(), value.value<T>());
    const QString path = host.filePath(SettingsType::CustomConfPersistent);
    host.reread(SettingsType::CustomConfPersistent);
    QCOMPARE(setting.value(), value.value<T>());
    QCOMPARE(readFile(path), "[g]\n" + line + '\n');
    QCOMPARE(takeWarnings(), QStringList());
}

void tst_Setting::writtenValueComesBack_data()
{
    QTest::addColumn<void *>("trip");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("line");
    const auto row = [](const char *name, Trip trip, const QVariant &value, const char *line) {
        QTest::newRow(name) << reinterpret_cast<void *>(trip) << value << QByteArray(line);
    };
    row("bool", &roundTrip<bool>, true, "k=true");
    row("signed char", &roundTrip<signed char>, QVariant::fromValue<signed char>(-7), "k=-7");
    row("uchar", &roundTrip<uchar>, QVariant::fromValue<uchar>(200), "k=200");
    row("short", &roundTrip<short>, QVariant::fromValue<short>(-7), "k=-7");
    row("uint", &roundTrip<uint>, 4000000000U, "k=4000000000");
    row("qint64", &roundTrip<qint64>, std::numeric_limits<qint64>::min(), "k=-9223372036854775808");
    row("quint64", &roundTrip<quint64>, QVariant::fromValue(std::numeric_limits<quint64>::max()),
        "k=18446744073709551615");
    row("long", &roundTrip<long>, QVariant::fromValue<long>(-7), "k=-7");
    row("double", &roundTrip<double>, 0.1, "k=0.1");
    row("QString", &roundTrip<QString>, u"a, b"_s, "k=\"a, b\"");
    row("QStringList", &roundTrip<QStringList>, QStringList({u"a"_s, u"b"_s}), "k=a, b");
    row("list of one", &roundTrip<QStringList>, QStringList(u"a"_s), "k=a");
    row("enum", &roundTrip<Theme>, QVariant::fromValue(Theme::System), "k=System");
    row("duration", &roundTrip<std::chrono::milliseconds>,
        QVariant::fromValue(std::chrono::milliseconds(1500)), "k=1500");
}

void tst_Setting::writtenValueComesBack()
{
    QFETCH(void *const, trip);
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, line);
    reinterpret_cast<Trip>(trip)(value, line);
}

void tst_Setting::numberWithoutAKeyIsWritten()
{
    Host host;
    const auto setting = host.setting(Theme::Dark);
    setting.setValue(static_cast<Theme>(7), SettingsType::Runtime);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(7));
    QCOMPARE(setting.value(), Theme::Dark);
}

// QSettings writes an empty list as an invalid value.
void tst_Setting::emptyListComesBackFromAFile()
{
    Host host;
    const auto setting = host.setting(QStringList(u"default"_s));
    setting.setValue({u"a"_s, u"b"_s}, SettingsType::CustomConfPersistent);
    setting.setValue({}, SettingsType::CustomConfPersistent);
    QCOMPARE(setting.value(), QStringList());
    host.reread(SettingsType::CustomConfPersistent);
    QCOMPARE(setting.value(), QStringList());
}

void tst_Setting::defaultIsForWhatIsNotSet()
{
    Host host;
    const auto setting = host.setting(5);
    QCOMPARE(setting.value(), 5);
    QCOMPARE(setting.defaultValue(), 5);
    QCOMPARE(setting.group(), u"g"_s);
    QCOMPARE(setting.key(), u"k"_s);
    QVERIFY(!setting.origin());
    QCOMPARE(takeWarnings(), QStringList());
}

void tst_Setting::writesRemovesAndKnowsItsOrigin()
{
    Host host;
    const auto setting = host.setting(5);
    setting.setValue(6, SettingsType::SystemProperties);
    setting.setValue(7, SettingsType::Runtime);
    QCOMPARE(setting.value(), 7);
    QCOMPARE(setting.origin(), SettingsType::Runtime);
    setting.reset(SettingsType::Runtime);
    QCOMPARE(setting.value(), 6);
    QCOMPARE(setting.origin(), SettingsType::SystemProperties);
    setting.reset(SettingsType::SystemProperties);
    QCOMPARE(setting.value(), 5);
    QCOMPARE(setting.origin(), std::nullopt);
}

void tst_Setting::knowsWhatIsOverridden()
{
    Host host;
    const auto setting = host.setting(5);
    QVERIFY(!setting.isOverridden(SettingsType::SystemProperties));
    setting.setValue(6, SettingsType::SystemProperties);
    QVERIFY(!setting.isOverridden(SettingsType::SystemProperties));
    setting.setValue(7, SettingsType::Runtime);
    QVERIFY(setting.isOverridden(SettingsType::SystemProperties));
    QVERIFY(!setting.isOverridden(SettingsType::Runtime));
    QVERIFY(!setting.isOverridden(SettingsType::CustomConfPersistent));
    QVERIFY(!setting.isOverridden(SettingsType::Rdm)); // no such layer
}

void tst_Setting::nothingIsCached()
{
    Host host;
    const auto setting = host.setting(5);
    for (int i = 0; i < 3; ++i) {
        host.set(i);
        QCOMPARE(setting.value(), i);
    }
}

void tst_Setting::warnsOncePerValue()
{
    Host host;
    const QStringList loud(u"tamsel.host: g/k: QVariant(QString, \"loud\") is not an integer from "
                           u"-2147483648 to 2147483647, "
                           "the default is used"_s);
    host.set(u"loud"_s);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(host.setting(5).value(), 5); // each time a new object
    QCOMPARE(takeWarnings(), loud);
    host.set(u"7"_s);
    QCOMPARE(host.setting(5).value(), 7);
    host.set(u"loud"_s);
    QCOMPARE(host.setting(5).value(), 5);
    QCOMPARE(takeWarnings(), QStringList());
    host.set(u"louder"_s);
    QCOMPARE(host.setting(5).value(), 5);
    QCOMPARE(takeWarnings().size(), 1);
    host.set("louder"_ba); // the same text as another type
    host.set(u"loud"_s);
    QCOMPARE(host.setting(5).value(), 5);
    QCOMPARE(takeWarnings(), loud);
    // A value that is not equal to itself.
    host.set(std::numeric_limits<double>::quiet_NaN());
    for (int i = 0; i < 3; ++i)
        QCOMPARE(host.setting(5).value(), 5);
    QCOMPARE(takeWarnings().size(), 1);
    host.set(u"loud"_s);
    QCOMPARE(host.setting(5).value(), 5);
    QCOMPARE(takeWarnings(), loud);
    // Another setting, and another notifier.
    host.manager.setValue(u"g"_s, u"other"_s, u"loud"_s, SettingsType::Runtime);
    QCOMPARE(host.setting(5, u"other"_s).value(), 5);
    QCOMPARE(takeWarnings().size(), 1);
    ChangeNotifier other(&host.manager);
    QCOMPARE(Setting<int>({u"g"_s, u"k"_s, 5}, &other).value(), 5);
    QCOMPARE(takeWarnings(), loud);
}

void tst_Setting::warningHidesSecrets()
{
    Host host;
    host.manager.setValue(u"parental"_s, u"pin"_s, u"12a4"_s, SettingsType::Runtime);
    QCOMPARE(Setting<int>({u"parental"_s, u"pin"_s, 5}, &host.notifier).value(), 5);
    const QStringList texts = takeWarnings();
    QCOMPARE(texts.size(), 1);
    QVERIFY(texts.first().contains("(redacted)"_L1));
    QVERIFY(!texts.first().contains("12a4"_L1));
}

void tst_Setting::warningsNameTheType()
{
    Host host;
    int values = 0;
    const auto warned = [&](const auto &setting) {
        host.set(QVariantMap{{u"a"_s, ++values}}); // a value that no type of setting accepts
        [[maybe_unused]] const auto value = setting.value();
        return takeWarnings().value(0).section(u" is not "_s, 1).section(u", the default"_s, 0, 0);
    };
    QCOMPARE(warned(host.setting(false)), u"true or false"_s);
    QCOMPARE(warned(host.setting<uchar>(1)), u"an integer from 0 to 255"_s);
    QCOMPARE(warned(host.setting(0.5)), u"a number"_s);
    QCOMPARE(warned(host.setting(u"text"_s)), u"a text"_s);
    QCOMPARE(warned(host.setting(QStringList())), u"a list of texts"_s);
    QCOMPARE(warned(host.setting(Theme::Dark)), u"a key of Theme"_s);
    QCOMPARE(warned(host.setting(std::chrono::duration<short>(1))),
             u"an integer from -32768 to 32767"_s);
}

void tst_Setting::functionGetsTheType()
{
    Host host;
    QList<std::chrono::seconds> got;
    Subscription subscription = host.setting(20s).onChanged(
            &host.context, [&](std::chrono::seconds value) { got.append(value); });
    host.set(30, SettingsType::SystemProperties);
    host.set(u"40"_s);
    host.set(u"never"_s);
    QCOMPARE(got, QList<std::chrono::seconds>({30s, 40s, 20s}));
    QCOMPARE(takeWarnings().size(), 1);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::SystemProperties);
    host.set(50);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QCOMPARE(got, QList<std::chrono::seconds>({30s, 40s, 20s, 50s, 20s}));
    QCOMPARE(takeWarnings(), QStringList());
    subscription.drop();
    host.set(60);
    QCOMPARE(got.size(), 5);
}

void tst_Setting::equalValueOfTheTypeIsNotNotified()
{
    Host host;
    QList<int> got;
    host.setting(5).onChanged(&host.context, [&](int value) { got.append(value); });
    host.set(6, SettingsType::SystemProperties);
    host.set(u"6"_s);
    host.set(7);
    QCOMPARE(got, QList<int>({6, 7}));
    // Intentional: the function is called for the first change even if the value is the same.
    host.setting(0, u"other"_s).onChanged(&host.context, [&](int value) { got.append(value); });
    host.manager.setValue(u"g"_s, u"other"_s, 0, SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"other"_s, u"0"_s, SettingsType::Runtime);
    QCOMPARE(got, QList<int>({6, 7, 0}));
}

// The other thread delivers a removal after the next value is written, but before it is notified.
void tst_Setting::functionGetsAValueThatIsNotYetNotified()
{
    Host host;
    host.set(3);
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    int got = 0;
    host.setting(20).onChanged(&context, [&got](int value) { got = value; });
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    // This handler is called before the notifier's.
    host.handler.reaction = [&](SettingsType, const QString &, const QString &, const QVariant &) {
        thread.start();
        QMetaObject::invokeMethod(
                &context, [] {}, Qt::BlockingQueuedConnection);
    };
    host.set(5);
    QMetaObject::invokeMethod(
            &context, [&thread] { thread.quit(); }, Qt::QueuedConnection);
    QVERIFY(thread.wait());
    QCOMPARE(got, 5);
    QCOMPARE(takeWarnings(), QStringList());
}

void tst_Setting::copiesAreIndependent()
{
    Host host;
    Setting<int> setting = host.setting(5);
    const Setting<int> copy = setting;
    setting = host.setting(6, u"other"_s);
    host.set(1);
    QCOMPARE(copy.value(), 1);
    QCOMPARE(setting.value(), 6);
    const Setting<int> moved = std::move(setting);
    QCOMPARE(moved.value(), 6);
}

QTEST_GUILESS_MAIN(tst_Setting)
#include "tst_setting.moc"

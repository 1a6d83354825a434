// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/logsconfigwrapper.h>

#include "datarows.h"
#include "recording.h"
#include "testhost.h"

#include <QtCore/QScopeGuard>
#include <QtTest/QTest>

#include <limits>
#include <type_traits>

// What a host's logging library does: it completes the type that the header only declares.
namespace logging {
enum Level : int { Critical, Error, Warning, Info, Debug, Trace };
} // namespace logging

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

static_assert(sizeof(LogsConfigWrapper) == sizeof(void *));
static_assert(!std::is_polymorphic_v<LogsConfigWrapper>);
static_assert(std::is_constructible_v<LogsConfigWrapper, ConfigurationManager *>);
static_assert(!std::is_convertible_v<ConfigurationManager *, LogsConfigWrapper>);
static_assert(!std::is_default_constructible_v<LogsConfigWrapper>);
static_assert(!std::is_copy_constructible_v<LogsConfigWrapper>);
static_assert(!std::is_move_constructible_v<LogsConfigWrapper>);
static_assert(!std::is_copy_assignable_v<LogsConfigWrapper>);
static_assert(!std::is_move_assignable_v<LogsConfigWrapper>);
static_assert(std::is_same_v<decltype(&LogsConfigWrapper::level),
                             logging::Level (LogsConfigWrapper::*)() const>);
static_assert(std::is_same_v<decltype(&LogsConfigWrapper::stringLevelToIntLevel),
                             const QHash<QString, int> &(*)() noexcept>);

namespace {

const QString group = u"Logging"_s;

// A setting of the group, with its accessors.
struct Setting
{
    QString key;
    QVariant unset; // read where no layer holds the key
    QVariant (*read)(const LogsConfigWrapper &logs);
    void (*write)(LogsConfigWrapper &logs, const QVariant &value, SettingsType type); // or null
    QVariantList values; // to write
};

const Setting settings[] = {
        {u"level"_s,
         -1,
         [](const LogsConfigWrapper &logs) { return QVariant(int(logs.level())); },
         [](LogsConfigWrapper &logs, const QVariant &value, SettingsType type) {
             logs.setLevel(logging::Level(value.toInt()), type);
         },
         {logging::Info, logging::Critical}},
        {u"jsonLengthLimit"_s,
         -1,
         [](const LogsConfigWrapper &logs) { return QVariant(logs.jsonLengthLimit()); },
         [](LogsConfigWrapper &logs, const QVariant &value, SettingsType type) {
             logs.setJsonLengthLimit(value.toInt(), type);
         },
         {70, -1}},
        {u"jsonFormattingEnabled"_s,
         false,
         [](const LogsConfigWrapper &logs) { return QVariant(logs.jsonFormattingEnabled()); },
         [](LogsConfigWrapper &logs, const QVariant &value, SettingsType type) {
             logs.setJsonFormattingEnabled(value.toBool(), type);
         },
         {true, false}},
        {u"imageRequestsEnabled"_s,
         false,
         [](const LogsConfigWrapper &logs) { return QVariant(logs.imageRequestsEnabled()); },
         [](LogsConfigWrapper &logs, const QVariant &value, SettingsType type) {
             logs.setImageRequestsEnabled(value.toBool(), type);
         },
         {true, false}},
        {u"blacklist"_s,
         QString(),
         [](const LogsConfigWrapper &logs) { return QVariant(logs.modulesBlacklist()); },
         nullptr,
         {}},
        {u"whitelist"_s,
         QString(),
         [](const LogsConfigWrapper &logs) { return QVariant(logs.modulesWhitelist()); },
         nullptr,
         {}},
};

// A group that shows each lookup in its layer, as it has to be converted.
struct Convertible
{
};

} // namespace

class tst_LogsConfigWrapper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aStoredValueIsReadAs_data();
    void aStoredValueIsReadAs();
    void whatNoLayerHoldsIsReadAsUnset_data();
    void whatNoLayerHoldsIsReadAsUnset();
    void eachReadAsksTheManagerOnce();
    void anUnusableLevelOverridesAsWell();
    void changesAreReadAtOnce();

    void aSetterWritesIntoTheNamedLayerOnly_data() { addTypeRows(writableLayers); }
    void aSetterWritesIntoTheNamedLayerOnly();
    void aLevelOutsideTheRangeIsStoredAndReadAsUnset();

    void levelNamesAreSixAndCaseSensitive();
    void levelTableIsOneObject();
    void levelsRangeFromCriticalToTrace();
    void levelIsValidWithinTheRange_data();
    void levelIsValidWithinTheRange();
};

void tst_LogsConfigWrapper::aStoredValueIsReadAs_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("read");
    const auto row = [](const QString &key, const QVariant &stored, const QVariant &read) {
        QTest::addRow("%s %s", qPrintable(key),
                      stored.canConvert<QString>() && !stored.toString().isEmpty()
                              ? qPrintable(describe(stored))
                              : qPrintable(QDebug::toString(stored)))
                << key << stored << read;
    };
    constexpr int highest = std::numeric_limits<int>::max();
    constexpr int lowest = std::numeric_limits<int>::min();
    const QVariant nullNumber{QMetaType::fromType<int>()};

    const auto level = [&row](const QVariant &stored, int read) { row(u"level"_s, stored, read); };
    for (int number = 0; number <= 5; ++number)
        level(number, number);
    for (const int number : {6, -1, highest, lowest})
        level(number, -1);
    level(4U, 4);
    level(4LL, 4);
    level(4294967298LL, 2); // its lowest 32 bits
    const QStringList names{u"critical"_s, u"error"_s, u"warning"_s,
                            u"info"_s,     u"debug"_s, u"trace"_s};
    for (int number = 0; number < names.size(); ++number)
        level(names.at(number), number);
    level("debug"_ba, 4);
    level(QStringList{u"debug"_s}, 4);
    for (const int number : {0, 4, 5})
        level(QString::number(number), number);
    level(u"6"_s, -1);
    level(u"-1"_s, -1);
    // Intentional: what is no number counts as 0, critical.
    for (const QString &text : {u"Debug"_s, u"Info"_s, u"INFO"_s, u"loud"_s, u"verbose"_s,
                                u"debug "_s, u"4x"_s, u"4.0"_s, u"0x4"_s, u""_s})
        level(text, 0);
    level(QStringList{u"debug"_s, u"trace"_s}, 0);
    level(QVariantMap{{u"debug"_s, 4}}, 0);
    level(true, 1);
    level(false, 0);
    level(4.4, 4); // rounded
    level(3.6, 4);
    level(5.6, -1);
    level(nullNumber, 0);
    level(QVariant(), -1);

    const auto limit
            = [&row](const QVariant &stored, int read) { row(u"jsonLengthLimit"_s, stored, read); };
    for (const int number : {250, 0, -5, highest})
        limit(number, number);
    limit(u"250"_s, 250);
    for (const QString &text : {u"long"_s, u"debug"_s, u""_s})
        limit(text, 0);
    limit(true, 1);
    limit(2.6, 3);
    limit(QVariant(), 0); // held, so the default does not count

    for (const QString &key : {u"jsonFormattingEnabled"_s, u"imageRequestsEnabled"_s}) {
        for (const QVariant &stored : {QVariant(true), QVariant(u"true"_s), QVariant(u"1"_s),
                                       QVariant(u"no"_s), QVariant(2)})
            row(key, stored, true);
        for (const QVariant &stored : {QVariant(false), QVariant(u"false"_s), QVariant(u"FALSE"_s),
                                       QVariant(u"0"_s), QVariant(u""_s), QVariant(0), QVariant()})
            row(key, stored, false);
    }

    for (const QString &key : {u"blacklist"_s, u"whitelist"_s}) {
        for (const QString &text : {u"net, ui"_s, u" net,ui ,,net\t"_s, u"Net;nET"_s, u""_s})
            row(key, text, text);
        row(key, 5, u"5"_s);
        row(key, QStringList{u"net"_s}, u"net"_s);
        row(key, QStringList{u"net"_s, u"ui"_s}, QString());
        row(key, QVariant(), QString());
    }
}

void tst_LogsConfigWrapper::aStoredValueIsReadAs()
{
    QFETCH(const QString, key);
    QFETCH(const QVariant, stored);
    QFETCH(const QVariant, read);
    TestHost host;
    host.prepare(Rdm, group, {{key, stored}});
    QVERIFY(host.manager.contains(group, key));
    const LogsConfigWrapper logs(&host.manager);
    for (const Setting &setting : settings) // the others are not affected
        QCOMPARE(setting.read(logs), setting.key == key ? read : setting.unset);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LogsConfigWrapper::whatNoLayerHoldsIsReadAsUnset_data()
{
    QTest::addColumn<QVariantMap>("rdm");
    const QVariantMap entries{{u"level"_s, 4},
                              {u"blacklist"_s, u"the blacklist"_s},
                              {u"whitelist"_s, u"the whitelist"_s},
                              {u"jsonLengthLimit"_s, 70},
                              {u"jsonFormattingEnabled"_s, true},
                              {u"imageRequestsEnabled"_s, true}};
    QVariantMap capitals;
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
        capitals.insert(entry.key().toUpper(), entry.value());
    QTest::newRow("empty layers") << QVariantMap();
    QTest::newRow("empty group") << groupMap(group, {});
    QTest::newRow("group that is no map") << QVariantMap{{group, 3}};
    QTest::newRow("group in lower case") << groupMap(u"logging"_s, entries);
    QTest::newRow("abbreviated group") << groupMap(u"Log"_s, entries);
    QTest::newRow("no group") << groupMap(QString(), entries);
    QTest::newRow("keys in capitals") << groupMap(group, capitals);
}

void tst_LogsConfigWrapper::whatNoLayerHoldsIsReadAsUnset()
{
    QFETCH(const QVariantMap, rdm);
    TestHost host;
    const LogsConfigWrapper logs(&host.manager);
    for (const Setting &setting : settings)
        QCOMPARE(setting.read(logs), setting.unset);
    host.prepareAll();
    host.manager.initStorage(Rdm, rdm);
    host.journal.take();
    for (const Setting &setting : settings)
        QCOMPARE(setting.read(logs), setting.unset);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LogsConfigWrapper::eachReadAsksTheManagerOnce()
{
    // Asked twice, a change in between would mix two values. The manager's own lookups are two:
    // whether the layer holds the key, and the value.
    int lookups = 0;
    QVERIFY((
            QMetaType::registerConverter<Convertible, QVariantMap>([&lookups](const Convertible &) {
                ++lookups;
                QVariantMap entries;
                for (const Setting &setting : settings)
                    entries.insert(setting.key, u"7"_s);
                return entries;
            })));
    const auto unregister = qScopeGuard([] {
        QMetaType::unregisterConverterFunction(QMetaType::fromType<Convertible>(),
                                               QMetaType::fromType<QVariantMap>());
    });
    TestHost host;
    host.manager.initStorage(Rdm, {{group, QVariant::fromValue(Convertible())}});
    const LogsConfigWrapper logs(&host.manager);
    for (const Setting &setting : settings) {
        lookups = 0;
        (void)setting.read(logs);
        QCOMPARE(lookups, 2);
    }
}

void tst_LogsConfigWrapper::anUnusableLevelOverridesAsWell()
{
    TestHost host;
    const LogsConfigWrapper logs(&host.manager);
    host.prepare(RavonaConfDefault, group, {{u"level"_s, u"debug"_s}});
    QCOMPARE(logs.level(), logging::Debug);
    host.prepare(CommandLineArgs, group, {{u"level"_s, 3}});
    QCOMPARE(logs.level(), logging::Info);
    host.prepare(CommandLineArgs, group, {{u"level"_s, 6}});
    QCOMPARE(int(logs.level()), -1);
    host.prepare(CommandLineArgs, group, {{u"level"_s, QVariant()}});
    QCOMPARE(int(logs.level()), -1);
}

void tst_LogsConfigWrapper::changesAreReadAtOnce()
{
    TestHost host;
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(int(logs.level()), -1);
    host.prepare(Runtime, group, {{u"level"_s, u"trace"_s}});
    QCOMPARE(logs.level(), logging::Trace);
    LogsConfigWrapper(&host.manager).setLevel(logging::Error, Runtime);
    QCOMPARE(logs.level(), logging::Error);
    host.manager.removeValue(group, u"level"_s, Runtime);
    QCOMPARE(int(logs.level()), -1);
}

void tst_LogsConfigWrapper::aSetterWritesIntoTheNamedLayerOnly()
{
    QFETCH(const SettingsType, type);
    const QString name = nameOf(type);
    for (const Setting &setting : settings) {
        for (const QVariant &value : setting.values) {
            TestHost host;
            host.prepareAll();
            LogsConfigWrapper logs(&host.manager);
            setting.write(logs, value, type);
            // The line is the manager's, the wrapper logs nothing itself.
            const QString message = u"Top value changed %1: Logging/%2 = '%3'"_s.arg(
                    name, setting.key, value.toString());
            const QString line = u"handler: %1 Logging/%2 = %3"_s.arg(
                    name, setting.key, describe(host.manager.value(group, setting.key)));
            QCOMPARE(host.journal.take(), changeLine(type, message) + QStringList(line));
            QCOMPARE(host.manager.value(group, setting.key).metaType(), setting.unset.metaType());
            QCOMPARE(setting.read(logs), value);
            for (const SettingsType layer : storagePriority)
                QCOMPARE(host.manager.contains(group, setting.key, layer), layer == type);

            setting.write(logs, value, type);
            QCOMPARE(host.journal.take(), QStringList()); // an equal value is not written again
        }
    }
}

void tst_LogsConfigWrapper::aLevelOutsideTheRangeIsStoredAndReadAsUnset()
{
    TestHost host;
    host.prepare(Runtime);
    LogsConfigWrapper logs(&host.manager);
    for (const int number : {9, -1}) {
        logs.setLevel(logging::Level(number), Runtime);
        QCOMPARE(host.manager.value(group, u"level"_s), QVariant(number));
        QCOMPARE(int(logs.level()), -1);
    }
}

void tst_LogsConfigWrapper::levelNamesAreSixAndCaseSensitive()
{
    const QHash<QString, int> expected{
            {u"critical"_s, logging::Critical}, {u"error"_s, logging::Error},
            {u"warning"_s, logging::Warning},   {u"info"_s, logging::Info},
            {u"debug"_s, logging::Debug},       {u"trace"_s, logging::Trace},
    };
    QCOMPARE(LogsConfigWrapper::stringLevelToIntLevel(), expected);
    QVERIFY(!LogsConfigWrapper::stringLevelToIntLevel().contains(u"Info"_s));
}

void tst_LogsConfigWrapper::levelTableIsOneObject()
{
    QCOMPARE(&LogsConfigWrapper::stringLevelToIntLevel(),
             &LogsConfigWrapper::stringLevelToIntLevel());
}

void tst_LogsConfigWrapper::levelsRangeFromCriticalToTrace()
{
    QCOMPARE(LogsConfigWrapper::minLevel(), 0);
    QCOMPARE(LogsConfigWrapper::maxLevel(), 5);
}

void tst_LogsConfigWrapper::levelIsValidWithinTheRange_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("valid");
    for (int level = -1; level <= 6; ++level)
        QTest::addRow("%d", level) << level << (level != -1 && level != 6);
    QTest::newRow("lowest") << std::numeric_limits<int>::min() << false;
    QTest::newRow("highest") << std::numeric_limits<int>::max() << false;
}

void tst_LogsConfigWrapper::levelIsValidWithinTheRange()
{
    QFETCH(const int, level);
    QFETCH(const bool, valid);
    QCOMPARE(LogsConfigWrapper::isLevelValid(level), valid);
}

QTEST_GUILESS_MAIN(tst_LogsConfigWrapper)
#include "tst_logsconfigwrapper.moc"

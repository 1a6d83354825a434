// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/logsconfigwrapper.h>

#include <tamsel/configurationmanager.h>

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <QtCore/QFile>
#include <QtCore/QScopeGuard>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <functional>
#include <limits>
#include <type_traits>

// What a host's logging library does: it completes the type that the header only declares.
namespace logging {
enum Level : int {
    Critical = 0,
    Error = 1,
    Warning = 2,
    Info = 3,
    Debug = 4,
    Trace = 5,
};
} // namespace logging

using namespace Qt::StringLiterals;
using namespace tamsel::tests;
using tamsel::ConfigurationManager;
using tamsel::LogsConfigWrapper;
using tamsel::SettingsType;

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

using Setter = std::function<void(LogsConfigWrapper &, SettingsType)>;

const QString group = u"Logging"_s;

/*! A manager on a directory of its own; log and handler write into the journal. */
class Host
{
public:
    Host()
    {
        manager.setPersistentStoragePath(path(QString()));
        manager.setAssetsPrefix(path(QString()));
    }

    /*! The path of \a file; the prefix of all files for an empty one. */
    QString path(const QString &file) const { return m_directory.path() + '/'_L1 + file; }

    void initAll()
    {
        for (const SettingsType type : tamsel::storagePriority)
            manager.initStorage(type);
        journal.take();
    }

    /*! A layer that holds \a entries in the group "Logging" just as they are. */
    void initFixed(const QVariantMap &entries, SettingsType type = SettingsType::Rdm)
    {
        manager.initStorage(type, {{group, entries}});
        journal.take();
    }

private:
    QTemporaryDir m_directory;

public:
    Journal journal;
    RecordingLogger logger{&journal};
    ConfigurationManager manager{&logger};
};

/*! Becomes a map, which a test counts. */
struct Convertible
{
};

} // namespace

class tst_LogsConfigWrapper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsAnswerWhereNoLayerHoldsTheKeys_data();
    void defaultsAnswerWhereNoLayerHoldsTheKeys();

    void eachReadAsksTheManagerOnce();
    void levelIsReadFromNumbersAndNames_data();
    void levelIsReadFromNumbersAndNames();
    void jsonLengthLimitConvertsUnchecked_data();
    void jsonLengthLimitConvertsUnchecked();
    void switchesConvertUnchecked_data();
    void switchesConvertUnchecked();
    void listsAreReadAsTheyAreStored_data();
    void listsAreReadAsTheyAreStored();

    void eachAccessorReadsItsOwnKey();
    void otherSpellingsAreNotRead();
    void fileIsReadAsText();

    void settersStoreInTheNamedLayerOnly_data();
    void settersStoreInTheNamedLayerOnly();
    void settersLogNothingThemselves();
    void settersAreRefusedByReadOnlyLayers_data();
    void settersAreRefusedByReadOnlyLayers();
    void settersDoNothingWithoutTheLayer();
    void levelOutsideTheRangeIsStoredAndReadAsUnset();

    void uppermostLayerAnswers();
    void commandLineOutranksTheFiles();
    void changesAreSeenAtOnce();
    void wrappersOverOneManagerAgree();
    void managerOutlivesTheWrapper();

    void levelNamesAreSixAndCaseSensitive();
    void levelTableIsOneObject();
    void levelsRangeFromCriticalToTrace();
    void levelIsValidWithinTheRange_data();
    void levelIsValidWithinTheRange();
};

void tst_LogsConfigWrapper::defaultsAnswerWhereNoLayerHoldsTheKeys_data()
{
    QTest::addColumn<bool>("withLayers");
    QTest::addColumn<QVariantMap>("rdm");
    QTest::newRow("no layers") << false << QVariantMap();
    QTest::newRow("empty layers") << true << QVariantMap();
    QTest::newRow("empty group") << true << QVariantMap{{group, QVariantMap()}};
    QTest::newRow("group that is no map") << true << QVariantMap{{group, 3}};
}

void tst_LogsConfigWrapper::defaultsAnswerWhereNoLayerHoldsTheKeys()
{
    QFETCH(bool, withLayers);
    QFETCH(QVariantMap, rdm);
    Host host;
    if (withLayers) {
        host.initAll();
        host.manager.initStorage(SettingsType::Rdm, rdm);
        host.journal.take();
    }

    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(int(logs.level()), -1);
    QCOMPARE(logs.jsonLengthLimit(), -1);
    QCOMPARE(logs.jsonFormattingEnabled(), false);
    QCOMPARE(logs.imageRequestsEnabled(), false);
    QCOMPARE(logs.modulesBlacklist(), QString());
    QCOMPARE(logs.modulesWhitelist(), QString());
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LogsConfigWrapper::eachReadAsksTheManagerOnce()
{
    // A group that has to be converted shows each look into the layer: whether it holds the key, and
    // the value. Asked twice, a change in between would mix two values.
    int looks = 0;
    QVERIFY((QMetaType::registerConverter<Convertible, QVariantMap>([&looks](const Convertible &) {
        ++looks;
        return QVariantMap{{u"level"_s, u"7"_s},
                           {u"blacklist"_s, u"net"_s},
                           {u"whitelist"_s, u"ui"_s},
                           {u"jsonLengthLimit"_s, 70},
                           {u"jsonFormattingEnabled"_s, true},
                           {u"imageRequestsEnabled"_s, true}};
    })));
    const auto unregister = qScopeGuard([] {
        QMetaType::unregisterConverterFunction(QMetaType::fromType<Convertible>(),
                                               QMetaType::fromType<QVariantMap>());
    });
    Host host;
    host.manager.initStorage(SettingsType::Rdm, {{group, QVariant::fromValue(Convertible())}});
    const LogsConfigWrapper logs(&host.manager);
    const auto looksOf = [&looks](const auto &read) {
        looks = 0;
        static_cast<void>(read());
        return looks;
    };
    QCOMPARE(looksOf([&logs] { return logs.level(); }), 2);
    QCOMPARE(looksOf([&logs] { return logs.modulesBlacklist(); }), 2);
    QCOMPARE(looksOf([&logs] { return logs.modulesWhitelist(); }), 2);
    QCOMPARE(looksOf([&logs] { return logs.jsonLengthLimit(); }), 2);
    QCOMPARE(looksOf([&logs] { return logs.jsonFormattingEnabled(); }), 2);
    QCOMPARE(looksOf([&logs] { return logs.imageRequestsEnabled(); }), 2);
}

void tst_LogsConfigWrapper::levelIsReadFromNumbersAndNames_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("level");

    QTest::newRow("number 0") << QVariant(0) << 0;
    QTest::newRow("number 1") << QVariant(1) << 1;
    QTest::newRow("number 2") << QVariant(2) << 2;
    QTest::newRow("number 3") << QVariant(3) << 3;
    QTest::newRow("number 4") << QVariant(4) << 4;
    QTest::newRow("number 5") << QVariant(5) << 5;
    QTest::newRow("number 6") << QVariant(6) << -1;
    QTest::newRow("number -1") << QVariant(-1) << -1;
    QTest::newRow("largest number") << QVariant(std::numeric_limits<int>::max()) << -1;
    QTest::newRow("smallest number") << QVariant(std::numeric_limits<int>::min()) << -1;
    QTest::newRow("unsigned number") << QVariant(4U) << 4;
    QTest::newRow("wide number") << QVariant(4LL) << 4;
    QTest::newRow("number of more than 32 bits") << QVariant(4294967298LL) << 2;

    QTest::newRow("critical") << QVariant(u"critical"_s) << 0;
    QTest::newRow("error") << QVariant(u"error"_s) << 1;
    QTest::newRow("warning") << QVariant(u"warning"_s) << 2;
    QTest::newRow("info") << QVariant(u"info"_s) << 3;
    QTest::newRow("debug") << QVariant(u"debug"_s) << 4;
    QTest::newRow("trace") << QVariant(u"trace"_s) << 5;
    QTest::newRow("name as bytes") << QVariant("debug"_ba) << 4;
    QTest::newRow("name in a list of one") << QVariant(QStringList{u"debug"_s}) << 4;

    QTest::newRow("text 0") << QVariant(u"0"_s) << 0;
    QTest::newRow("text 4") << QVariant(u"4"_s) << 4;
    QTest::newRow("text 5") << QVariant(u"5"_s) << 5;
    QTest::newRow("text 6") << QVariant(u"6"_s) << -1;
    QTest::newRow("text -1") << QVariant(u"-1"_s) << -1;

    // What is no number counts as 0, critical.
    QTest::newRow("Debug") << QVariant(u"Debug"_s) << 0;
    QTest::newRow("Info") << QVariant(u"Info"_s) << 0;
    QTest::newRow("INFO") << QVariant(u"INFO"_s) << 0;
    QTest::newRow("loud") << QVariant(u"loud"_s) << 0;
    QTest::newRow("verbose") << QVariant(u"verbose"_s) << 0;
    QTest::newRow("name with a blank") << QVariant(u"debug "_s) << 0;
    QTest::newRow("number with letters") << QVariant(u"4x"_s) << 0;
    QTest::newRow("number with fraction as text") << QVariant(u"4.0"_s) << 0;
    QTest::newRow("hexadecimal text") << QVariant(u"0x4"_s) << 0;
    QTest::newRow("empty text") << QVariant(u""_s) << 0;
    QTest::newRow("null text") << QVariant(QString()) << 0;
    QTest::newRow("list of two") << QVariant(QStringList{u"debug"_s, u"trace"_s}) << 0;
    QTest::newRow("map") << QVariant(QVariantMap{{u"debug"_s, 4}}) << 0;

    QTest::newRow("true") << QVariant(true) << 1;
    QTest::newRow("false") << QVariant(false) << 0;
    QTest::newRow("fraction, rounded down") << QVariant(4.4) << 4;
    QTest::newRow("fraction, rounded up") << QVariant(3.6) << 4;
    QTest::newRow("fraction, rounded out of the range") << QVariant(5.6) << -1;
    QTest::newRow("null number") << QVariant(QMetaType::fromType<int>()) << 0;
    QTest::newRow("invalid") << QVariant() << -1;
}

void tst_LogsConfigWrapper::levelIsReadFromNumbersAndNames()
{
    QFETCH(QVariant, stored);
    QFETCH(int, level);
    Host host;
    host.initFixed({{u"level"_s, stored}});
    QVERIFY(host.manager.contains(group, u"level"_s));
    QCOMPARE(int(LogsConfigWrapper(&host.manager).level()), level);
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_LogsConfigWrapper::jsonLengthLimitConvertsUnchecked_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("limit");
    QTest::newRow("number") << QVariant(250) << 250;
    QTest::newRow("zero") << QVariant(0) << 0;
    QTest::newRow("negative number") << QVariant(-5) << -5;
    QTest::newRow("largest number")
            << QVariant(std::numeric_limits<int>::max()) << std::numeric_limits<int>::max();
    QTest::newRow("number as text") << QVariant(u"250"_s) << 250;
    QTest::newRow("other text") << QVariant(u"long"_s) << 0;
    QTest::newRow("level name") << QVariant(u"debug"_s) << 0;
    QTest::newRow("empty text") << QVariant(u""_s) << 0;
    QTest::newRow("true") << QVariant(true) << 1;
    QTest::newRow("fraction") << QVariant(2.6) << 3;
    QTest::newRow("invalid") << QVariant() << 0; // held, so the default does not count
}

void tst_LogsConfigWrapper::jsonLengthLimitConvertsUnchecked()
{
    QFETCH(QVariant, stored);
    QFETCH(int, limit);
    Host host;
    host.initFixed({{u"jsonLengthLimit"_s, stored}});
    QCOMPARE(LogsConfigWrapper(&host.manager).jsonLengthLimit(), limit);
}

void tst_LogsConfigWrapper::switchesConvertUnchecked_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("text true") << QVariant(u"true"_s) << true;
    QTest::newRow("text false") << QVariant(u"false"_s) << false;
    QTest::newRow("text FALSE") << QVariant(u"FALSE"_s) << false;
    QTest::newRow("text 1") << QVariant(u"1"_s) << true;
    QTest::newRow("text 0") << QVariant(u"0"_s) << false;
    QTest::newRow("text no") << QVariant(u"no"_s) << true;
    QTest::newRow("empty text") << QVariant(u""_s) << false;
    QTest::newRow("number 2") << QVariant(2) << true;
    QTest::newRow("number 0") << QVariant(0) << false;
    QTest::newRow("invalid") << QVariant() << false;
}

void tst_LogsConfigWrapper::switchesConvertUnchecked()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, enabled);
    Host host;
    host.initFixed({{u"jsonFormattingEnabled"_s, stored}, {u"imageRequestsEnabled"_s, stored}});
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(logs.jsonFormattingEnabled(), enabled);
    QCOMPARE(logs.imageRequestsEnabled(), enabled);
}

void tst_LogsConfigWrapper::listsAreReadAsTheyAreStored_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("text");
    QTest::newRow("comma and blank") << QVariant(u"net, ui"_s) << u"net, ui"_s;
    QTest::newRow("blanks around, gap, twice the same")
            << QVariant(u" net,ui ,,net\t"_s) << u" net,ui ,,net\t"_s;
    QTest::newRow("upper and lower case") << QVariant(u"Net;nET"_s) << u"Net;nET"_s;
    QTest::newRow("empty text") << QVariant(u""_s) << QString();
    QTest::newRow("number") << QVariant(5) << u"5"_s;
    QTest::newRow("list of one") << QVariant(QStringList{u"net"_s}) << u"net"_s;
    QTest::newRow("list of two") << QVariant(QStringList{u"net"_s, u"ui"_s}) << QString();
    QTest::newRow("invalid") << QVariant() << QString();
}

void tst_LogsConfigWrapper::listsAreReadAsTheyAreStored()
{
    QFETCH(QVariant, stored);
    QFETCH(QString, text);
    Host host;
    host.initFixed({{u"blacklist"_s, stored}, {u"whitelist"_s, stored}});
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(logs.modulesBlacklist(), text);
    QCOMPARE(logs.modulesWhitelist(), text);
}

void tst_LogsConfigWrapper::eachAccessorReadsItsOwnKey()
{
    Host host;
    host.initFixed({{u"level"_s, 4},
                    {u"blacklist"_s, u"the blacklist"_s},
                    {u"whitelist"_s, u"the whitelist"_s},
                    {u"jsonLengthLimit"_s, 70},
                    {u"jsonFormattingEnabled"_s, true},
                    {u"imageRequestsEnabled"_s, false}});
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(logs.level(), logging::Debug);
    QCOMPARE(logs.modulesBlacklist(), u"the blacklist"_s);
    QCOMPARE(logs.modulesWhitelist(), u"the whitelist"_s);
    QCOMPARE(logs.jsonLengthLimit(), 70);
    QCOMPARE(logs.jsonFormattingEnabled(), true);
    QCOMPARE(logs.imageRequestsEnabled(), false);

    host.initFixed({{u"jsonFormattingEnabled"_s, false}, {u"imageRequestsEnabled"_s, true}});
    QCOMPARE(logs.jsonFormattingEnabled(), false);
    QCOMPARE(logs.imageRequestsEnabled(), true);
}

void tst_LogsConfigWrapper::otherSpellingsAreNotRead()
{
    const QVariantMap entries{{u"level"_s, 4},
                              {u"blacklist"_s, u"the blacklist"_s},
                              {u"whitelist"_s, u"the whitelist"_s},
                              {u"jsonLengthLimit"_s, 70},
                              {u"jsonFormattingEnabled"_s, true},
                              {u"imageRequestsEnabled"_s, true}};
    QVariantMap capitals;
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
        capitals.insert(entry.key().toUpper(), entry.value());

    Host host;
    host.manager.initStorage(SettingsType::Rdm,
                             {{u"logging"_s, entries},
                              {u"Log"_s, entries},
                              {QString(), entries},
                              {group, capitals}});
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(int(logs.level()), -1);
    QCOMPARE(logs.modulesBlacklist(), QString());
    QCOMPARE(logs.modulesWhitelist(), QString());
    QCOMPARE(logs.jsonLengthLimit(), -1);
    QCOMPARE(logs.jsonFormattingEnabled(), false);
    QCOMPARE(logs.imageRequestsEnabled(), false);
}

void tst_LogsConfigWrapper::fileIsReadAsText()
{
    Host host;
    QFile file(host.path(u"ravona.conf"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Logging]\n"
               "level=warning\n"
               "blacklist=\"net, ui\"\n"
               "whitelist=core\n"
               "jsonLengthLimit=1024\n"
               "jsonFormattingEnabled=true\n"
               "imageRequestsEnabled=1\n");
    file.close();

    host.manager.initStorage(SettingsType::RavonaConfDefault);
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(logs.level(), logging::Warning);
    QCOMPARE(logs.modulesBlacklist(), u"net, ui"_s);
    QCOMPARE(logs.modulesWhitelist(), u"core"_s);
    QCOMPARE(logs.jsonLengthLimit(), 1024);
    QCOMPARE(logs.jsonFormattingEnabled(), true);
    QCOMPARE(logs.imageRequestsEnabled(), true);
}

void tst_LogsConfigWrapper::settersStoreInTheNamedLayerOnly_data()
{
    QTest::addColumn<Setter>("set");
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("stored");

    const struct
    {
        SettingsType type;
        const char *name;
    } layers[] = {
            {SettingsType::Runtime, "Runtime"},
            {SettingsType::SystemProperties, "SystemProperties"},
            {SettingsType::CustomConfPersistent, "CustomConfPersistent"},
            {SettingsType::SelviDb, "SelviDb"},
            {SettingsType::RavonaConfDefault, "RavonaConfDefault"},
    };
    const struct
    {
        const char *name;
        Setter set;
        QString key;
        QString stored;
    } setters[] = {
            {"level",
             [](LogsConfigWrapper &logs, SettingsType type) { logs.setLevel(logging::Info, type); },
             u"level"_s, u"int(3)"_s},
            {"critical level",
             [](LogsConfigWrapper &logs, SettingsType type) {
                 logs.setLevel(logging::Critical, type);
             },
             u"level"_s, u"int(0)"_s},
            {"limit",
             [](LogsConfigWrapper &logs, SettingsType type) { logs.setJsonLengthLimit(70, type); },
             u"jsonLengthLimit"_s, u"int(70)"_s},
            {"no limit",
             [](LogsConfigWrapper &logs, SettingsType type) { logs.setJsonLengthLimit(-1, type); },
             u"jsonLengthLimit"_s, u"int(-1)"_s},
            {"formatting on",
             [](LogsConfigWrapper &logs, SettingsType type) {
                 logs.setJsonFormattingEnabled(true, type);
             },
             u"jsonFormattingEnabled"_s, u"bool(true)"_s},
            {"formatting off",
             [](LogsConfigWrapper &logs, SettingsType type) {
                 logs.setJsonFormattingEnabled(false, type);
             },
             u"jsonFormattingEnabled"_s, u"bool(false)"_s},
            {"images on",
             [](LogsConfigWrapper &logs, SettingsType type) {
                 logs.setImageRequestsEnabled(true, type);
             },
             u"imageRequestsEnabled"_s, u"bool(true)"_s},
            {"images off",
             [](LogsConfigWrapper &logs, SettingsType type) {
                 logs.setImageRequestsEnabled(false, type);
             },
             u"imageRequestsEnabled"_s, u"bool(false)"_s},
    };
    for (const auto &setter : setters) {
        for (const auto &layer : layers) {
            QTest::addRow("%s in %s", setter.name, layer.name)
                    << setter.set << layer.type << setter.key << setter.stored;
        }
    }
}

void tst_LogsConfigWrapper::settersStoreInTheNamedLayerOnly()
{
    QFETCH(Setter, set);
    QFETCH(SettingsType, type);
    QFETCH(QString, key);
    QFETCH(QString, stored);
    Host host;
    host.initAll();
    Journal changes;
    RecordingHandler handler(&changes);
    host.manager.appendConfigurationHandler(&handler);

    LogsConfigWrapper logs(&host.manager);
    set(logs, type);

    const QString typeKey = QVariant::fromValue(type).toString();
    QCOMPARE(changes.take(),
             QStringList(u"handler: %1 Logging/%2 = %3"_s.arg(typeKey, key, stored)));
    QList<SettingsType> holders;
    for (const SettingsType layer : tamsel::storagePriority) {
        if (host.manager.contains(group, key, layer))
            holders.append(layer);
    }
    QCOMPARE(holders, QList<SettingsType>{type});
    QCOMPARE(describe(host.manager.value(group, key)), stored);

    set(logs, type);
    QCOMPARE(changes.take(), QStringList()); // an equal value is not written again
}

void tst_LogsConfigWrapper::settersLogNothingThemselves()
{
    Host host;
    host.initAll();
    LogsConfigWrapper logs(&host.manager);
    logs.setLevel(logging::Trace, SettingsType::Runtime);
    logs.setJsonLengthLimit(70, SettingsType::Runtime);
    logs.setJsonFormattingEnabled(true, SettingsType::Runtime);
    logs.setImageRequestsEnabled(true, SettingsType::Runtime);
    // These are the manager's.
    const QStringList expected{
            u"debug: Top value changed Runtime: Logging/level = '5'"_s,
            u"debug: Top value changed Runtime: Logging/jsonLengthLimit = '70'"_s,
            u"debug: Top value changed Runtime: Logging/jsonFormattingEnabled = 'true'"_s,
            u"debug: Top value changed Runtime: Logging/imageRequestsEnabled = 'true'"_s};
    QCOMPARE(host.journal.take(), expected);
}

void tst_LogsConfigWrapper::settersAreRefusedByReadOnlyLayers_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::newRow("CommandLineArgs") << SettingsType::CommandLineArgs;
    QTest::newRow("Rdm") << SettingsType::Rdm;
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys;
}

void tst_LogsConfigWrapper::settersAreRefusedByReadOnlyLayers()
{
    QFETCH(SettingsType, type);
    Host host;
    host.initFixed({{u"level"_s, u"debug"_s}}, type);
    LogsConfigWrapper logs(&host.manager);
    const QStringList refusal{u"error: The storage doesn't support writing!"_s};

    logs.setLevel(logging::Error, type);
    QCOMPARE(host.journal.take(), refusal);
    logs.setJsonLengthLimit(70, type);
    QCOMPARE(host.journal.take(), refusal);
    logs.setJsonFormattingEnabled(true, type);
    QCOMPARE(host.journal.take(), refusal);
    logs.setImageRequestsEnabled(true, type);
    QCOMPARE(host.journal.take(), refusal);

    QCOMPARE(logs.level(), logging::Debug);
    QCOMPARE(logs.jsonLengthLimit(), -1);
    QCOMPARE(logs.jsonFormattingEnabled(), false);
    QCOMPARE(logs.imageRequestsEnabled(), false);
}

void tst_LogsConfigWrapper::settersDoNothingWithoutTheLayer()
{
    Host host;
    host.manager.initStorage(SettingsType::SystemProperties);
    host.journal.take();
    LogsConfigWrapper logs(&host.manager);

    logs.setLevel(logging::Error, SettingsType::Runtime);
    logs.setJsonLengthLimit(70, SettingsType::Runtime);
    logs.setJsonFormattingEnabled(true, SettingsType::Runtime);
    logs.setImageRequestsEnabled(true, SettingsType::Runtime);

    QCOMPARE(host.journal.take(), QStringList());
    QCOMPARE(int(logs.level()), -1);
    QCOMPARE(logs.jsonLengthLimit(), -1);
    QCOMPARE(logs.jsonFormattingEnabled(), false);
    QCOMPARE(logs.imageRequestsEnabled(), false);
}

void tst_LogsConfigWrapper::levelOutsideTheRangeIsStoredAndReadAsUnset()
{
    Host host;
    host.manager.initStorage(SettingsType::Runtime);
    LogsConfigWrapper logs(&host.manager);
    logs.setLevel(logging::Level(9), SettingsType::Runtime);
    QCOMPARE(describe(host.manager.value(group, u"level"_s)), u"int(9)"_s);
    QCOMPARE(int(logs.level()), -1);
    logs.setLevel(logging::Level(-1), SettingsType::Runtime);
    QCOMPARE(describe(host.manager.value(group, u"level"_s)), u"int(-1)"_s);
    QCOMPARE(int(logs.level()), -1);
}

void tst_LogsConfigWrapper::uppermostLayerAnswers()
{
    Host host;
    LogsConfigWrapper logs(&host.manager);
    for (const SettingsType type : tamsel::storagePriority) {
        const int limit = 100 + tamsel::priorityOf(type);
        host.manager.initStorage(type, {{group, QVariantMap{{u"jsonLengthLimit"_s, limit}}}});
        if (!host.manager.contains(group, u"jsonLengthLimit"_s, type))
            logs.setJsonLengthLimit(limit, type);
    }

    for (int rank = 0; rank < 8; ++rank) {
        QCOMPARE(logs.jsonLengthLimit(), 100 + rank);
        host.manager.clearStorage(tamsel::storagePriority.at(rank));
    }
    QCOMPARE(logs.jsonLengthLimit(), -1);
}

void tst_LogsConfigWrapper::commandLineOutranksTheFiles()
{
    Host host;
    LogsConfigWrapper logs(&host.manager);
    host.manager.initStorage(SettingsType::RavonaConfDefault);
    logs.setLevel(logging::Trace, SettingsType::RavonaConfDefault);
    host.manager.initStorage(SettingsType::CustomConfPersistent);
    host.manager.setValue(group, u"level"_s, u"debug"_s, SettingsType::CustomConfPersistent);
    QCOMPARE(logs.level(), logging::Debug);

    host.initFixed({{u"level"_s, 3}}, SettingsType::CommandLineArgs);
    QCOMPARE(logs.level(), logging::Info);

    // What the uppermost layer holds counts, usable or not.
    host.initFixed({{u"level"_s, 6}}, SettingsType::CommandLineArgs);
    QCOMPARE(int(logs.level()), -1);
    host.initFixed({{u"level"_s, QVariant()}}, SettingsType::CommandLineArgs);
    QCOMPARE(int(logs.level()), -1);
}

void tst_LogsConfigWrapper::changesAreSeenAtOnce()
{
    Host host;
    const LogsConfigWrapper logs(&host.manager);
    QCOMPARE(int(logs.level()), -1);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(group, u"level"_s, u"trace"_s, SettingsType::Runtime);
    QCOMPARE(logs.level(), logging::Trace);
    host.manager.setValue(group, u"level"_s, 1, SettingsType::Runtime);
    QCOMPARE(logs.level(), logging::Error);
    host.manager.removeValue(group, u"level"_s, SettingsType::Runtime);
    QCOMPARE(int(logs.level()), -1);
}

void tst_LogsConfigWrapper::wrappersOverOneManagerAgree()
{
    Host host;
    host.manager.initStorage(SettingsType::Runtime);
    LogsConfigWrapper writer(&host.manager);
    const LogsConfigWrapper reader(&host.manager);
    writer.setLevel(logging::Info, SettingsType::Runtime);
    writer.setJsonLengthLimit(70, SettingsType::Runtime);
    writer.setJsonFormattingEnabled(true, SettingsType::Runtime);
    writer.setImageRequestsEnabled(true, SettingsType::Runtime);
    QCOMPARE(reader.level(), logging::Info);
    QCOMPARE(reader.jsonLengthLimit(), 70);
    QCOMPARE(reader.jsonFormattingEnabled(), true);
    QCOMPARE(reader.imageRequestsEnabled(), true);

    Host other;
    QCOMPARE(int(LogsConfigWrapper(&other.manager).level()), -1);
}

void tst_LogsConfigWrapper::managerOutlivesTheWrapper()
{
    Host host;
    host.manager.initStorage(SettingsType::Runtime);
    {
        LogsConfigWrapper logs(&host.manager);
        logs.setJsonLengthLimit(70, SettingsType::Runtime);
        host.journal.take();
    }
    QCOMPARE(host.journal.take(), QStringList());
    QCOMPARE(host.manager.value(group, u"jsonLengthLimit"_s), QVariant(70));
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
    const QHash<QString, int> &first = LogsConfigWrapper::stringLevelToIntLevel();
    const QHash<QString, int> &second = LogsConfigWrapper::stringLevelToIntLevel();
    QCOMPARE(&first, &second);
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
    QTest::newRow("-1") << -1 << false;
    QTest::newRow("0") << 0 << true;
    QTest::newRow("1") << 1 << true;
    QTest::newRow("2") << 2 << true;
    QTest::newRow("3") << 3 << true;
    QTest::newRow("4") << 4 << true;
    QTest::newRow("5") << 5 << true;
    QTest::newRow("6") << 6 << false;
    QTest::newRow("smallest") << std::numeric_limits<int>::min() << false;
    QTest::newRow("largest") << std::numeric_limits<int>::max() << false;
}

void tst_LogsConfigWrapper::levelIsValidWithinTheRange()
{
    QFETCH(int, level);
    QFETCH(bool, valid);
    QCOMPARE(LogsConfigWrapper::isLevelValid(level), valid);
}

QTEST_GUILESS_MAIN(tst_LogsConfigWrapper)

#include "tst_logsconfigwrapper.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"
#include "threads.h"

#include <tamsel/host/settingscatalogue.h>
#include <tamsel/host/snapshot.h>
#include <tamsel/tamselversion.h>

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSysInfo>
#include <QtTest/QTest>

#include <atomic>
#include <functional>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;
using tamsel::host::Redaction;
using tamsel::host::SettingsCatalogue;
using tamsel::host::Snapshot;
using tamsel::tests::nameOf;
using tamsel::tests::runTogether;
using tamsel::tests::TestHost;

namespace {

QByteArray written(const Snapshot &snapshot)
{
    QBuffer buffer;
    if (!buffer.open(QIODevice::WriteOnly) || !snapshot.write(&buffer))
        qFatal("the snapshot was not written");
    return buffer.data();
}

QJsonObject parsed(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonObject result = QJsonDocument::fromJson(json, &error).object();
    if (error.error != QJsonParseError::NoError)
        qFatal("%s: %s", qUtf8Printable(error.errorString()), json.constData());
    return result;
}

// The settings of a snapshot that is taken now.
QJsonArray settingsOf(const TestHost &host, const SettingsCatalogue &catalogue,
                      const Redaction &redaction = Redaction())
{
    return parsed(written(Snapshot::take(host.manager, catalogue, redaction)))[u"settings"]
            .toArray();
}

// A device that is full after a number of bytes.
class FullDevice : public QIODevice
{
public:
    explicit FullDevice(qint64 room) : m_room(room) { setOpenMode(WriteOnly); }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        if (size > m_room)
            return -1;
        m_room -= size;
        return size;
    }

private:
    qint64 m_room;
};

// A group that calls the hook for its entries with every lookup, so that they can change.
struct LivingGroup
{
    static inline std::function<QVariantMap()> entries;
};

struct NotComparable
{
    int number = 0;
};

} // namespace

Q_DECLARE_METATYPE(LivingGroup)
Q_DECLARE_METATYPE(NotComparable)

class tst_Snapshot : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();

    void itShowsWhatEachLayerHolds();
    void aSettingIsALine();
    void theProcessIsNamed();
    void theLayersAreShown();
    void aDamagedFileIsShown();
    void theLastChangesAreShown();
    void whatNoLayerHoldsIsLeftOut();
    void secretsAreRedacted();
    void valuesAreShown_data();
    void valuesAreShown();
    void itIsOfTheMomentWhenItWasTaken();
    void aDeviceThatIsFullIsReported();
    void aChangeInBetweenIsLookedUpAgain_data();
    void aChangeInBetweenIsLookedUpAgain();
    void aSettingThatGoesInBetweenIsLeftOut_data();
    void aSettingThatGoesInBetweenIsLeftOut();
    void whatIsGoneEachTimeItIsReadIsNotShown();
    void whatChangesAllTheTimeIsMarked();
    void withFourWritersEveryValueIsThatOfItsOrigin();
};

void tst_Snapshot::initTestCase()
{
    QVERIFY((QMetaType::registerConverter<LivingGroup, QVariantMap>(
            [](const LivingGroup &) { return LivingGroup::entries(); })));
}

// For every two layers there is a setting that both hold.
void tst_Snapshot::itShowsWhatEachLayerHolds()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    for (const SettingsType type : tamsel::storagePriority) {
        QVariantMap entries{{u"all"_s, nameOf(type)}};
        for (const SettingsType other : tamsel::storagePriority) {
            const bool isFirst = type < other;
            entries.insert(nameOf(isFirst ? type : other) + nameOf(isFirst ? other : type),
                           nameOf(type));
        }
        host.init(type, entries);
        if (tamsel::tests::memoryLayers.contains(type)) {
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
                host.manager.setValue(u"g"_s, entry.key(), entry.value(), type);
        }
    }
    const QJsonArray settings = settingsOf(host, catalogue);
    QCOMPARE(settings.size(), 1 + 8 + 28);
    for (const QJsonValue &setting : settings) {
        const QString group = setting[u"group"].toString();
        const QString key = setting[u"key"].toString();
        QStringList holding;
        for (const SettingsType type : tamsel::storagePriority) {
            if (host.manager.contains(group, key, type))
                holding.append(nameOf(type));
        }
        QStringList shown{setting[u"origin"].toString()};
        const QJsonArray overridden = setting[u"overridden"].toArray();
        for (const QJsonValue &layer : overridden)
            shown.append(layer[u"layer"].toString());
        QCOMPARE(shown, holding);
        QCOMPARE(setting[u"value"].toString(), host.manager.value(group, key).toString());
        QCOMPARE(setting[u"value"], setting[u"origin"]);
        QVERIFY(setting[u"settled"].toBool());
        QVERIFY(setting[u"changes"].toInt() > 0);
    }
}

void tst_Snapshot::aSettingIsALine()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.init(SettingsType::RavonaConfDefault, {{u"k"_s, u"low"_s}});
    host.init(SettingsType::SelviDb, {{u"k"_s, u"high"_s}});
    Snapshot snapshot = Snapshot::take(host.manager, catalogue);
    snapshot.setAssetsPrefix(host.assetsPrefix());
    const QString line = uR"(
{"group":"g","key":"k","value":"high","type":"QString","redacted":null,"origin":"SelviDb","file":"%1",)"
                         uR"("overridden":[{"layer":"RavonaConfDefault","value":null,"type":null,)"
                         uR"("redacted":null,"file":"%2","entry":null}],"changes":2,"settled":true}
)"_s.arg(host.filePath(SettingsType::SelviDb), host.filePath(SettingsType::RavonaConfDefault));
    const QString json = QString::fromUtf8(written(snapshot));
    QVERIFY2(json.contains(u"\n\"settings\":["_s + line + u"],\n"_s), qUtf8Printable(json));
}

void tst_Snapshot::theProcessIsNamed()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    QCoreApplication::setApplicationName(u"box \"7\""_s);
    QCoreApplication::setApplicationVersion(u"1.2"_s);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    Snapshot snapshot = Snapshot::take(host.manager, catalogue, Redaction({u"a*"_s}));
    snapshot.setAssetsPrefix(u"/assets/"_s);
    const QJsonObject json = parsed(written(snapshot));
    QCOMPARE(json[u"snapshot"], 1);
    QCOMPARE(json[u"process"][u"name"], u"box \"7\""_s);
    QCOMPARE(json[u"process"][u"pid"], QCoreApplication::applicationPid());
    QCOMPARE(json[u"process"][u"host"], QSysInfo::machineHostName());
    QCOMPARE(json[u"versions"][u"application"], u"1.2"_s);
    QCOMPARE(json[u"versions"][u"tamsel"], QStringLiteral(TAMSEL_VERSION_STRING));
    QCOMPARE(json[u"versions"][u"qt"], QLatin1StringView(qVersion()));
    QCOMPARE(json[u"paths"][u"persistentStorage"], host.manager.persistentStoragePath());
    QCOMPARE(json[u"paths"][u"assets"], u"/assets/"_s);
    QCOMPARE(json[u"redaction"], QJsonArray({u"a*"_s}));
    QCOMPARE(json[u"warnings"], QJsonArray());
    const QString time = json[u"time"].toString();
    QVERIFY2(time.endsWith(u'Z'), qUtf8Printable(time));
    const QDateTime taken = QDateTime::fromString(time, Qt::ISODateWithMs);
    QVERIFY(before <= taken && taken <= QDateTime::currentDateTimeUtc());

    QCoreApplication::setApplicationName(QString());
    QCoreApplication::setApplicationVersion(QString());
    const QJsonObject other = parsed(written(Snapshot::take(host.manager, catalogue)));
    QVERIFY(other[u"process"][u"name"].toString().contains(u"tst_snapshot"_s));
    QCOMPARE(other[u"paths"][u"assets"], QJsonValue());
    QCOMPARE(other[u"redaction"].toArray().size(), 4);
}

void tst_Snapshot::theLayersAreShown()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Rdm);
    host.init(SettingsType::SelviDb, {{u"k"_s, u"v"_s}});
    const QString json = QString::fromUtf8(written(Snapshot::take(host.manager, catalogue)));
    const QString lines = uR"(
"layers":[
{"rank":0,"layer":"Runtime","present":false,"available":false,"file":null},
{"rank":1,"layer":"Rdm","present":true,"available":true,"file":null},
{"rank":2,"layer":"FeatureKeys","present":false,"available":false,"file":null},
{"rank":3,"layer":"SystemProperties","present":false,"available":false,"file":null},
{"rank":4,"layer":"CommandLineArgs","present":false,"available":false,"file":null},
{"rank":5,"layer":"CustomConfPersistent","present":null,"available":false,"file":"%1"},
{"rank":6,"layer":"SelviDb","present":true,"available":true,"file":"%2"},
{"rank":7,"layer":"RavonaConfDefault","present":null,"available":false,"file":null}
],
)"_s.arg(host.filePath(SettingsType::CustomConfPersistent), host.filePath(SettingsType::SelviDb));
    QVERIFY2(json.contains(lines), qUtf8Printable(json));
}

void tst_Snapshot::aDamagedFileIsShown()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    QVERIFY(tamsel::tests::writeFile(host.filePath(SettingsType::SelviDb), "[g]\nk=v\n[ui\n"));
    host.manager.initStorage(SettingsType::SelviDb);
    QVERIFY(!host.manager.storageAvailable(SettingsType::SelviDb));
    const QJsonObject json = parsed(written(Snapshot::take(host.manager, catalogue)));
    const QJsonValue layer = json[u"layers"][6];
    QCOMPARE(layer[u"present"], true);
    QCOMPARE(layer[u"available"], false);
}

void tst_Snapshot::theLastChangesAreShown()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager, 2);
    host.manager.initStorage(SettingsType::Runtime);
    for (const QVariant &value : {QVariant(1), QVariant(u"one"_s)})
        host.manager.setValue(u"g"_s, u"k"_s, value, SettingsType::Runtime);
    host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime);
    QString json = QString::fromUtf8(written(Snapshot::take(host.manager, catalogue)));
    static const QRegularExpression time(uR"("time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")"_s);
    json.replace(time, u"TIME"_s);
    const QString lines = uR"(
"settings":[
],
"changes":[
{"number":2,TIME,"group":"g","key":"k","value":"one","type":"QString","redacted":null,"origin":"Runtime"},
{"number":3,TIME,"group":"g","key":"k","value":null,"type":null,"redacted":null,"origin":"Runtime"}
],
"warnings":[]}
)"_s;
    QVERIFY2(json.endsWith(lines), qUtf8Printable(json));
}

void tst_Snapshot::whatNoLayerHoldsIsLeftOut()
{
    TestHost host;
    SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"gone"_s, 1, SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"kept"_s, 1, SettingsType::Runtime);
    host.manager.removeValue(u"g"_s, u"gone"_s, SettingsType::Runtime);
    catalogue.remember(u"g"_s, u"never"_s);
    const QJsonArray settings = settingsOf(host, catalogue);
    QCOMPARE(settings.size(), 1);
    QCOMPARE(settings.at(0)[u"key"], u"kept"_s);
}

void tst_Snapshot::secretsAreRedacted()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    const QVariantMap values{
            {u"password"_s, u"hunter2"_s},
            {u"password-1-empty"_s, u""_s},
            {u"password-2"_s, 22222},
            {u"password-3-empty"_s, QVariantMap()},
            {u"password-4"_s, QByteArray("hunter2")},
            {u"password-5-empty"_s, QByteArray()},
            {u"password-6-empty"_s, QStringList()},
            {u"password-7-empty"_s, QVariantHash()},
            {u"password-8"_s, QStringList{u"hunter2"_s}},
            {u"password-9-empty"_s, QVariantList()},
    };
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        host.manager.setValue(u"g"_s, value.key(), u"hunter2"_s, SettingsType::Runtime);
        host.manager.setValue(u"g"_s, value.key(), *value, SettingsType::Runtime);
    }
    host.manager.setValue(u"g"_s, u"account"_s, QVariantMap{{u"pin"_s, u"hunter2"_s}},
                          SettingsType::Runtime);
    const QByteArray json = written(Snapshot::take(host.manager, catalogue));
    QVERIFY2(!json.contains("hunter2") && !json.contains("22222"), json.constData());
    const QJsonArray settings = parsed(json)[u"settings"].toArray();
    QCOMPARE(settings.size(), values.size() + 1);
    QCOMPARE(settings.at(0)[u"value"], QJsonObject({{u"pin"_s, u"(redacted)"_s}}));
    for (qsizetype i = 1; i < settings.size(); ++i) {
        const QJsonValue setting = settings.at(i);
        const QString key = setting[u"key"].toString();
        QCOMPARE(setting[u"value"], u"(redacted)"_s);
        QCOMPARE(setting[u"redacted"], key.endsWith(u"empty"_s) ? u"empty"_s : u"not empty"_s);
        QCOMPARE(setting[u"type"], QLatin1StringView(values[key].typeName()));
        QCOMPARE(setting[u"origin"], u"Runtime"_s);
    }
    QVERIFY(written(Snapshot::take(host.manager, catalogue, Redaction({u"*pin*"_s})))
                    .contains("hunter2"));
}

void tst_Snapshot::valuesAreShown_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("text") << QVariant(u"\"a\\\n\u202e\u00e9"_s)
                          << "\"\\\"a\\\\\\n\\u202e\xc3\xa9\",\"type\":\"QString\""_ba;
    QTest::newRow("large number") << QVariant(18446744073709551615ULL)
                                  << "18446744073709551615,\"type\":\"qulonglong\""_ba;
    QTest::newRow("not a number") << QVariant(qQNaN()) << "\"nan\",\"type\":\"double\""_ba;
    QTest::newRow("bool") << QVariant(true) << "true,\"type\":\"bool\""_ba;
    QTest::newRow("bytes") << QVariant("\xff\\"_ba) << R"("\\xff\\\\","type":"QByteArray")"_ba;
    QTest::newRow("list") << QVariant(QVariantList{1, QVariant(), u"x"_s})
                          << R"([1,null,"x"],"type":"QVariantList")"_ba;
    QTest::newRow("cannot be compared")
            << QVariant::fromValue(NotComparable{5}) << R"(NotComparable",)"_ba;
    QVariant deep = 1;
    QVariant shallower;
    for (int i = 0; i < 500; ++i) {
        shallower = deep;
        deep = QVariantList{deep};
    }
    QTest::newRow("500 levels") << deep
                                << QByteArray(500, '[') + "1" + QByteArray(500, ']') + ",\"type"_ba;
    QTest::newRow("500 levels, one of them a QVariant")
            << QVariant(QMetaType::fromType<QVariant>(), &shallower)
            << ":" + QByteArray(499, '[') + "1" + QByteArray(499, ']') + ",\"type"_ba;
    QTest::newRow("501 levels") << QVariant(QVariantList{deep})
                                << "[\"(nested too deep)\"]" + QByteArray(500, ']') + ",\"type"_ba;
}

void tst_Snapshot::valuesAreShown()
{
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, json);

    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    const SettingsCatalogue catalogue(&host.manager, 0);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, value, SettingsType::Runtime);
    const QByteArray text = written(Snapshot::take(host.manager, catalogue));
    QVERIFY2(text.contains(json), text.constData());
    QVERIFY2(text.contains("\"settled\":true"), text.constData());
}

void tst_Snapshot::itIsOfTheMomentWhenItWasTaken()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.setValue(u"g"_s, u"k"_s, 1, SettingsType::Runtime);
    Snapshot first = Snapshot::take(host.manager, catalogue);
    const QByteArray before = written(first);
    host.manager.setValue(u"g"_s, u"k"_s, 2, SettingsType::Runtime);
    QCOMPARE(written(first), before);
    const Snapshot moved = std::move(first);
    QCOMPARE(written(moved), before);
    first = Snapshot::take(host.manager, catalogue);
    QVERIFY(written(first) != before);
}

void tst_Snapshot::aDeviceThatIsFullIsReported()
{
    TestHost host;
    const SettingsCatalogue catalogue(&host.manager);
    host.init(SettingsType::Rdm, {{u"k"_s, u"v"_s}});
    const Snapshot snapshot = Snapshot::take(host.manager, catalogue);
    const qint64 size = written(snapshot).size();
    for (qint64 room = 0; room < size; room += 7) {
        FullDevice device(room);
        QVERIFY(!snapshot.write(&device));
    }
    FullDevice last(size - 1);
    QVERIFY(!snapshot.write(&last));
    FullDevice device(size);
    QVERIFY(snapshot.write(&device));

    // QFile buffers: the error appears only when it is flushed.
    QFile full(u"/dev/full"_s);
    QVERIFY(full.open(QIODevice::WriteOnly));
    QVERIFY(!snapshot.write(&full));
}

void tst_Snapshot::aChangeInBetweenIsLookedUpAgain_data()
{
    QTest::addColumn<int>("lookups");
    QTest::addColumn<bool>("changesOrigin");

    // The setting changes up to this lookup: enough for several attempts.
    for (int lookups = 1; lookups < 40; ++lookups) {
        QTest::addRow("value, %d", lookups) << lookups << false;
        QTest::addRow("origin, %d", lookups) << lookups << true;
    }
}

// As if another thread changed the setting with every lookup, and then stopped.
void tst_Snapshot::aChangeInBetweenIsLookedUpAgain()
{
    QFETCH(const int, lookups);
    QFETCH(const bool, changesOrigin);

    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    SettingsCatalogue catalogue(&host.manager);
    host.init(SettingsType::FeatureKeys, {{u"k"_s, u"FeatureKeys"_s}});
    int count = 0;
    // cppcheck-suppress danglingLifetime
    LivingGroup::entries = [&]() -> QVariantMap {
        count = std::min(count + 1, lookups);
        if (changesOrigin && count % 2 == 0)
            return {};
        return {{u"k"_s, u"Rdm %1"_s.arg(count)}};
    };
    host.manager.initStorage(SettingsType::Rdm, {{u"g"_s, QVariant::fromValue(LivingGroup())}});
    catalogue.remember(u"g"_s, u"k"_s);
    count = 0;
    const QJsonArray settings = settingsOf(host, catalogue);
    QCOMPARE(settings.size(), 1);
    const QJsonValue setting = settings.at(0);
    QVERIFY(setting[u"settled"].toBool());
    const bool isInRdm = !changesOrigin || lookups % 2 != 0;
    QCOMPARE(setting[u"origin"], isInRdm ? u"Rdm"_s : u"FeatureKeys"_s);
    QCOMPARE(setting[u"value"], isInRdm ? u"Rdm %1"_s.arg(lookups) : u"FeatureKeys"_s);
    QCOMPARE(setting[u"overridden"].toArray().size(), isInRdm ? 1 : 0);
}

void tst_Snapshot::aSettingThatGoesInBetweenIsLeftOut_data()
{
    QTest::addColumn<int>("lookups");

    for (int lookups = 0; lookups < 15; ++lookups)
        QTest::addRow("%d", lookups) << lookups;
}

// As if another thread removed the setting from its only layer during the lookups.
void tst_Snapshot::aSettingThatGoesInBetweenIsLeftOut()
{
    QFETCH(const int, lookups);

    TestHost host;
    SettingsCatalogue catalogue(&host.manager);
    int left = 0;
    // cppcheck-suppress danglingLifetime
    LivingGroup::entries = [&left]() -> QVariantMap {
        return left-- > 0 ? QVariantMap{{u"k"_s, u"v"_s}} : QVariantMap();
    };
    host.manager.initStorage(SettingsType::Rdm, {{u"g"_s, QVariant::fromValue(LivingGroup())}});
    catalogue.remember(u"g"_s, u"k"_s);
    left = lookups;
    const bool isShown = !settingsOf(host, catalogue).isEmpty();
    QCOMPARE(isShown, left >= 0); // it was held in every lookup
}

void tst_Snapshot::whatIsGoneEachTimeItIsReadIsNotShown()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    SettingsCatalogue catalogue(&host.manager);
    int lookups = 0;
    // cppcheck-suppress danglingLifetime
    LivingGroup::entries = [&lookups]() -> QVariantMap {
        return lookups++ % 2 != 0 ? QVariantMap{{u"k"_s, u"v"_s}} : QVariantMap();
    };
    host.manager.initStorage(SettingsType::Rdm, {{u"g"_s, QVariant::fromValue(LivingGroup())}});
    catalogue.remember(u"g"_s, u"k"_s);
    lookups = 0;
    QCOMPARE(settingsOf(host, catalogue), QJsonArray());
    QVERIFY(lookups > 2);
}

void tst_Snapshot::whatChangesAllTheTimeIsMarked()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    SettingsCatalogue catalogue(&host.manager);
    int count = 0;
    // cppcheck-suppress danglingLifetime
    LivingGroup::entries = [&count]() -> QVariantMap { return {{u"k"_s, ++count}}; };
    host.manager.initStorage(SettingsType::Rdm, {{u"g"_s, QVariant::fromValue(LivingGroup())}});
    catalogue.remember(u"g"_s, u"k"_s);
    const QJsonArray settings = settingsOf(host, catalogue);
    QCOMPARE(settings.size(), 1);
    QCOMPARE(settings.at(0)[u"settled"], false);
    QCOMPARE(settings.at(0)[u"origin"], u"Rdm"_s);
    QVERIFY(settings.at(0)[u"value"].toInt() > 0);
}

// The values name their layer.
void tst_Snapshot::withFourWritersEveryValueIsThatOfItsOrigin()
{
    constexpr int writers = 4;
    constexpr int snapshots = 20;
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    const SettingsCatalogue catalogue(&host.manager);
    host.init(SettingsType::Rdm, {{u"2"_s, u"Rdm"_s}});
    host.init(SettingsType::FeatureKeys, {{u"0"_s, u"FeatureKeys"_s}});
    host.init(SettingsType::RavonaConfDefault, {{u"1"_s, u"RavonaConfDefault"_s}});
    host.manager.initStorage(SettingsType::Runtime);
    host.manager.initStorage(SettingsType::SystemProperties);
    std::atomic<bool> isDone = false;
    QStringList problems;
    int settled = 0;
    runTogether(writers + 1, [&](int thread) {
        if (thread < writers) {
            const SettingsType type
                    = thread % 2 == 0 ? SettingsType::Runtime : SettingsType::SystemProperties;
            for (int i = 0; !isDone; ++i) {
                const QString key = QString::number(i % 3);
                host.manager.setValue(u"g"_s, key, u"%1 %2"_s.arg(nameOf(type)).arg(i), type);
                if (i % 5 != 0)
                    host.manager.removeValue(u"g"_s, key, type);
            }
            return;
        }
        for (int i = 0; i < snapshots; ++i) {
            const QJsonArray settings = settingsOf(host, catalogue);
            for (const QJsonValue &setting : settings) {
                const QString value = setting[u"value"].toString();
                const QString origin = setting[u"origin"].toString();
                const bool isSettled = setting[u"settled"].toBool();
                settled += isSettled ? 1 : 0;
                if (value.isEmpty() || (isSettled && value.section(u' ', 0, 0) != origin))
                    problems.append(u"%1 of %2"_s.arg(value, origin));
            }
        }
        isDone = true;
    });
    QCOMPARE(problems, QStringList());
    QVERIFY(settled > snapshots);
}

QTEST_GUILESS_MAIN(tst_Snapshot)
#include "tst_snapshot.moc"

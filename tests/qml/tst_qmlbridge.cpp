// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The QML module with engines, managers and notifiers that come and go, and with other threads. No Qt
// Quick: the sanitizers see no more of Qt than they must.

#include "testhost.h"
#include "threads.h"

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/redaction.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/qml/qmlhost.h>

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;
using tamsel::ConfigurationManager;
using tamsel::SettingsType;
using tamsel::host::ChangeNotifier;

namespace {

const QByteArray volume = R"(import Tamsel
Setting { group: "player"; key: "volume"; defaultValue: 5 })";
const QByteArray settingsModel = "import Tamsel\nSettingsModel { }";

std::unique_ptr<QQmlEngine> makeEngine()
{
    auto engine = std::make_unique<QQmlEngine>();
    engine->addImportPath(QStringLiteral(TAMSEL_TESTS_QML_IMPORT_PATH));
    return engine;
}

std::unique_ptr<QObject> create(QQmlEngine *engine, const QByteArray &text = volume)
{
    QQmlComponent component(engine);
    component.setData(text, QUrl(u"test.qml"_s));
    std::unique_ptr<QObject> object(component.create());
    if (!object)
        qFatal("%s", qPrintable(component.errorString()));
    return object;
}

// A published manager with Runtime.
struct Published
{
    Published()
    {
        host.prepare(SettingsType::Runtime);
        tamsel::setQmlConfigManager(&host.manager);
    }
    ~Published() { tamsel::setQmlConfigManager(nullptr); }

    void write(int value)
    {
        host.manager.setValue(u"player"_s, u"volume"_s, value, SettingsType::Runtime);
    }

    TestHost host;
};

const QRegularExpression noManager(u"test.qml:2:1: .*no manager is published"_s);
const QRegularExpression gone(u"test.qml:2:1: .*the manager or its notifier is gone"_s);
const QRegularExpression refused(u"player/volume in Runtime: no manager is published$"_s);

// QTRY_COMPARE() of newer Qt does not compile without a warning of -Wconversion.
template <typename Condition> bool waitFor(const Condition &condition)
{
    return QTest::qWaitFor(condition, 10'000);
}

} // namespace

class tst_QmlBridge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void withoutManagerWarnsOnceAndHasDefaults();
    void comesToLifeIfPublishedBeforeItIsComplete();
    void usesTheLentNotifier();
    void makesAndDestroysItsOwnNotifier();
    void keepsItsOwnNotifierForAnotherKey();
    void aThreadKeepsItsNotifierWhileItHasObjects();
    void aManagerThatIsWithdrawnIsLeftAlone_data();
    void aManagerThatIsWithdrawnIsLeftAlone();
    void aDeadNotifierIsNoticed();
    void anObjectMayDieInItsOwnSignal();
    void changesOfAllThreadsArriveInOrder();
    void aModelFollowsAllThreads();
    void aModelShowsWhatAHandlerWroteDuringAWrite();
    void anEngineMayDieBetweenChanges();
    void twoEnginesOnTwoThreads();
    void tenThousandRowsAreUpdatedOneByOne();
    void aModelWithoutCatalogueWarns();
    void aModelRedactsAsTheHostSays();
    void aModelMayDieInTheSignalOfAnother();
};

void tst_QmlBridge::init()
{
    QTest::failOnWarning(QRegularExpression(u".?"_s));
}

void tst_QmlBridge::cleanup()
{
    tamsel::qml::setQmlChangeNotifier(nullptr);
    tamsel::setQmlConfigManager(nullptr);
}

void tst_QmlBridge::withoutManagerWarnsOnceAndHasDefaults()
{
    const auto engine = makeEngine();
    QTest::ignoreMessage(QtWarningMsg, noManager);
    const auto one = create(engine.get());
    const auto other = create(engine.get());
    QCOMPARE(one->property("value"), 5);
    QCOMPARE(other->property("origin"), -1);
    QCOMPARE(other->property("writable"), false);
    QTest::ignoreMessage(QtWarningMsg, refused);
    one->setProperty("value", 9);
    one->setProperty("value", 10);
    QCOMPARE(one->property("value"), 5);
}

void tst_QmlBridge::comesToLifeIfPublishedBeforeItIsComplete()
{
    const auto engine = makeEngine();
    QQmlComponent component(engine.get());
    component.setData(volume, QUrl(u"test.qml"_s));
    const std::unique_ptr<QObject> setting(component.beginCreate(engine->rootContext()));
    Published published;
    published.write(7);
    component.completeCreate();
    QCOMPARE(setting->property("value"), 7);
    published.write(8);
    QCOMPARE(setting->property("value"), 8);
}

void tst_QmlBridge::usesTheLentNotifier()
{
    Published published;
    ChangeNotifier notifier(&published.host.manager);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    // Called after the notifier, and before one that the module makes.
    published.host.manager.removeConfigurationHandler(&published.host.handler);
    published.host.manager.appendConfigurationHandler(&published.host.handler);
    const auto engine = makeEngine();
    const auto setting = create(engine.get());
    QVariant seen;
    published.host.handler.reaction = [&](auto &&...) { seen = setting->property("value"); };
    published.write(7);
    QCOMPARE(seen, 7);
}

// Making another one would change the list of handlers while other threads may write.
void tst_QmlBridge::keepsItsOwnNotifierForAnotherKey()
{
    Published published;
    published.host.manager.removeConfigurationHandler(&published.host.handler);
    const auto engine = makeEngine();
    const auto setting = create(engine.get());
    // Called after the notifier that the object has made.
    published.host.manager.appendConfigurationHandler(&published.host.handler);
    setting->setProperty("key", u"balance"_s);
    QVariant seen;
    published.host.handler.reaction = [&](auto &&...) { seen = setting->property("value"); };
    published.host.manager.setValue(u"player"_s, u"balance"_s, 7, SettingsType::Runtime);
    QCOMPARE(seen, 7);
}

void tst_QmlBridge::aThreadKeepsItsNotifierWhileItHasObjects()
{
    Published published;
    RecordingHandler &handler = published.host.handler;
    published.host.manager.removeConfigurationHandler(&handler);
    const auto engine = makeEngine();
    auto first = create(engine.get());
    published.host.manager.appendConfigurationHandler(&handler);
    ChangeNotifier later(&published.host.manager);
    tamsel::qml::setQmlChangeNotifier(&later);

    auto setting = create(engine.get());
    QVariant seen;
    handler.reaction = [&](auto &&...) { seen = setting->property("value"); };
    published.write(7);
    QCOMPARE(seen, 7); // by the notifier that was called before the handler
    first.reset();
    setting.reset();
    setting = create(engine.get());
    published.write(8);
    QCOMPARE(seen, 7); // the lent one is called after it
    QCOMPARE(setting->property("value"), 8);
}

void tst_QmlBridge::makesAndDestroysItsOwnNotifier()
{
    Published published;
    const auto engine = makeEngine();
    for (int round = 0; round < 3; ++round) {
        const auto one = create(engine.get());
        const auto other = create(engine.get());
        published.write(round);
        QCOMPARE(one->property("value"), round);
        QCOMPARE(other->property("value"), round);
    }
    published.write(9); // no object is left
}

void tst_QmlBridge::aManagerThatIsWithdrawnIsLeftAlone_data()
{
    QTest::addColumn<bool>("isReplaced");
    QTest::newRow("none is published") << false;
    QTest::newRow("another one is published") << true;
}

void tst_QmlBridge::aManagerThatIsWithdrawnIsLeftAlone()
{
    QFETCH(const bool, isReplaced);
    const auto engine = makeEngine();
    auto published = std::make_unique<Published>();
    const auto setting = create(engine.get());
    published->write(7);
    // Made before the old one dies, so that it lies elsewhere.
    std::unique_ptr<Published> next = isReplaced ? std::make_unique<Published>() : nullptr;
    ConfigurationManager *now = next ? &next->host.manager : nullptr;
    tamsel::setQmlConfigManager(now);
    published.reset();
    tamsel::setQmlConfigManager(now);

    QTest::ignoreMessage(QtWarningMsg, gone);
    QTest::ignoreMessage(QtWarningMsg, refused);
    setting->setProperty("value", 9);
    QCOMPARE(setting->property("value"), 7);
    setting->setProperty("defaultValue", 6);
    QCOMPARE(setting->property("value"), 7);
    // Another address is looked up in what is published now.
    if (next)
        next->host.manager.setValue(u"player"_s, u"balance"_s, 3, SettingsType::Runtime);
    else
        QTest::ignoreMessage(QtWarningMsg, noManager);
    setting->setProperty("key", u"balance"_s);
    QCOMPARE(setting->property("value"), isReplaced ? 3 : 6);
}

void tst_QmlBridge::aDeadNotifierIsNoticed()
{
    const auto engine = makeEngine();
    auto published = std::make_unique<Published>();
    auto notifier = std::make_unique<ChangeNotifier>(&published->host.manager);
    tamsel::qml::setQmlChangeNotifier(notifier.get());
    const auto setting = create(engine.get());
    const auto other = create(engine.get());
    published->write(7);
    notifier.reset();
    ConfigurationManager *dead = &published->host.manager;
    published.reset();
    tamsel::setQmlConfigManager(dead); // the host forgot to reset it

    QTest::ignoreMessage(QtWarningMsg, gone);
    QTest::ignoreMessage(QtWarningMsg, refused);
    setting->setProperty("value", 9);
    QCOMPARE(setting->property("value"), 7);
}

void tst_QmlBridge::anObjectMayDieInItsOwnSignal()
{
    Published published;
    const auto engine = makeEngine();
    const auto last = create(engine.get());
    QObject *dying = create(engine.get()).release();
    QObject *next = create(engine.get()).release();
    for (QObject *object : {dying, next}) {
        QObject **other = object == dying ? &next : &dying; // not by reference, for clazy
        QVERIFY(connect(object, SIGNAL(valueChanged()), object, SIGNAL(destroyed())));
        connect(object, &QObject::destroyed, object,
                [other] { delete std::exchange(*other, nullptr); });
    }
    published.write(7);
    QCOMPARE(last->property("value"), 7);

    // Another address may have another value.
    for (const char *property : {"group", "key"}) {
        QObject *object = create(engine.get()).release();
        QVERIFY(connect(object, SIGNAL(valueChanged()), object, SIGNAL(destroyed())));
        connect(object, &QObject::destroyed, object,
                [&object] { delete std::exchange(object, nullptr); });
        object->setProperty(property, u"unset"_s);
        QVERIFY(!object);
    }
}

void tst_QmlBridge::changesOfAllThreadsArriveInOrder()
{
    Published published;
    ChangeNotifier notifier(&published.host.manager);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    const auto engine = makeEngine();
    const auto setting = create(engine.get(), R"(import Tamsel
Setting {
    property var seen: []
    group: "player"; key: "volume"; defaultValue: 0
    onValueChanged: seen.push(value)
})");
    const auto shared
            = create(engine.get(), R"(import Tamsel; Setting { group: "player"; key: "shared" })");
    ConfigurationManager &manager = published.host.manager;
    std::atomic<int> running = 4;
    std::thread writers([&] {
        runTogether(4, [&](int thread) {
            for (int i = 1; i <= 2500; ++i) {
                manager.setValue(u"player"_s, u"shared"_s, 2500 * thread + i,
                                 SettingsType::Runtime);
                if (thread == 0)
                    manager.setValue(u"player"_s, u"volume"_s, i, SettingsType::Runtime);
            }
            --running;
        });
    });
    QVERIFY(waitFor([&] { return running == 0; }));
    writers.join();
    QVERIFY(waitFor([&] { return setting->property("value") == 2500; }));
    const QVariant last = manager.value(u"player"_s, u"shared"_s);
    QVERIFY(waitFor([&] { return shared->property("value") == last; }));
    // One thread wrote ascending values.
    const QVariantList seen = setting->property("seen").value<QJSValue>().toVariant().toList();
    QVERIFY(!seen.isEmpty());
    for (qsizetype i = 1; i < seen.size(); ++i)
        QVERIFY(seen.at(i - 1).toInt() < seen.at(i).toInt());
    QCOMPARE(seen.last(), 2500);
}

void tst_QmlBridge::aModelFollowsAllThreads()
{
    Published published;
    ConfigurationManager &manager = published.host.manager;
    ChangeNotifier notifier(&manager);
    tamsel::host::SettingsCatalogue catalogue(&manager);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    tamsel::qml::setQmlSettingsCatalogue(&catalogue);
    const auto engine = makeEngine();
    const auto object = create(engine.get(), settingsModel);
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
    auto *model = qobject_cast<QAbstractItemModel *>(object.get());
    QSignalSpy resets(model, &QAbstractItemModel::modelReset);
    // What a view would show.
    const int keyRole = model->roleNames().key("key");
    const int valueRole = model->roleNames().key("value");
    const auto read = [model, keyRole, valueRole](int row) {
        const QModelIndex index = model->index(row, 0);
        return QVariantList{index.data(keyRole), index.data(valueRole)};
    };
    QList<QVariantList> shown;
    connect(model, &QAbstractItemModel::rowsInserted, this,
            [read, rows = &shown](const QModelIndex &, int row) { rows->insert(row, read(row)); });
    connect(model, &QAbstractItemModel::rowsRemoved, this,
            [rows = &shown](const QModelIndex &, int row) { rows->removeAt(row); });
    connect(model, &QAbstractItemModel::dataChanged, this,
            [read, rows = &shown](const QModelIndex &index) {
                rows->replace(index.row(), read(index.row()));
            });

    std::atomic<int> running = 4;
    std::thread writers([&] {
        runTogether(4, [&](int thread) {
            for (int i = 0; i < 2500; ++i) {
                const QString key = QString::number((i + thread) % 8);
                if (i % 3 == 0)
                    manager.removeValue(u"shared"_s, key, SettingsType::Runtime);
                else
                    manager.setValue(u"shared"_s, key, i, SettingsType::Runtime);
            }
            --running;
        });
    });
    const bool haveEnded = waitFor([&] { return running == 0; });
    writers.join();
    QVERIFY(haveEnded);
    manager.setValue(u"shared"_s, u"last"_s, 4711, SettingsType::Runtime);
    QList<QVariantList> wanted;
    for (const auto &[group, key] : catalogue.keys()) {
        if (manager.contains(group, key))
            wanted.append(QVariantList{key, manager.value(group, key)});
    }
    QVERIFY(waitFor([&] { return shown == wanted; }));
    QCOMPARE(resets.size(), 0);
}

void tst_QmlBridge::aModelShowsWhatAHandlerWroteDuringAWrite()
{
    Published published;
    ConfigurationManager &manager = published.host.manager;
    manager.initStorage(SettingsType::SystemProperties);
    tamsel::host::SettingsCatalogue catalogue(&manager);
    published.write(1);
    tamsel::qml::setQmlSettingsCatalogue(&catalogue);
    const auto engine = makeEngine();
    const auto object = create(engine.get(), settingsModel);
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
    const auto setting = create(engine.get());
    const auto *model = qobject_cast<QAbstractItemModel *>(object.get());
    QVariant shown;
    const int role = model->roleNames().key("overridden");
    connect(model, &QAbstractItemModel::dataChanged, this,
            [role, overridden = &shown](const QModelIndex &index) {
                *overridden = index.data(role);
            });

    // Called after the model is notified; the write is overridden, so not notified.
    manager.removeConfigurationHandler(&published.host.handler);
    manager.appendConfigurationHandler(&published.host.handler);
    published.host.handler.reaction = [&](auto &&...) {
        manager.setValue(u"player"_s, u"volume"_s, 3, SettingsType::SystemProperties);
    };
    setting->setProperty("value", 2);
    QCOMPARE(shown.toList(), QVariantList{int(SettingsType::SystemProperties)});
}

void tst_QmlBridge::anEngineMayDieBetweenChanges()
{
    Published published;
    ChangeNotifier notifier(&published.host.manager);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (int i = 0; !stop; ++i)
            published.write(i);
    });
    for (int round = 0; round < 20; ++round) {
        auto engine = makeEngine();
        auto one = create(engine.get());
        auto other = create(engine.get());
        QCoreApplication::processEvents();
        if (round % 2) {
            one.reset();
            engine.reset();
            QCoreApplication::processEvents();
        }
        other.reset();
    }
    stop = true;
    writer.join();
}

void tst_QmlBridge::twoEnginesOnTwoThreads()
{
    Published published;
    ChangeNotifier notifier(&published.host.manager);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    std::atomic<int> ready = 0;
    std::atomic<int> seen = 0;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back(QThread::create([&] {
            const auto engine = makeEngine();
            const auto setting = create(engine.get());
            ++ready;
            QVERIFY(waitFor([&] { return setting->property("value") == 7; }));
            ++seen;
        }));
        threads.back()->start();
    }
    QVERIFY(waitFor([&] { return ready == 2; }));
    published.write(7);
    for (const auto &thread : threads)
        QVERIFY(thread->wait());
    QCOMPARE(seen, 2);
}

void tst_QmlBridge::tenThousandRowsAreUpdatedOneByOne()
{
    constexpr int count = 10'000;
    Published published;
    ConfigurationManager &settings = published.host.manager;
    published.host.manager.removeConfigurationHandler(&published.host.handler);
    ChangeNotifier notifier(&settings);
    tamsel::host::SettingsCatalogue catalogue(&settings);
    tamsel::qml::setQmlChangeNotifier(&notifier);
    tamsel::qml::setQmlSettingsCatalogue(&catalogue);
    const auto keyOfRow = [](int row) { return u"%1"_s.arg(row, 5, 10, QChar(u'0')); };
    for (int row = 0; row < count; ++row)
        settings.setValue(u"rows"_s, keyOfRow(row), 0, SettingsType::Runtime);

    const auto engine = makeEngine();
    const auto object = create(engine.get(), settingsModel);
    auto *model = qobject_cast<QAbstractItemModel *>(object.get());
    QVERIFY(model);
    QCOMPARE(model->rowCount(), count);
    QSignalSpy resets(model, &QAbstractItemModel::modelReset);
    QSignalSpy layouts(model, &QAbstractItemModel::layoutChanged);
    QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
    QSignalSpy insertions(model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removals(model, &QAbstractItemModel::rowsRemoved);
    for (int row = 0; row < count; ++row)
        settings.setValue(u"rows"_s, keyOfRow(row), 1, SettingsType::Runtime);
    QCOMPARE(changes.size(), count);
    for (int row = 0; row < count; ++row) {
        QCOMPARE(changes.at(row).at(0).toModelIndex().row(), row);
        QCOMPARE(changes.at(row).at(1).toModelIndex().row(), row);
    }
    settings.removeValue(u"rows"_s, keyOfRow(5000), SettingsType::Runtime);
    settings.setValue(u"rows"_s, keyOfRow(5000), 2, SettingsType::Runtime);
    QCOMPARE(removals.size(), 1);
    QCOMPARE(insertions.size(), 1);
    QCOMPARE(insertions.at(0).at(1), 5000);
    object->setProperty("filter", u"*/0000?"_s);
    QCOMPARE(model->rowCount(), 10);
    object->setProperty("filter", QString());
    QCOMPARE(model->rowCount(), count);
    QCOMPARE(changes.size(), count);
    QCOMPARE(resets.size(), 0);
    QCOMPARE(layouts.size(), 0);
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
}

void tst_QmlBridge::aModelWithoutCatalogueWarns()
{
    Published published;
    published.write(7);
    const auto engine = makeEngine();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"no catalogue is lent"_s));
    const auto object = create(engine.get(), settingsModel);
    QCOMPARE(object->property("count"), 0);
    published.write(8);
    QCOMPARE(object->property("count"), 1);
}

void tst_QmlBridge::aModelRedactsAsTheHostSays()
{
    Published published;
    tamsel::host::SettingsCatalogue catalogue(&published.host.manager);
    tamsel::qml::setQmlSettingsCatalogue(&catalogue);
    published.write(7);
    published.host.manager.setValue(u"wifi"_s, u"password"_s, u"x"_s, SettingsType::Runtime);
    const auto valuesOf = [](const QObject *object) {
        const auto *model = qobject_cast<const QAbstractItemModel *>(object);
        const int role = model->roleNames().key("value");
        return QVariantList{model->index(0, 0).data(role), model->index(1, 0).data(role)};
    };

    const auto engine = makeEngine();
    const auto usual = create(engine.get(), settingsModel);
    tamsel::qml::setQmlRedaction(tamsel::host::Redaction({u"player/*"_s}));
    const auto chosen = create(engine.get(), settingsModel);
    tamsel::qml::setQmlRedaction(tamsel::host::Redaction());
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
    const QString placeholder = tamsel::host::Redaction::placeholder();
    QCOMPARE(valuesOf(usual.get()), QVariantList({7, placeholder}));
    QCOMPARE(valuesOf(chosen.get()), QVariantList({placeholder, u"x"_s}));

    const QVariantList empty{u""_s,          QByteArray(),  QStringList(),
                             QVariantList(), QVariantMap(), QVariantHash()};
    for (const QVariant &value : empty) {
        published.host.manager.setValue(u"wifi"_s, u"password"_s, value, SettingsType::Runtime);
        QCOMPARE(valuesOf(usual.get()).constLast(), QVariant(u"(redacted, empty)"_s));
    }
}

void tst_QmlBridge::aModelMayDieInTheSignalOfAnother()
{
    Published published;
    tamsel::host::SettingsCatalogue catalogue(&published.host.manager);
    tamsel::qml::setQmlSettingsCatalogue(&catalogue);
    published.host.manager.initStorage(SettingsType::SystemProperties);
    published.write(7);
    const auto engine = makeEngine();
    const auto first = create(engine.get(), settingsModel);
    auto next = create(engine.get(), settingsModel);
    tamsel::qml::setQmlSettingsCatalogue(nullptr);
    connect(qobject_cast<QAbstractItemModel *>(first.get()), &QAbstractItemModel::dataChanged, this,
            [dying = &next] { dying->reset(); });
    // A write that the core does not notify: only the module does.
    const auto setting = create(engine.get(), volume);
    setting->setProperty("layer", static_cast<int>(SettingsType::SystemProperties));
    setting->setProperty("value", 8);
    QVERIFY(!next);
    QCOMPARE(setting->property("overridden"), true);
}

QTEST_GUILESS_MAIN(tst_QmlBridge)
#include "tst_qmlbridge.moc"

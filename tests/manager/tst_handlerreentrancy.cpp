// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What handlers may do from inside a notification: come and go, write settings, and create and
// clear layers, the one that is just reporting included.

#include "datarows.h"
#include "testhost.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

/*! A manager with a Runtime layer and the handlers "1", "2" and "3", none of which reacts yet. */
class Stage
{
public:
    Stage()
    {
        host.prepare(SettingsType::Runtime);
        host.manager.removeConfigurationHandler(&host.handler);
        for (RecordingHandler *handler : {&first, &second, &third})
            append(handler);
    }

    void append(RecordingHandler *handler) { host.manager.appendConfigurationHandler(handler); }
    void remove(RecordingHandler *handler) { host.manager.removeConfigurationHandler(handler); }
    void write(const QString &key, int value)
    {
        host.manager.setValue(u"g"_s, key, value, SettingsType::Runtime);
    }
    /*! Writes a new value under \a key and returns the names of the handlers that heard of it. */
    QStringList heardOf(const QString &key)
    {
        host.journal.take();
        write(key, ++m_value);
        QStringList names;
        const QStringList lines = host.journal.take().mid(1); // the first line is the logger's
        for (const QString &line : lines)
            names.append(line.section(u':', 0, 0));
        return names;
    }

    TestHost host;
    RecordingHandler first{&host.journal, u"1"_s};
    RecordingHandler second{&host.journal, u"2"_s};
    RecordingHandler third{&host.journal, u"3"_s};
    RecordingHandler late{&host.journal, u"late"_s}; // not appended

private:
    int m_value = 1000; // no value that a test writes itself
};

/*! Lets \a handler run \a action at the first change of \a key that it hears of. */
void onFirst(RecordingHandler *handler, const QString &key, const std::function<void()> &action)
{
    handler->reaction
            = [key, action, done = false](SettingsType, const QString &, const QString &changed,
                                          const QVariant &) mutable {
                  if (changed == key && !std::exchange(done, true))
                      action();
              };
}

} // namespace

class tst_HandlerReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aHandlerMayRemoveItself_data();
    void aHandlerMayRemoveItself();
    void anEarlierHandlerMayBeRemoved();
    void aLaterHandlerThatIsRemovedIsNotCalled();
    void allHandlersMayBeRemoved();
    void aHandlerThatIsAppendedIsCalledByTheNextChange();
    void aHandlerThatIsRemovedAndAppendedIsCalledOnce();
    void aLaterHandlerThatIsRemovedAndAppendedWaitsForTheNextChange();
    void anEarlierHandlerThatIsRemovedAndAppendedIsNotCalledTwice();
    void comingAndGoingAtOnce();
    void aRemovedHandlerMayDieAtOnce();
    void aHandlerMayDeleteItself();
    void handlersComeAndGoBetweenThePairsOfALayer();

    void aHandlerMayWriteAnotherSetting();
    void aHandlerMayWriteTheSameSetting();
    void aHandlerMayRemoveTheSettingItHearsOf();
    void handlersComeAndGoInANestedChange();
    void aHandlerRemovedInANestedChangeIsNotCalledByTheOuterOne();
    void aHandlerAppendedBeforeANestedChangeHearsOnlyThat();

    void aHandlerMayClearAndCreateAnotherLayer();
    void aHandlerMayClearTheReportingLayer_data();
    void aHandlerMayClearTheReportingLayer();
    void aLayerDiesWhenAHandlerClearsIt_data();
    void aLayerDiesWhenAHandlerClearsIt();
    void aHandlerMayReplaceTheReportingLayer_data();
    void aHandlerMayReplaceTheReportingLayer();
    void aHandlerMayClearALayerThatIsBeingCreated();
    void aLoggerMayClearALayerThatIsBeingCreated();
    void aHandlerMayReplaceALayerThatIsBeingCreated();
    void aHandlerMayReplaceALayerThatIsBeingReplaced();
    void aHandlerMayCreateALayerThatIsBeingCleared();
};

void tst_HandlerReentrancy::aHandlerMayRemoveItself_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("the first") << u"1"_s << QStringList({u"2"_s, u"3"_s});
    QTest::newRow("the middle one") << u"2"_s << QStringList({u"1"_s, u"3"_s});
    QTest::newRow("the last") << u"3"_s << QStringList({u"1"_s, u"2"_s});
}

void tst_HandlerReentrancy::aHandlerMayRemoveItself()
{
    QFETCH(const QString, which);
    QFETCH(const QStringList, left);
    Stage stage;
    RecordingHandler *const handler = which == "1"_L1 ? &stage.first
            : which == "2"_L1                         ? &stage.second
                                                      : &stage.third;
    onFirst(handler, u"k"_s, [&] { stage.remove(handler); });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), left);
}

void tst_HandlerReentrancy::anEarlierHandlerMayBeRemoved()
{
    Stage stage;
    onFirst(&stage.second, u"k"_s, [&] { stage.remove(&stage.first); });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"2"_s, u"3"_s}));
}

void tst_HandlerReentrancy::aLaterHandlerThatIsRemovedIsNotCalled()
{
    Stage stage;
    onFirst(&stage.first, u"k"_s, [&] { stage.remove(&stage.second); });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"3"_s}));
}

void tst_HandlerReentrancy::allHandlersMayBeRemoved()
{
    Stage stage;
    onFirst(&stage.second, u"k"_s, [&] {
        for (RecordingHandler *handler : {&stage.first, &stage.second, &stage.third})
            stage.remove(handler);
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList());
}

void tst_HandlerReentrancy::aHandlerThatIsAppendedIsCalledByTheNextChange()
{
    Stage stage;
    onFirst(&stage.third, u"k"_s, [&] { stage.append(&stage.late); });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s, u"late"_s}));
}

void tst_HandlerReentrancy::aHandlerThatIsRemovedAndAppendedIsCalledOnce()
{
    Stage stage;
    onFirst(&stage.second, u"k"_s, [&] {
        stage.remove(&stage.second);
        stage.append(&stage.second);
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"3"_s, u"2"_s}));
}

void tst_HandlerReentrancy::aLaterHandlerThatIsRemovedAndAppendedWaitsForTheNextChange()
{
    Stage stage;
    onFirst(&stage.first, u"k"_s, [&] {
        stage.remove(&stage.second);
        stage.append(&stage.second);
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"3"_s, u"2"_s}));
}

void tst_HandlerReentrancy::anEarlierHandlerThatIsRemovedAndAppendedIsNotCalledTwice()
{
    Stage stage;
    onFirst(&stage.third, u"k"_s, [&] {
        stage.remove(&stage.first);
        stage.append(&stage.first);
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"2"_s, u"3"_s, u"1"_s}));
}

void tst_HandlerReentrancy::comingAndGoingAtOnce()
{
    Stage stage;
    RecordingHandler later(&stage.host.journal, u"later"_s);
    onFirst(&stage.second, u"k"_s, [&] {
        stage.append(&stage.late);
        stage.remove(&stage.second);
        stage.append(&later);
        stage.remove(&stage.first);
        stage.append(&stage.first);
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"3"_s, u"late"_s, u"later"_s, u"1"_s}));
}

void tst_HandlerReentrancy::aRemovedHandlerMayDieAtOnce()
{
    Stage stage;
    auto mortal = std::make_unique<RecordingHandler>(&stage.host.journal, u"mortal"_s);
    stage.append(mortal.get());
    onFirst(&stage.second, u"k"_s, [&] {
        stage.remove(mortal.get());
        mortal.reset();
    });
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s}));
}

void tst_HandlerReentrancy::aHandlerMayDeleteItself()
{
    class OneShot final : public IConfigurationChangeHandler
    {
    public:
        explicit OneShot(TestHost *host) : m_host(host)
        {
            m_host->manager.appendConfigurationHandler(this);
        }
        void onValueChanged(SettingsType, const QString &, const QString &,
                            const QVariant &) override
        {
            m_host->journal.add(u"once: and never again"_s);
            m_host->manager.removeConfigurationHandler(this);
            delete this;
        }

    private:
        TestHost *const m_host;
    };
    Stage stage;
    new OneShot(&stage.host);
    stage.append(&stage.late);
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s, u"once"_s, u"late"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"1"_s, u"2"_s, u"3"_s, u"late"_s}));
}

void tst_HandlerReentrancy::handlersComeAndGoBetweenThePairsOfALayer()
{
    Stage stage;
    onFirst(&stage.first, u"a"_s, [&] {
        stage.remove(&stage.first);
        stage.remove(&stage.third);
        stage.append(&stage.late);
    });
    stage.host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"1: Rdm g/a = int(1)"_s, u"2: Rdm g/a = int(1)"_s,
                          u"2: Rdm g/b = int(2)"_s, u"late: Rdm g/b = int(2)"_s}));
}

void tst_HandlerReentrancy::aHandlerMayWriteAnotherSetting()
{
    Stage stage;
    onFirst(&stage.second, u"k"_s, [&] { stage.write(u"other"_s, 7); });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s, u"2: Runtime g/k = int(1)"_s,
                          u"debug: Top value changed Runtime: g/other = '7'"_s,
                          u"1: Runtime g/other = int(7)"_s, u"2: Runtime g/other = int(7)"_s,
                          u"3: Runtime g/other = int(7)"_s, u"3: Runtime g/k = int(1)"_s}));
}

void tst_HandlerReentrancy::aHandlerMayWriteTheSameSetting()
{
    // The later handlers hear of the correction before they hear of what was corrected.
    Stage stage;
    onFirst(&stage.first, u"k"_s, [&] { stage.write(u"k"_s, 2); });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s,
                          u"debug: Top value changed Runtime: g/k = '2'"_s,
                          u"1: Runtime g/k = int(2)"_s, u"2: Runtime g/k = int(2)"_s,
                          u"3: Runtime g/k = int(2)"_s, u"2: Runtime g/k = int(1)"_s,
                          u"3: Runtime g/k = int(1)"_s}));
    QCOMPARE(stage.host.manager.value(u"g"_s, u"k"_s), QVariant(2));
}

void tst_HandlerReentrancy::aHandlerMayRemoveTheSettingItHearsOf()
{
    Stage stage;
    onFirst(&stage.first, u"k"_s,
            [&] { stage.host.manager.removeValue(u"g"_s, u"k"_s, SettingsType::Runtime); });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s,
                          u"debug: Parameter removed from all storages: g:k"_s,
                          u"1: Runtime g/k = invalid"_s, u"2: Runtime g/k = invalid"_s,
                          u"3: Runtime g/k = invalid"_s, u"2: Runtime g/k = int(1)"_s,
                          u"3: Runtime g/k = int(1)"_s}));
}

void tst_HandlerReentrancy::handlersComeAndGoInANestedChange()
{
    Stage stage;
    onFirst(&stage.first, u"k"_s, [&] {
        stage.write(u"nested"_s, 7);
        stage.append(&stage.late);
    });
    onFirst(&stage.second, u"nested"_s, [&] {
        stage.remove(&stage.first);
        stage.remove(&stage.second);
        stage.append(&stage.second);
    });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s,
                          u"debug: Top value changed Runtime: g/nested = '7'"_s,
                          u"1: Runtime g/nested = int(7)"_s, u"2: Runtime g/nested = int(7)"_s,
                          u"3: Runtime g/nested = int(7)"_s, u"3: Runtime g/k = int(1)"_s}));
    QCOMPARE(stage.heardOf(u"k"_s), QStringList({u"3"_s, u"2"_s, u"late"_s}));
}

void tst_HandlerReentrancy::aHandlerRemovedInANestedChangeIsNotCalledByTheOuterOne()
{
    Stage stage;
    auto mortal = std::make_unique<RecordingHandler>(&stage.host.journal, u"mortal"_s);
    stage.append(mortal.get());
    stage.append(&stage.late);
    onFirst(&stage.first, u"k"_s, [&] { stage.write(u"nested"_s, 7); });
    onFirst(&stage.third, u"nested"_s, [&] {
        stage.remove(&stage.second);
        stage.remove(mortal.get());
        mortal.reset();
    });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s,
                          u"debug: Top value changed Runtime: g/nested = '7'"_s,
                          u"1: Runtime g/nested = int(7)"_s, u"2: Runtime g/nested = int(7)"_s,
                          u"3: Runtime g/nested = int(7)"_s, u"late: Runtime g/nested = int(7)"_s,
                          u"3: Runtime g/k = int(1)"_s, u"late: Runtime g/k = int(1)"_s}));
}

void tst_HandlerReentrancy::aHandlerAppendedBeforeANestedChangeHearsOnlyThat()
{
    Stage stage;
    onFirst(&stage.first, u"k"_s, [&] {
        stage.append(&stage.late);
        stage.write(u"nested"_s, 7);
    });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s,
                          u"debug: Top value changed Runtime: g/nested = '7'"_s,
                          u"1: Runtime g/nested = int(7)"_s, u"2: Runtime g/nested = int(7)"_s,
                          u"3: Runtime g/nested = int(7)"_s, u"late: Runtime g/nested = int(7)"_s,
                          u"2: Runtime g/k = int(1)"_s, u"3: Runtime g/k = int(1)"_s}));
}

void tst_HandlerReentrancy::aHandlerMayClearAndCreateAnotherLayer()
{
    Stage stage;
    stage.host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}});
    onFirst(&stage.second, u"k"_s, [&] {
        stage.host.manager.clearStorage(SettingsType::Rdm);
        stage.host.init(SettingsType::Rdm, {{u"b"_s, 2}});
    });
    stage.write(u"k"_s, 1);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '1'"_s,
                          u"1: Runtime g/k = int(1)"_s, u"2: Runtime g/k = int(1)"_s,
                          u"info: Storage: Rdm cleared"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"1: Rdm g/a = invalid"_s, u"2: Rdm g/a = invalid"_s,
                          u"3: Rdm g/a = invalid"_s, u"info: Storage: Rdm initialized"_s,
                          u"info: Top value changed Rdm: g/b = '2'"_s, u"1: Rdm g/b = int(2)"_s,
                          u"2: Rdm g/b = int(2)"_s, u"3: Rdm g/b = int(2)"_s,
                          u"3: Runtime g/k = int(1)"_s}));
}

void tst_HandlerReentrancy::aHandlerMayClearTheReportingLayer_data()
{
    addTypeRows(writableLayers);
}

void tst_HandlerReentrancy::aHandlerMayClearTheReportingLayer()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type);
    onFirst(&host.handler, u"k"_s, [&] { host.manager.clearStorage(type); });

    host.manager.setValue(u"g"_s, u"k"_s, 1, type);
    const QStringList cleared = QStringList(u"info: Storage: %1 cleared"_s.arg(name))
            + changeLine(type, u"Parameter removed from all storages: g:k"_s)
            + QStringList({u"handler: %1 g/k = invalid"_s.arg(name),
                           u"second: %1 g/k = invalid"_s.arg(name)});
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Top value changed %1: g/k = '1'"_s.arg(name))
                     + QStringList(u"handler: %1 g/k = int(1)"_s.arg(name)) + cleared
                     + QStringList(u"second: %1 g/k = int(1)"_s.arg(name)));
    QVERIFY(!host.manager.storageAvailable(type));
}

void tst_HandlerReentrancy::aLayerDiesWhenAHandlerClearsIt_data()
{
    QTest::addColumn<SettingsType>("changed");
    QTest::newRow("the layer that is written") << SettingsType::CustomConfPersistent;
    QTest::newRow("the layer that a removal uncovers") << SettingsType::Runtime;
}

void tst_HandlerReentrancy::aLayerDiesWhenAHandlerClearsIt()
{
    // A file layer that dies writes its file.
    QFETCH(const SettingsType, changed);
    const auto cleared = SettingsType::CustomConfPersistent;
    TestHost host;
    host.manager.initStorage(cleared);
    host.manager.setValue(u"g"_s, u"k"_s, u"written"_s, cleared);
    host.prepare(SettingsType::Runtime);
    if (changed == SettingsType::Runtime)
        host.manager.setValue(u"g"_s, u"k"_s, 1, changed);
    QByteArray file;
    onFirst(&host.handler, u"k"_s, [&] {
        host.manager.clearStorage(cleared);
        file = readFile(host.filePath(cleared));
    });
    if (changed == SettingsType::Runtime)
        host.manager.removeValue(u"g"_s, u"k"_s, changed);
    else
        host.manager.setValue(u"g"_s, u"k"_s, u"again"_s, changed);
    QCOMPARE(file, changed == cleared ? "[g]\nk=again\n" : "[g]\nk=written\n");
}

void tst_HandlerReentrancy::aHandlerMayReplaceTheReportingLayer_data()
{
    addTypeRows(writableLayers);
}

void tst_HandlerReentrancy::aHandlerMayReplaceTheReportingLayer()
{
    QFETCH(const SettingsType, type);
    const QString name = QLatin1StringView(keyOf(type));
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type, u"g"_s, {{u"k"_s, 1}, {u"other"_s, 2}});
    onFirst(&host.handler, u"k"_s, [&] {
        host.moveTo(u"second"_s);
        host.manager.initStorage(type);
        host.manager.setValue(u"g"_s, u"k"_s, 3, type);
    });

    host.manager.removeValue(u"g"_s, u"k"_s, type);
    QCOMPARE(host.journal.take(),
             changeLine(type, u"Parameter removed from all storages: g:k"_s)
                     + QStringList({u"handler: %1 g/k = invalid"_s.arg(name),
                                    u"info: Storage: %1 reinitialized"_s.arg(name)})
                     + changeLine(type, u"Parameter removed from all storages: g:other"_s)
                     + QStringList({u"handler: %1 g/other = invalid"_s.arg(name),
                                    u"second: %1 g/other = invalid"_s.arg(name)})
                     + changeLine(type, u"Top value changed %1: g/k = '3'"_s.arg(name))
                     + QStringList({u"handler: %1 g/k = int(3)"_s.arg(name),
                                    u"second: %1 g/k = int(3)"_s.arg(name),
                                    u"second: %1 g/k = invalid"_s.arg(name)}));
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(3));
}

void tst_HandlerReentrancy::aHandlerMayClearALayerThatIsBeingCreated()
{
    // The creation goes on telling what it set out to tell.
    Stage stage;
    onFirst(&stage.first, u"a"_s, [&] { stage.host.manager.clearStorage(SettingsType::Rdm); });
    stage.remove(&stage.second);
    stage.remove(&stage.third);
    stage.host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"1: Rdm g/a = int(1)"_s, u"info: Storage: Rdm cleared"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"1: Rdm g/a = invalid"_s,
                          u"info: Parameter removed from all storages: g:b"_s,
                          u"1: Rdm g/b = invalid"_s, u"1: Rdm g/b = int(2)"_s}));
    QVERIFY(!stage.host.manager.storageAvailable(SettingsType::Rdm));
}

void tst_HandlerReentrancy::aLoggerMayClearALayerThatIsBeingCreated()
{
    // The pairs of the layer are those that no higher layer holds, whatever lower layers hold.
    class ClearingLogger final : public ILogger
    {
    public:
        void error(const QString &) override { }
        void warning(const QString &) override { }
        void info(const QString &message) override
        {
            if (message == "Storage: Rdm initialized"_L1)
                manager->clearStorage(SettingsType::Rdm);
        }
        void debug(const QString &) override { }

        ConfigurationManager *manager = nullptr;
    } logger;
    Journal journal;
    RecordingHandler handler(&journal);
    ConfigurationManager manager(&logger);
    logger.manager = &manager;
    manager.initStorage(SettingsType::CommandLineArgs,
                        groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    manager.appendConfigurationHandler(&handler);
    manager.initStorage(SettingsType::Rdm, groupMap(u"g"_s, {{u"a"_s, 3}, {u"b"_s, 4}}));
    QCOMPARE(journal.take(),
             QStringList({u"handler: CommandLineArgs g/a = QString(1)"_s,
                          u"handler: CommandLineArgs g/b = QString(2)"_s,
                          u"handler: Rdm g/a = int(3)"_s, u"handler: Rdm g/b = int(4)"_s}));
}

void tst_HandlerReentrancy::aHandlerMayReplaceALayerThatIsBeingCreated()
{
    Stage stage;
    onFirst(&stage.first, u"a"_s, [&] {
        stage.host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"c"_s, 3}});
    });
    stage.remove(&stage.second);
    stage.remove(&stage.third);
    stage.host.init(SettingsType::Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s,
                          u"1: Rdm g/a = int(1)"_s, u"info: Storage: Rdm reinitialized"_s,
                          u"info: Parameter removed from all storages: g:b"_s,
                          u"1: Rdm g/b = invalid"_s, u"info: Top value changed Rdm: g/c = '3'"_s,
                          u"1: Rdm g/c = int(3)"_s, u"1: Rdm g/b = int(2)"_s}));
    QVERIFY(!stage.host.manager.contains(u"g"_s, u"b"_s));
    QCOMPARE(stage.host.manager.value(u"g"_s, u"c"_s), QVariant(3));
}

void tst_HandlerReentrancy::aHandlerMayReplaceALayerThatIsBeingReplaced()
{
    Stage stage;
    stage.host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    onFirst(&stage.first, u"a"_s, [&] {
        stage.host.init(SettingsType::Rdm, {{u"b"_s, 20}, {u"c"_s, 30}});
    });
    stage.remove(&stage.second);
    stage.remove(&stage.third);
    stage.host.init(SettingsType::Rdm, {{u"c"_s, 3}});
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"info: Storage: Rdm reinitialized"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"1: Rdm g/a = invalid"_s, u"info: Storage: Rdm reinitialized"_s,
                          u"info: Top values changed: Rdm: { g/b = '20', g/c = '30' }"_s,
                          u"1: Rdm g/b = int(20)"_s, u"1: Rdm g/c = int(30)"_s,
                          // b is held again: not lost; c is reported as the outer layer had it
                          u"info: Top value changed Rdm: g/c = '3'"_s, u"1: Rdm g/c = int(3)"_s}));
    QCOMPARE(stage.host.manager.value(u"g"_s, u"c"_s), QVariant(30));
}

void tst_HandlerReentrancy::aHandlerMayCreateALayerThatIsBeingCleared()
{
    Stage stage;
    stage.host.prepare(SettingsType::Rdm, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}});
    onFirst(&stage.first, u"a"_s, [&] { stage.host.init(SettingsType::Rdm, {{u"b"_s, 20}}); });
    stage.remove(&stage.second);
    stage.remove(&stage.third);
    stage.host.manager.clearStorage(SettingsType::Rdm);
    QCOMPARE(stage.host.journal.take(),
             QStringList({u"info: Storage: Rdm cleared"_s,
                          u"info: Parameter removed from all storages: g:a"_s,
                          u"1: Rdm g/a = invalid"_s, u"info: Storage: Rdm initialized"_s,
                          u"info: Top value changed Rdm: g/b = '20'"_s, u"1: Rdm g/b = int(20)"_s,
                          // b is held again: nothing is removed
                          u"info: Parameter removed from all storages: g:c"_s,
                          u"1: Rdm g/c = invalid"_s}));
    QCOMPARE(stage.host.manager.value(u"g"_s, u"b"_s), QVariant(20));
}

QTEST_GUILESS_MAIN(tst_HandlerReentrancy)
#include "tst_handlerreentrancy.moc"

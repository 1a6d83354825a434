// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Which writes and removals are logged and notified, and how handlers are registered.

#include "comparejournal.h"
#include "datarows.h"
#include "journalrows.h"

#include <QtTest/QTest>

#include <stdexcept>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_ChangePropagation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlers_data();
    void handlers() { runRow(); }
    void aNullHandlerIsStoredLikeAnyOther();
    void oneHandlerServesTwoManagers();

    void changes_data();
    void changes() { runRow(); }
    void layersBelow_data();
    void layersBelow() { runRow(); }
    void whatIsNotNotified_data();
    void whatIsNotNotified() { runRow(); }
    void whatAHandlerThrows_data();
    void whatAHandlerThrows() { runRow(); }

    void handlersGetTheValueThatWasWritten_data() { addTypeRows(writableLayers); }
    void handlersGetTheValueThatWasWritten();
    void anUncoveredTextIsNullWhereItsValueHasNoText_data();
    void anUncoveredTextIsNullWhereItsValueHasNoText();
};

void tst_ChangePropagation::handlers_data()
{
    // "handler" is registered from the start.
    Rows row;
    const Step write = set(Runtime, u"k"_s, 1);
    const auto calls = [&row](const char *name, const Steps &steps, const QStringList &called,
                              const QString &before = {}) {
        QString journal = before + "\ndebug: Top value changed Runtime: g/k = '1'"_L1;
        for (const QString &handler : called)
            journal += '\n'_L1 % handler % ": Runtime g/k = int(1)"_L1;
        row(name, Runtime, {layer(Runtime)}, steps, journal);
    };
    const QString h = u"handler"_s;
    const QString a = u"a"_s;
    const QString b = u"b"_s;
    const auto trueOnceEach = uR"(
        append a: true
        append b: true )"_s;
    calls("none", {remove(h), write}, {}, u"remove handler: true"_s);
    calls("called in the order of appending", {append(b), append(a), write}, {h, b, a}, uR"(
        append b: true
        append a: true )"_s);
    calls("appended twice, called once, at its first place", {append(a), append(h), write}, {h, a},
          uR"(
        append a: true
        append handler: true )"_s);
    calls("appended twice, gone when removed once", {append(h), remove(h), remove(h), write}, {},
          uR"(
        append handler: true
        remove handler: true
        remove handler: false )"_s);
    calls("one that is not registered cannot be removed", {remove(a), write}, {h},
          u"remove a: false"_s);
    calls("the first removed", {append(a), append(b), remove(h), write}, {a, b},
          trueOnceEach + "\nremove handler: true"_L1);
    calls("the middle one removed", {append(a), append(b), remove(a), write}, {h, b},
          trueOnceEach + "\nremove a: true"_L1);
    calls("the last removed", {append(a), append(b), remove(b), write}, {h, a},
          trueOnceEach + "\nremove b: true"_L1);
    calls("appended again, called last", {append(a), remove(h), append(h), write}, {a, h}, uR"(
        append a: true
        remove handler: true
        append handler: true )"_s);

    row("several are notified of a removal", Runtime, {append(a), layer(Runtime, {{u"k"_s, 1}})},
        {remove(Runtime, u"k"_s)}, uR"(
        debug: Parameter removed from all storages: g:k
        handler: Runtime g/k = invalid
        a: Runtime g/k = invalid )");

    row("without any, a layer is logged all the same", Rdm, {remove(h)},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}}), clear(Rdm)}, uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        info: Storage: Rdm cleared
        info: Parameter removed from all storages: g:a
        info: Parameter removed from all storages: g:b )");
}

void tst_ChangePropagation::aNullHandlerIsStoredLikeAnyOther()
{
    TestHost host;
    QVERIFY(!host.manager.removeConfigurationHandler(nullptr));
    QVERIFY(host.manager.appendConfigurationHandler(nullptr));
    QVERIFY(host.manager.appendConfigurationHandler(nullptr));
    QVERIFY(host.manager.removeConfigurationHandler(nullptr));
    QVERIFY(!host.manager.removeConfigurationHandler(nullptr));
}

void tst_ChangePropagation::oneHandlerServesTwoManagers()
{
    TestHost host;
    ConfigurationManager other(&host.logger);
    other.appendConfigurationHandler(&host.handler);
    host.prepare(Runtime);
    other.initStorage(Runtime);
    host.journal.take();
    QVERIFY(host.manager.removeConfigurationHandler(&host.handler));
    host.manager.setValue(u"g"_s, u"k"_s, 1, Runtime);
    other.setValue(u"g"_s, u"k"_s, 2, Runtime);
    COMPARE_JOURNAL(host.journal, uR"(
        debug: Top value changed Runtime: g/k = '1'
        debug: Top value changed Runtime: g/k = '2'
        handler: Runtime g/k = int(2) )");
}

void tst_ChangePropagation::changes_data()
{
    Rows row;
    const Steps createAndClear{layer(SELF, {{u"k"_s, 1}}), clear(SELF)};

    row("logged as information", {Rdm, SystemProperties}, {}, createAndClear, uR"(
        info: Storage: SELF initialized
        info: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        info: Storage: SELF cleared
        info: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid )");

    row("logged for debugging", {CommandLineArgs, CustomConfPersistent, Runtime, SelviDb}, {},
        createAndClear, uR"(
        info: Storage: SELF initialized
        debug: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        info: Storage: SELF cleared
        debug: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid )");

    row("not logged", {RavonaConfDefault, FeatureKeys}, {}, createAndClear, uR"(
        info: Storage: SELF initialized
        handler: SELF g/k = int(1)
        info: Storage: SELF cleared
        handler: SELF g/k = invalid )");

    row("a new key, a new value, and its removal", writableLayers,
        {everyLayer(), otherLayers(u"other key"_s)},
        {set(SELF, u"k"_s, 1), set(SELF, u"k"_s, 2), remove(SELF, u"k"_s)}, uR"(
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        log: Top value changed SELF: g/k = '2'
        handler: SELF g/k = int(2)
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid )");

    row("the uppermost of several layers below is uncovered", Runtime,
        {everyLayer(u"k"_s), clear(Rdm)}, {remove(Runtime, u"k"_s)}, uR"(
        debug: Top value changed FeatureKeys: g/k = 'FeatureKeys'
        handler: FeatureKeys g/k = QString(FeatureKeys) )");
}

void tst_ChangePropagation::layersBelow_data()
{
    // Changes of the lower layer are silent until the upper one, SELF, loses the key. Then the line
    // names the lower layer, but is logged as a change of the upper one.
    Rows row;
    for (const SettingsType lower : storagePriority) {
        const bool isFixed = mapLayers.contains(lower);
        const Steps fixed{layer(lower, {{u"k"_s, 5}})};
        const Steps written{set(lower, u"k"_s, 3), set(lower, u"k"_s, 4), remove(lower, u"k"_s),
                            set(lower, u"k"_s, 5)};
        for (const SettingsType upper : storagePriority.first(priorityOf(lower))) {
            const bool isReplaced = mapLayers.contains(upper);
            QString journal = uR"(
                log: Top value changed LOWER: g/k = '5'
                handler: LOWER g/k = QString(5)
                read g/k: int(5) )"_s; // readers get what the layer holds
            if (isReplaced)
                journal.prepend("info: Storage: SELF reinitialized"_L1);
            if (isFixed)
                journal.prepend("info: Storage: LOWER reinitialized\n"_L1);
            row(QByteArray(keyOf(lower)) + " below " + keyOf(upper), upper,
                {layer(lower), layer(SELF, {{u"k"_s, 6}})},
                (isFixed ? fixed : written)
                        + Steps{isReplaced ? init(SELF) : remove(SELF, u"k"_s), read(u"k"_s)},
                journal, {{u"LOWER"_s, nameOf(lower)}});
        }
    }
}

void tst_ChangePropagation::whatIsNotNotified_data()
{
    Rows row;

    row("an equal value, of another type too", writableLayers, {layer(SELF, {{u"k"_s, 1}})},
        {set(SELF, u"k"_s, 1), set(SELF, u"k"_s, 1.0), read(u"k"_s)}, uR"(
        read g/k: int(1) )");

    // Intentional: an invalid value means a removal, and the layer still holds the key.
    row("an invalid value", writableLayers, {layer(SELF, {{u"k"_s, 1}})},
        {set(SELF, u"k"_s, QVariant()), read(u"k"_s), set(SELF, u"k"_s, 1)}, uR"(
        read g/k: invalid
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1) )");
}

void tst_ChangePropagation::whatAHandlerThrows_data()
{
    Rows row;
    const Step throwing = [](Scene &scene) {
        scene.host.handler.reaction = [](SettingsType, const QString &, const QString &,
                                         const QVariant &) { throw std::runtime_error("no"); };
    };
    const auto caught = [](const Step &step) -> Step {
        return [=](Scene &scene) {
            QVERIFY_THROWS_EXCEPTION(std::runtime_error, step(scene));
            scene.host.journal.add(u"caught"_s);
        };
    };

    row("reaches the writer, whose change is made", writableLayers,
        {append(u"a"_s), layer(SELF), throwing},
        {caught(set(SELF, u"k"_s, 1)), read(u"k"_s), caught(remove(SELF, u"k"_s)), read(u"k"_s),
         remove(u"handler"_s), set(SELF, u"k"_s, 2)},
        uR"(
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        caught
        read g/k: int(1)
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        caught
        read g/k: missing
        remove handler: true
        log: Top value changed SELF: g/k = '2'
        a: SELF g/k = int(2) )");

    const Step create = caught(init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}}));
    row("ends what a layer notifies, which is in place or gone", Rdm, {throwing},
        {create, read(u"b"_s), caught(init(Rdm)), read(u"b"_s), available(), create,
         caught(clear(Rdm)), available()},
        uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        caught
        read g/b: int(2)
        info: Storage: Rdm reinitialized
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        caught
        read g/b: missing
        available: Rdm
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        caught
        info: Storage: Rdm cleared
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        caught
        available: none )");
}

void tst_ChangePropagation::handlersGetTheValueThatWasWritten()
{
    // The logger and the first handler change the variable that the writer passed.
    QFETCH(const SettingsType, type);
    TestHost host;
    RecordingHandler second(&host.journal, u"second"_s);
    host.manager.appendConfigurationHandler(&second);
    host.prepare(type);
    QVariant variable = 1;
    host.logger.reaction = [&variable](const QString &) { variable = u"reused"_s; };
    host.handler.reaction = [&variable](SettingsType, const QString &, const QString &,
                                        const QVariant &) { variable = u"reused"_s; };
    host.manager.setValue(u"g"_s, u"k"_s, variable, type);
    COMPARE_JOURNAL(host.journal, uR"(
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        second: SELF g/k = int(1) )",
                    type);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QCOMPARE(variable, QVariant(u"reused"_s));
}

void tst_ChangePropagation::anUncoveredTextIsNullWhereItsValueHasNoText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("isNull");
    QTest::newRow("text") << QVariant(u"en"_s) << false;
    QTest::newRow("empty text") << QVariant(u""_s) << false;
    QTest::newRow("null text") << QVariant(QString()) << true;
    QTest::newRow("map") << QVariant(QVariantMap{{u"x"_s, 1}}) << true;
    QTest::newRow("invalid") << QVariant() << true;
}

void tst_ChangePropagation::anUncoveredTextIsNullWhereItsValueHasNoText()
{
    // The text is the unchanged result of toString(). In the log a null text looks like an empty
    // one.
    QFETCH(const QVariant, value);
    QFETCH(const bool, isNull);
    TestHost host;
    host.prepare(Rdm, u"g"_s, {{u"k"_s, value}});
    host.prepare(Runtime, u"g"_s, {{u"k"_s, u"above"_s}});
    int calls = 0;
    host.handler.reaction
            = [&](SettingsType, const QString &, const QString &, const QVariant &uncovered) {
                  ++calls;
                  QCOMPARE(uncovered.metaType(), QMetaType::fromType<QString>());
                  QCOMPARE(uncovered.toString().isNull(), isNull);
              };
    host.manager.removeValue(u"g"_s, u"k"_s, Runtime);
    QCOMPARE(calls, 1);
    COMPARE_JOURNAL(host.journal, QString(uR"(
        debug: Top value changed Rdm: g/k = '%1'
        handler: Rdm g/k = QString(%1) )"_s.arg(value.toString())));
}

QTEST_GUILESS_MAIN(tst_ChangePropagation)
#include "tst_changepropagation.moc"

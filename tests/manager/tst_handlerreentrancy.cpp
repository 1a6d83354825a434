// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What handlers may do while they are notified: come and go, write settings, and create, replace
// and clear layers, including the one that has just changed.

#include "comparejournal.h"
#include "journalrows.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

const QString h = u"handler"_s; // registered from the start
const QString b = u"b"_s;
const QString c = u"c"_s;
const QString late = u"late"_s;

// As append() and remove(), without a line in the journal.
Step come(const QString &name)
{
    return [=](Scene &scene) {
        QVERIFY(scene.host.manager.appendConfigurationHandler(scene.handler(name)));
    };
}

Step go(const QString &name)
{
    return [=](Scene &scene) {
        QVERIFY(scene.host.manager.removeConfigurationHandler(scene.handler(name)));
    };
}

// Removes and destroys the handler.
Step die(const QString &name)
{
    return [=](Scene &scene) {
        go(name)(scene);
        scene.destroyHandler(name);
    };
}

// A Runtime layer, and "b" and "c" behind "handler".
const Steps threeHandlers{layer(Runtime), come(b), come(c)};

} // namespace

class tst_HandlerReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlersComeAndGo_data();
    void handlersComeAndGo() { runRow(); }
    void nestedChanges_data();
    void nestedChanges() { runRow(); }
    void layersChange_data();
    void layersChange() { runRow(); }

    void aLoggerMayClearALayerThatIsBeingCreated();
};

void tst_HandlerReentrancy::handlersComeAndGo_data()
{
    // One handler reacts to a change. The rows list the handlers notified of it and of the next.
    Rows row;
    const auto calls = [&row](const char *name, const QString &reacting, const Steps &reaction,
                              const QStringList &now, const QStringList &next) {
        QString journal;
        for (const auto &[value, called] : {std::pair(1, now), std::pair(2, next)}) {
            journal += u"\ndebug: Top value changed Runtime: g/k = '%1'"_s.arg(value);
            for (const QString &handler : called)
                journal += u"\n%1: Runtime g/k = int(%2)"_s.arg(handler).arg(value);
        }
        row(name, Runtime, threeHandlers + Steps{onFirst(reacting, u"k"_s, reaction)},
            {set(Runtime, u"k"_s, 1), set(Runtime, u"k"_s, 2)}, journal);
    };
    calls("the first removes itself", h, {go(h)}, {h, b, c}, {b, c});
    calls("the middle one removes itself", b, {go(b)}, {h, b, c}, {h, c});
    calls("the last removes itself", c, {go(c)}, {h, b, c}, {h, b});
    calls("an earlier one is removed", b, {go(h)}, {h, b, c}, {b, c});
    calls("a later one is removed", h, {go(b)}, {h, c}, {h, c});
    calls("a later one is removed and dies", h, {die(b)}, {h, c}, {h, c});
    calls("all are removed", b, {go(h), go(b), go(c)}, {h, b}, {});
    calls("one removes itself and dies", b, {die(b)}, {h, b, c}, {h, c});
    calls("one is appended", c, {come(late)}, {h, b, c}, {h, b, c, late});
    calls("one removes and appends itself", b, {go(b), come(b)}, {h, b, c}, {h, c, b});
    calls("a later one is removed and appended", h, {go(b), come(b)}, {h, c}, {h, c, b});
    calls("an earlier one is removed and appended", c, {go(h), come(h)}, {h, b, c}, {b, c, h});
    calls("all at once", b, {come(late), go(b), come(u"later"_s), go(h), come(h)}, {h, b, c},
          {c, late, u"later"_s, h});

    row("between two keys of a layer", Rdm,
        threeHandlers + Steps{onFirst(h, u"a"_s, {go(h), go(c), come(late)})},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})}, uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        b: Rdm g/a = int(1)
        b: Rdm g/b = int(2)
        late: Rdm g/b = int(2) )");
}

void tst_HandlerReentrancy::nestedChanges_data()
{
    Rows row;
    const Step write = set(Runtime, u"k"_s, 1);
    const Step writeNested = set(Runtime, u"nested"_s, 7);

    row("of another setting", Runtime, threeHandlers + Steps{onFirst(b, u"k"_s, {writeNested})},
        {write}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        b: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/nested = '7'
        handler: Runtime g/nested = int(7)
        b: Runtime g/nested = int(7)
        c: Runtime g/nested = int(7)
        c: Runtime g/k = int(1) )");

    // The later handlers are notified of the correction before the original change.
    row("of the same setting", Runtime,
        threeHandlers + Steps{onFirst(h, u"k"_s, {set(Runtime, u"k"_s, 2)})}, {write, read(u"k"_s)},
        uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/k = '2'
        handler: Runtime g/k = int(2)
        b: Runtime g/k = int(2)
        c: Runtime g/k = int(2)
        b: Runtime g/k = int(1)
        c: Runtime g/k = int(1)
        read g/k: int(2) )");

    row("its removal", Runtime,
        threeHandlers + Steps{onFirst(h, u"k"_s, {remove(Runtime, u"k"_s)})}, {write}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        debug: Parameter removed from all storages: g:k
        handler: Runtime g/k = invalid
        b: Runtime g/k = invalid
        c: Runtime g/k = invalid
        b: Runtime g/k = int(1)
        c: Runtime g/k = int(1) )");

    row("in which handlers come and go", Runtime,
        threeHandlers
                + Steps{onFirst(h, u"k"_s, {writeNested, come(late)}),
                        onFirst(b, u"nested"_s, {go(h), go(b), come(b)})},
        {write, set(Runtime, u"k"_s, 2)}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/nested = '7'
        handler: Runtime g/nested = int(7)
        b: Runtime g/nested = int(7)
        c: Runtime g/nested = int(7)
        c: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/k = '2'
        c: Runtime g/k = int(2)
        b: Runtime g/k = int(2)
        late: Runtime g/k = int(2) )");

    row("in which handlers are removed that the outer one has not reached", Runtime,
        threeHandlers
                + Steps{come(u"mortal"_s), come(late), onFirst(h, u"k"_s, {writeNested}),
                        onFirst(c, u"nested"_s, {go(b), die(u"mortal"_s)})},
        {write}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/nested = '7'
        handler: Runtime g/nested = int(7)
        b: Runtime g/nested = int(7)
        c: Runtime g/nested = int(7)
        late: Runtime g/nested = int(7)
        c: Runtime g/k = int(1)
        late: Runtime g/k = int(1) )");

    row("is all that a handler appended just before is notified of", Runtime,
        threeHandlers + Steps{onFirst(h, u"k"_s, {come(late), writeNested})}, {write}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        debug: Top value changed Runtime: g/nested = '7'
        handler: Runtime g/nested = int(7)
        b: Runtime g/nested = int(7)
        c: Runtime g/nested = int(7)
        late: Runtime g/nested = int(7)
        b: Runtime g/k = int(1)
        c: Runtime g/k = int(1) )");
}

void tst_HandlerReentrancy::layersChange_data()
{
    Rows row;

    row("another one is cleared and created", Runtime,
        {layer(Rdm, {{u"a"_s, 1}}), layer(Runtime), come(b),
         onFirst(h, u"k"_s, {clear(Rdm), init(Rdm, {{u"b"_s, 2}})})},
        {set(Runtime, u"k"_s, 1)}, uR"(
        debug: Top value changed Runtime: g/k = '1'
        handler: Runtime g/k = int(1)
        info: Storage: Rdm cleared
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        b: Rdm g/a = invalid
        info: Storage: Rdm initialized
        info: Top value changed Rdm: g/b = '2'
        handler: Rdm g/b = int(2)
        b: Rdm g/b = int(2)
        b: Runtime g/k = int(1) )");

    row("the one that is written is cleared", writableLayers,
        {layer(SELF), come(b), onFirst(h, u"k"_s, {clear(SELF)})},
        {set(SELF, u"k"_s, 1), available()}, uR"(
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = int(1)
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        b: SELF g/k = invalid
        b: SELF g/k = int(1)
        available: none )");

    // A file layer writes its file when it is destroyed: here at once, when its handler clears it.
    const Steps clearAndLook{clear(CustomConfPersistent), files()};
    row("the one that is written is cleared, and dies", CustomConfPersistent,
        {layer(SELF, {{u"k"_s, u"written"_s}}), onFirst(h, u"k"_s, clearAndLook)},
        {set(SELF, u"k"_s, u"again"_s)}, uR"(
        log: Top value changed SELF: g/k = 'again'
        handler: SELF g/k = QString(again)
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        file first/persistent/custom.conf: [g] k=again )");

    row("the one that a removal uncovers is cleared, and dies", CustomConfPersistent,
        {layer(SELF, {{u"k"_s, u"written"_s}}), layer(Runtime, {{u"k"_s, 1}}),
         onFirst(h, u"k"_s, clearAndLook)},
        {remove(Runtime, u"k"_s)}, uR"(
        debug: Top value changed SELF: g/k = 'written'
        handler: SELF g/k = QString(written)
        info: Storage: SELF cleared
        debug: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        file first/persistent/custom.conf: [g] k=written )");

    row("the one that is being created is written and cleared, and dies", CustomConfPersistent,
        {file(SELF, "[g]\nk=1\n"),
         onFirst(h, u"k"_s, Steps{set(CustomConfPersistent, u"x"_s, 2)} + clearAndLook)},
        {init(SELF)}, uR"(
        info: Storage: SELF initialized
        log: Top value changed SELF: g/k = '1'
        handler: SELF g/k = QString(1)
        log: Top value changed SELF: g/x = '2'
        handler: SELF g/x = int(2)
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        log: Parameter removed from all storages: g:x
        handler: SELF g/x = invalid
        file first/persistent/custom.conf: [g] k=1 x=2 )");

    row("the one that lost a key is replaced and written", writableLayers,
        {layer(SELF, {{u"k"_s, 1}, {u"other"_s, 2}}), come(b)},
        {onFirst(h, u"k"_s, {elsewhere(), init(SELF), set(SELF, u"k"_s, 3)}), remove(SELF, u"k"_s),
         read(u"k"_s)},
        uR"(
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        info: Storage: SELF reinitialized
        log: Parameter removed from all storages: g:other
        handler: SELF g/other = invalid
        b: SELF g/other = invalid
        log: Top value changed SELF: g/k = '3'
        handler: SELF g/k = int(3)
        b: SELF g/k = int(3)
        b: SELF g/k = invalid
        read g/k: int(3) )");

    // The notifications of the outer call continue with its own values.
    row("the one that is being created is cleared", Rdm, {onFirst(h, u"a"_s, {clear(Rdm)})},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}}), available()}, uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        info: Storage: Rdm cleared
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        info: Parameter removed from all storages: g:b
        handler: Rdm g/b = invalid
        handler: Rdm g/b = int(2)
        available: none )");

    row("the one that is being created is replaced", Rdm,
        {onFirst(h, u"a"_s, {init(Rdm, {{u"a"_s, 1}, {u"c"_s, 3}})})},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}}), read(u"b"_s), read(u"c"_s)}, uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        info: Storage: Rdm reinitialized
        info: Parameter removed from all storages: g:b
        handler: Rdm g/b = invalid
        info: Top value changed Rdm: g/c = '3'
        handler: Rdm g/c = int(3)
        handler: Rdm g/b = int(2)
        read g/b: missing
        read g/c: int(3) )");

    // b is held again, so it is not notified as lost. c is notified with the outer replacement's
    // value.
    row("the one that is being replaced is replaced", Rdm, {layer(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})},
        {onFirst(h, u"a"_s, {init(Rdm, {{u"b"_s, 20}, {u"c"_s, 30}})}), init(Rdm, {{u"c"_s, 3}}),
         read(u"c"_s)},
        uR"(
        info: Storage: Rdm reinitialized
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/b = '20', g/c = '30' }
        handler: Rdm g/b = int(20)
        handler: Rdm g/c = int(30)
        info: Top value changed Rdm: g/c = '3'
        handler: Rdm g/c = int(3)
        read g/c: int(30) )");

    // b is held again, so it is not notified as removed.
    row("the one that is being cleared is created", Rdm,
        {layer(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}})},
        {onFirst(h, u"a"_s, {init(Rdm, {{u"b"_s, 20}})}), clear(Rdm), read(u"b"_s)}, uR"(
        info: Storage: Rdm cleared
        info: Parameter removed from all storages: g:a
        handler: Rdm g/a = invalid
        info: Storage: Rdm initialized
        info: Top value changed Rdm: g/b = '20'
        handler: Rdm g/b = int(20)
        info: Parameter removed from all storages: g:c
        handler: Rdm g/c = invalid
        read g/b: int(20) )");
}

void tst_HandlerReentrancy::aLoggerMayClearALayerThatIsBeingCreated()
{
    // The keys of the layer are those that no higher layer holds, whatever lower layers hold.
    TestHost host;
    host.prepare(CommandLineArgs, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    host.logger.reaction = [&host](const QString &message) {
        if (message == "Storage: Rdm initialized"_L1)
            host.manager.clearStorage(Rdm);
    };
    host.manager.initStorage(Rdm, groupMap(u"g"_s, {{u"a"_s, 3}, {u"b"_s, 4}}));
    COMPARE_JOURNAL(host.journal, uR"(
        info: Storage: Rdm initialized
        info: Storage: Rdm cleared
        info: Top value changed CommandLineArgs: g/a = '1'
        handler: CommandLineArgs g/a = QString(1)
        info: Top value changed CommandLineArgs: g/b = '2'
        handler: CommandLineArgs g/b = QString(2)
        info: Top values changed: Rdm: { g/a = '3', g/b = '4' }
        handler: Rdm g/a = int(3)
        handler: Rdm g/b = int(4) )");
}

QTEST_GUILESS_MAIN(tst_HandlerReentrancy)
#include "tst_handlerreentrancy.moc"

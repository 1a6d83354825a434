// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Reads through the layers, and writes to and removals from one layer.

#include "comparejournal.h"
#include "datarows.h"
#include "journalrows.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_LayeredAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads() { runRow(); }
    void writes_data();
    void writes() { runRow(); }
    void removals_data();
    void removals() { runRow(); }
    void availability_data();
    void availability() { runRow(); }

    void aValueComesBackUnchanged_data() { addValueRows(); }
    void aValueComesBackUnchanged();
    void withoutADefaultTheValueIsInvalid();

    void aHandlerSeesTheChangeThatItIsNotifiedOf();
    void aLoggerSeesTheChangeThatItLogs();
};

void tst_LayeredAccess::reads_data()
{
    Rows row;

    row("one layer holds the key, the others are empty", storagePriority,
        {everyLayer(), layer(SELF, {{u"k"_s, 5}})}, {read(u"k"_s), holders(u"k"_s)}, uR"(
        read g/k: int(5)
        held g/k: SELF )");

    const Steps readAndHolders{read(u"k"_s), holders(u"k"_s)};
    const auto invalid = uR"(
        read g/k: invalid
        held g/k: SELF RavonaConfDefault )";
    row("an invalid value overrides the layers below", memoryLayers + mapLayers,
        {layer(RavonaConfDefault, {{u"k"_s, 5}}), layer(SELF, {{u"k"_s, QVariant()}})},
        readAndHolders, invalid);
    row("an invalid value overrides the layers below", {CustomConfPersistent, SelviDb},
        {layer(RavonaConfDefault, {{u"k"_s, 5}}), file(SELF, "[g]\nk=@Invalid()\n"), init(SELF)},
        readAndHolders, invalid);

    row("group and key both count, and their case", Runtime, {layer(Runtime, {{u"k"_s, 5}})},
        {read(u"k"_s), read(u"other"_s), read(u"k"_s, u"other"_s), read(u"g"_s, u"k"_s),
         read(u""_s), read(u"k"_s, u""_s), read(u"K"_s), read(u"k"_s, u"G"_s), holders(u"K"_s)},
        uR"(
        read g/k: int(5)
        read g/other: missing
        read other/k: missing
        read k/g: missing
        read g/: missing
        read /k: missing
        read g/K: missing
        read G/k: missing
        held g/K: by no layer )");

    row("the origin changes", Runtime,
        {layer(RavonaConfDefault, {{u"k"_s, u"ru"_s}}), layer(CustomConfPersistent),
         layer(Runtime, {{u"k"_s, u"en"_s}})},
        {read(u"k"_s), remove(Runtime, u"k"_s), read(u"k"_s),
         set(CustomConfPersistent, u"k"_s, u"de"_s), read(u"k"_s), set(Runtime, u"k"_s, u"fr"_s),
         read(u"k"_s)},
        uR"(
        read g/k: QString(en)
        debug: Top value changed RavonaConfDefault: g/k = 'ru'
        handler: RavonaConfDefault g/k = QString(ru)
        read g/k: QString(ru)
        debug: Top value changed CustomConfPersistent: g/k = 'de'
        handler: CustomConfPersistent g/k = QString(de)
        read g/k: QString(de)
        debug: Top value changed Runtime: g/k = 'fr'
        handler: Runtime g/k = QString(fr)
        read g/k: QString(fr) )");
}

void tst_LayeredAccess::writes_data()
{
    Rows row;

    row("reach the named layer only", writableLayers, {everyLayer()},
        {set(SELF, u"k"_s, 5), holders(u"k"_s)}, uR"(
        log: Top value changed SELF: g/k = '5'
        handler: SELF g/k = int(5)
        held g/k: SELF )");

    row("are lost without layers", storagePriority, {},
        {set(SELF, u"k"_s, 5), read(u"k"_s), holders(u"k"_s), available()}, uR"(
        read g/k: missing
        held g/k: by no layer
        available: none )");

    row("are lost without the named layer", storagePriority, {otherLayers()},
        {set(SELF, u"k"_s, 5), read(u"k"_s), files(), layer(SELF), read(u"k"_s)}, uR"(
        read g/k: missing
        no file
        info: Storage: SELF initialized
        read g/k: missing )");

    row("are refused by a map, even those of its own value", mapLayers,
        {everyLayer(), layer(SELF, {{u"k"_s, 5}})},
        {set(SELF, u"k"_s, 6), set(SELF, u"k"_s, 6), set(SELF, u"k"_s, 5), set(SELF, u"new"_s, 5),
         read(u"k"_s), read(u"new"_s)},
        uR"(
        error: The storage doesn't support writing!
        error: The storage doesn't support writing!
        error: The storage doesn't support writing!
        error: The storage doesn't support writing!
        read g/k: int(5)
        read g/new: missing )");

    row("to an unknown layer are lost", unknownTypes, {everyLayer(u"k"_s)},
        {set(SELF, u"k"_s, 5), remove(SELF, u"k"_s), read(u"k"_s), holders(u"k"_s)},
        QString("read g/k: QString(Runtime)\nheld g/k: "_L1 + namesBut(SELF)));
}

void tst_LayeredAccess::removals_data()
{
    Rows row;

    for (const SettingsType type : writableLayers) {
        row(QByteArray("reach the named layer only: ") + keyOf(type), type,
            {otherLayers(u"k"_s), layer(SELF, {{u"k"_s, 1}, {u"other"_s, 2}}),
             remove(SELF, u"k"_s)},
            {holders(u"k"_s), holders(u"other"_s)},
            QString("held g/k: "_L1 % namesBut(type) % "\nheld g/other: SELF"_L1));
    }

    for (const SettingsType type : storagePriority) {
        const QString held = "held g/k: "_L1 + namesBut(type);
        row(QByteArray("without the named layer: ") + keyOf(type), type, {otherLayers(u"k"_s)},
            {remove(SELF, u"k"_s), holders(u"k"_s)}, held);
        row(QByteArray("of what the layer does not hold: ") + keyOf(type), type,
            {otherLayers(u"k"_s), layer(SELF, {{u"other"_s, 1}})},
            {remove(SELF, u"k"_s), holders(u"k"_s)}, held);
    }

    row("are refused by a map, if it holds the key", mapLayers, {layer(SELF, {{u"k"_s, 5}})},
        {remove(SELF, u"other"_s), remove(SELF, u"k"_s), remove(SELF, u"k"_s), read(u"k"_s)}, uR"(
        error: The storage doesn't support removing!
        error: The storage doesn't support removing!
        read g/k: int(5) )");

    // Intentional: with an empty key or group, all settings of the group or of the file are
    // removed.
    const auto belowIt = [&row](const char *name, const QString &group, const QString &key,
                                const QString &volume) {
        row(name, CustomConfPersistent,
            {layer(SELF, {{u"lang"_s, u"en"_s}}, u"ui"_s), set(SELF, u"volume"_s, 7, u"player"_s)},
            {remove(SELF, key, group), read(u"lang"_s, u"ui"_s), set(SELF, key, 1, group),
             remove(SELF, key, group), read(u"lang"_s, u"ui"_s), read(u"volume"_s, u"player"_s)},
            uR"(
            read ui/lang: QString(en)
            debug: Top value changed SELF: GROUP/KEY = '1'
            handler: SELF GROUP/KEY = int(1)
            debug: Parameter removed from all storages: GROUP:KEY
            handler: SELF GROUP/KEY = invalid
            read ui/lang: missing
            read player/volume: VOLUME )",
            {{u"GROUP"_s, group}, {u"KEY"_s, key}, {u"VOLUME"_s, volume}});
    };
    belowIt("of an empty group, which a file holds", u""_s, u"ui"_s, u"int(7)"_s);
    belowIt("of an empty key, which a file holds", u"ui"_s, u""_s, u"int(7)"_s);
    belowIt("of both empty, which a file holds", u""_s, u""_s, u"missing"_s);

    row("of an invalid value", memoryLayers, {layer(SELF, {{u"k"_s, QVariant()}})},
        {remove(SELF, u"k"_s), read(u"k"_s)}, uR"(
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        read g/k: missing )");
}

void tst_LayeredAccess::availability_data()
{
    Rows row;

    row("while the layer exists", storagePriority, {},
        {available(), init(SELF), available(), clear(SELF), available()}, uR"(
        available: none
        info: Storage: SELF initialized
        available: SELF
        info: Storage: SELF cleared
        available: none )");

    row("not of an unknown layer", unknownTypes, {everyLayer()}, {available()},
        QString("available: "_L1 + namesBut(SELF)));

    row("not with a broken file, which is read and written all the same", fileLayers,
        {file(SELF, "[g]\nk=en\n[no bracket\n"), init(SELF)},
        {available(), read(u"k"_s), holders(u"k"_s), set(SELF, u"k"_s, u"de"_s), read(u"k"_s),
         remove(SELF, u"k"_s), read(u"k"_s)},
        uR"(
        available: none
        read g/k: QString(en)
        held g/k: SELF
        log: Top value changed SELF: g/k = 'de'
        handler: SELF g/k = QString(de)
        read g/k: QString(de)
        log: Parameter removed from all storages: g:k
        handler: SELF g/k = invalid
        read g/k: missing )");
}

void tst_LayeredAccess::aValueComesBackUnchanged()
{
    QFETCH(const QVariant, value);
    const auto compare = [&value](const QVariant &actual) {
        QCOMPARE(shown(actual), shown(value));
        QCOMPARE(actual.isNull(), value.isNull());
        QCOMPARE(actual.toString().isNull(), value.toString().isNull());
    };
    // As the default, without layers and with layers that hold other keys.
    TestHost host;
    compare(host.manager.value(u"ui"_s, u"lang"_s, value));
    for (const SettingsType type : storagePriority)
        host.prepare(type, u"ui"_s, {{u"size"_s, 1}});
    compare(host.manager.value(u"ui"_s, u"lang"_s, value));

    // As a stored value, whatever the type of the default.
    for (const SettingsType type : {Rdm, Runtime}) {
        host.prepare(type, u"ui"_s, {{u"lang"_s, value}});
        compare(host.manager.value(u"ui"_s, u"lang"_s, u"ru"_s));
        compare(host.manager.value(u"ui"_s, u"lang"_s, 7));
    }
}

void tst_LayeredAccess::withoutADefaultTheValueIsInvalid()
{
    TestHost host;
    host.prepare(Runtime, u"ui"_s, {{u"lang"_s, u"en"_s}});
    QCOMPARE(host.manager.value(u"ui"_s, u"lang"_s), QVariant(u"en"_s));
    QVERIFY(!host.manager.value(u"ui"_s, u"size"_s).isValid());
}

void tst_LayeredAccess::aHandlerSeesTheChangeThatItIsNotifiedOf()
{
    TestHost host;
    host.prepare(RavonaConfDefault, u"ui"_s, {{u"lang"_s, u"ru"_s}});
    host.prepare(Runtime);
    const ConfigurationManager &manager = host.manager;
    host.handler.reaction = [&](SettingsType, const QString &group, const QString &key,
                                const QVariant &) {
        host.journal.add(u"value %1, %2, %3, %4"_s.arg(
                describe(manager.value(group, key)),
                manager.contains(group, key) ? u"held"_s : u"gone"_s,
                manager.contains(group, key, Runtime) ? u"in Runtime"_s : u"not in Runtime"_s,
                manager.storageAvailable(Runtime) ? u"available"_s : u"missing"_s));
    };

    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, Runtime);
    host.manager.removeValue(u"ui"_s, u"lang"_s, Runtime);
    host.manager.clearStorage(Runtime);
    host.manager.clearStorage(RavonaConfDefault);
    COMPARE_JOURNAL(host.journal, uR"(
        debug: Top value changed Runtime: ui/lang = 'en'
        handler: Runtime ui/lang = QString(en)
        value QString(en), held, in Runtime, available
        debug: Top value changed RavonaConfDefault: ui/lang = 'ru'
        handler: RavonaConfDefault ui/lang = QString(ru)
        value QString(ru), held, not in Runtime, available
        info: Storage: Runtime cleared
        info: Storage: RavonaConfDefault cleared
        handler: RavonaConfDefault ui/lang = invalid
        value invalid, gone, not in Runtime, missing )");
}

void tst_LayeredAccess::aLoggerSeesTheChangeThatItLogs()
{
    TestHost host;
    ConfigurationManager &manager = host.manager;
    Journal seen;
    host.logger.reaction = [&](const QString &message) {
        seen.add(describe(manager.value(u"ui"_s, u"lang"_s)) % " at: "_L1 % message);
    };
    manager.clearStorage(Rdm);
    manager.initStorage(Rdm, groupMap(u"ui"_s, {{u"lang"_s, u"en"_s}}));
    manager.setValue(u"ui"_s, u"lang"_s, u"de"_s, Rdm);
    manager.initStorage(Rdm, groupMap(u"ui"_s, {{u"lang"_s, u"nl"_s}, {u"size"_s, 1}}));
    manager.initStorage(Runtime);
    manager.setValue(u"ui"_s, u"lang"_s, u"fr"_s, Runtime);
    manager.initStorage(Runtime);
    manager.setValue(u"ui"_s, u"lang"_s, u"it"_s, Runtime);
    manager.clearStorage(Runtime);
    manager.clearStorage(Rdm);
    COMPARE_JOURNAL(seen, uR"(
        invalid at: Unable to remove storage Rdm. Storage does not exist
        QString(en) at: Storage: Rdm initialized
        QString(en) at: Top value changed Rdm: ui/lang = 'en'
        QString(en) at: The storage doesn't support writing!
        QString(nl) at: Storage: Rdm reinitialized
        QString(nl) at: Top values changed: Rdm: { ui/lang = 'nl', ui/size = '1' }
        QString(nl) at: Storage: Runtime initialized
        QString(fr) at: Top value changed Runtime: ui/lang = 'fr'
        QString(nl) at: Storage: Runtime reinitialized
        QString(nl) at: Top value changed Rdm: ui/lang = 'nl'
        QString(it) at: Top value changed Runtime: ui/lang = 'it'
        QString(nl) at: Storage: Runtime cleared
        QString(nl) at: Top value changed Rdm: ui/lang = 'nl'
        invalid at: Storage: Rdm cleared
        invalid at: Parameter removed from all storages: ui:lang
        invalid at: Parameter removed from all storages: ui:size )");
}

QTEST_GUILESS_MAIN(tst_LayeredAccess)
#include "tst_layeredaccess.moc"

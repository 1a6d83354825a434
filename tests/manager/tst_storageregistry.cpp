// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The layers that there are, and what creating one changes, logs and notifies. Replacing and clearing
// have tests of their own; tst_LayerCalls tests the order of the layers.

#include "journalrows.h"

#include <QtCore/QDir>
#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_StorageRegistry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kindsOfLayers_data();
    void kindsOfLayers() { runRow(); }
    void fileNamesAreAppendedToThePathsAsTheyAre_data();
    void fileNamesAreAppendedToThePathsAsTheyAre() { runRow(); }
    void newKeys_data();
    void newKeys() { runRow(); }
    void overriddenKeys_data();
    void overriddenKeys() { runRow(); }
    void oddContents_data();
    void oddContents() { runRow(); }
    void valuesAreLoggedAsText_data();
    void valuesAreLoggedAsText() { runRow(); }
    void userTextIsLoggedAsItIs_data();
    void userTextIsLoggedAsItIs() { runRow(); }
};

void tst_StorageRegistry::kindsOfLayers_data()
{
    Rows row;
    const Step initBoth = initMap(SELF, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    const Steps use{holders(u"b"_s), set(SELF, u"c"_s, 3), available(), clear(SELF), files()};

    row("maps take the map and refuse writes", mapLayers, {initBoth}, use, uR"(
        held g/b: SELF
        error: The storage doesn't support writing!
        available: SELF
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:a
        handler: SELF g/a = invalid
        log: Parameter removed from all storages: g:b
        handler: SELF g/b = invalid
        no file )");

    const auto written = uR"(
        held g/b: by no layer
        log: Top value changed SELF: g/c = '3'
        handler: SELF g/c = int(3)
        available: SELF
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:c
        handler: SELF g/c = invalid
        FILES )";
    row("memory", memoryLayers, {initBoth}, use, written, {{u"FILES"_s, u"no file"_s}});
    row("custom.conf", CustomConfPersistent, {initBoth}, use, written,
        {{u"FILES"_s, u"file first/persistent/custom.conf: [g] c=3"_s}});
    row("selvi.db", SelviDb, {initBoth}, use, written,
        {{u"FILES"_s, u"file first/persistent/selvi.db: [g] c=3"_s}});
    row("ravona.conf", RavonaConfDefault, {initBoth}, use, written,
        {{u"FILES"_s, u"file first/assets/ravona.conf: [g] c=3"_s}});

    row("only maps take the map", memoryLayers + fileLayers, {}, {initBoth}, uR"(
        info: Storage: SELF initialized )");

    row("empty, among others that are not", storagePriority, {otherLayers(u"k"_s)}, {init(SELF)},
        uR"(
        info: Storage: SELF initialized )");

    row("an unknown type is ignored", unknownTypes, {},
        {initBoth, initBoth, available(), read(u"a"_s), files()}, uR"(
        available: none
        read g/a: missing
        no file )");

    const Step folderInPlaceOfTheFile
            = [](Scene &scene) { QVERIFY(QDir().mkdir(scene.host.filePath(scene.layer(SELF)))); };
    row("a file that cannot be read", fileLayers, {folderInPlaceOfTheFile},
        {init(SELF), available(), set(SELF, u"k"_s, 1), init(SELF), clear(SELF)}, uR"(
        info: Storage: SELF initialized
        available: none
        error: unable to write value 1 (g/k) to FILE, file is not writable
        info: Storage: SELF reinitialized
        info: Storage: SELF cleared )");
}

void tst_StorageRegistry::fileNamesAreAppendedToThePathsAsTheyAre_data()
{
    Rows row;
    const auto underPaths = [&row](const char *name, SettingsType type, const QString &persistent,
                                   const QString &assets, const QString &file) {
        const Step setPaths = [=](Scene &scene) {
            scene.host.manager.setPersistentStoragePath(scene.host.folder.path() + persistent);
            scene.host.manager.setAssetsPrefix(scene.host.folder.path() + assets);
        };
        row(name, type, {setPaths, layer(SELF, {{u"k"_s, 1}}), clear(SELF)}, {files()},
            QString("file "_L1 % file % ": [g] k=1"_L1));
    };
    const QString other = u"/other/"_s;
    underPaths("custom.conf", CustomConfPersistent, u"/data/"_s, other, u"data/custom.conf"_s);
    underPaths("custom.conf, no slash", CustomConfPersistent, u"/data"_s, other,
               u"datacustom.conf"_s);
    underPaths("selvi.db", SelviDb, u"/data/"_s, other, u"data/selvi.db"_s);
    underPaths("selvi.db, no slash", SelviDb, u"/data"_s, other, u"dataselvi.db"_s);
    underPaths("ravona.conf", RavonaConfDefault, other, u"/share/"_s, u"share/ravona.conf"_s);
    underPaths("ravona.conf, no slash", RavonaConfDefault, other, u"/share"_s,
               u"shareravona.conf"_s);
}

void tst_StorageRegistry::newKeys_data()
{
    Rows row;
    const QList<SettingsType> filledLayers
            = mapLayers + fileLayers; // those that come with contents

    row("one", filledLayers, {}, {init(SELF, {{u"a"_s, u"1"_s}})}, uR"(
        info: Storage: SELF initialized
        log: Top value changed SELF: g/a = '1'
        handler: SELF g/a = QString(1) )");

    row("several", filledLayers, {},
        {init(SELF, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u""_s}})}, uR"(
        info: Storage: SELF initialized
        log: Top values changed: SELF: { g/a = '1', g/b = '2', g/c = '' }
        handler: SELF g/a = QString(1)
        handler: SELF g/b = QString(2)
        handler: SELF g/c = QString() )");

    row("in the order of the layer", {CommandLineArgs, SelviDb},
        {file(SelviDb, "[b]\nz=1\nB=2\na=3\n[A]\nk=4\n")},
        {initMap(SELF,
                 {{u"b"_s, QVariantMap{{u"z"_s, u"1"_s}, {u"B"_s, u"2"_s}, {u"a"_s, u"3"_s}}},
                  {u"A"_s, QVariantMap{{u"k"_s, u"4"_s}}}})},
        uR"(
        info: Storage: SELF initialized
        debug: Top values changed: SELF: { A/k = '4', b/B = '2', b/a = '3', b/z = '1' }
        handler: SELF A/k = QString(4)
        handler: SELF b/B = QString(2)
        handler: SELF b/a = QString(3)
        handler: SELF b/z = QString(1) )");

    row("all handlers are notified of a key before the next key", Rdm, {append(u"second"_s)},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})}, uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        second: Rdm g/a = int(1)
        handler: Rdm g/b = int(2)
        second: Rdm g/b = int(2) )");

    const auto overLower = uR"(
        info: Storage: Rdm initialized
        info: Top value changed Rdm: g/a = 'en'
        handler: Rdm g/a = QString(en) )";
    row("held by a lower layer, another value", Rdm, {layer(SystemProperties, {{u"a"_s, u"ru"_s}})},
        {init(Rdm, {{u"a"_s, u"en"_s}})}, overLower);
    row("held by a lower layer, the same value", Rdm,
        {layer(SystemProperties, {{u"a"_s, u"en"_s}})}, {init(Rdm, {{u"a"_s, u"en"_s}})},
        overLower);
}

void tst_StorageRegistry::overriddenKeys_data()
{
    Rows row;
    const Step create = init(CommandLineArgs, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}});

    row("all", CommandLineArgs,
        {layer(Runtime, {{u"a"_s, u"above"_s}, {u"b"_s, 2}, {u"c"_s, QVariant()}})}, {create}, uR"(
        info: Storage: CommandLineArgs initialized )");

    row("all but one", CommandLineArgs, {layer(Runtime, {{u"a"_s, 1}, {u"c"_s, u"above"_s}})},
        {create}, uR"(
        info: Storage: CommandLineArgs initialized
        debug: Top value changed CommandLineArgs: g/b = '2'
        handler: CommandLineArgs g/b = int(2) )");

    row("all but two", CommandLineArgs, {layer(Runtime, {{u"b"_s, u"above"_s}})}, {create}, uR"(
        info: Storage: CommandLineArgs initialized
        debug: Top values changed: CommandLineArgs: { g/a = '1', g/c = '3' }
        handler: CommandLineArgs g/a = int(1)
        handler: CommandLineArgs g/c = int(3) )");
}

void tst_StorageRegistry::oddContents_data()
{
    Rows row;

    row("an entry of the map that is no group", Rdm, {},
        {initMap(Rdm, {{u"Logging"_s, 5}, {u"g"_s, QVariantMap{{u"a"_s, 1}}}})}, uR"(
        info: Storage: Rdm initialized
        info: Top value changed Rdm: g/a = '1'
        handler: Rdm g/a = int(1) )");

    // Intentional: a single key is handled as a change, where an invalid value means a removal, and
    // the layer still holds the key.
    row("a single invalid value", Rdm, {layer(RavonaConfDefault, {{u"a"_s, u"default"_s}})},
        {init(Rdm, {{u"a"_s, QVariant()}}), read(u"a"_s)}, uR"(
        info: Storage: Rdm initialized
        read g/a: invalid )");

    row("an invalid value among several", Rdm, {}, {init(Rdm, {{u"a"_s, QVariant()}, {u"b"_s, 2}})},
        uR"(
        info: Storage: Rdm initialized
        info: Top values changed: Rdm: { g/a = '', g/b = '2' }
        handler: Rdm g/a = invalid
        handler: Rdm g/b = int(2) )");

    // Intentional: a/x/c and a/y/c are both listed as a/c, a key that the layer cannot read.
    row("keys that a file lists twice", SelviDb, {file(SelviDb, "[a]\nx\\c=1\nb=2\ny\\c=3\n")},
        {init(SelviDb)}, uR"(
        info: Storage: SelviDb initialized
        debug: Top values changed: SelviDb: { a/b = '2', a/c = '', a/c = '' }
        handler: SelviDb a/b = QString(2)
        handler: SelviDb a/c = invalid
        handler: SelviDb a/c = invalid )");

    row("a single key that a file lists and does not hold", SelviDb,
        {file(SelviDb, "[a]\nx\\c=1\n")}, {init(SelviDb)}, uR"(
        info: Storage: SelviDb initialized
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid )");
}

void tst_StorageRegistry::valuesAreLoggedAsText_data()
{
    // Handlers get the value with its type, and as text where a removal uncovers it.
    Rows row;
    const auto logged = [&row](const char *name, const QVariant &value, const QString &text,
                               const QString &described) {
        row(name, Rdm, {layer(Runtime), layer(SystemProperties, {{u"u"_s, 1}})},
            {init(Rdm, {{u"a"_s, value}}), set(Runtime, u"b"_s, value),
             init(CommandLineArgs, {{u"c"_s, value}, {u"d"_s, value}, {u"u"_s, value}}),
             remove(SystemProperties, u"u"_s)},
            uR"(
            info: Storage: Rdm initialized
            info: Top value changed Rdm: g/a = 'TEXT'
            handler: Rdm g/a = DESCRIBED
            debug: Top value changed Runtime: g/b = 'TEXT'
            handler: Runtime g/b = DESCRIBED
            info: Storage: CommandLineArgs initialized
            debug: Top values changed: CommandLineArgs: { g/c = 'TEXT', g/d = 'TEXT' }
            handler: CommandLineArgs g/c = DESCRIBED
            handler: CommandLineArgs g/d = DESCRIBED
            info: Top value changed CommandLineArgs: g/u = 'TEXT'
            handler: CommandLineArgs g/u = QString(TEXT) )",
            {{u"TEXT"_s, text}, {u"DESCRIBED"_s, described}});
    };
    logged("text", u"en"_s, u"en"_s, u"QString(en)"_s);
    logged("null text", QString(), u""_s, u"QString()"_s);
    logged("number", -5, u"-5"_s, u"int(-5)"_s);
    logged("large number", Q_INT64_C(-5000000000), u"-5000000000"_s, u"qlonglong(-5000000000)"_s);
    logged("fraction", 0.5, u"0.5"_s, u"double(0.5)"_s);
    logged("truth", true, u"true"_s, u"bool(true)"_s);
    logged("bytes", QByteArray("xyz"), u"xyz"_s, u"QByteArray(xyz)"_s);
    logged("layer", QVariant::fromValue(Rdm), u"Rdm"_s, u"tamsel::SettingsType(Rdm)"_s);
    logged("map, which has no text", QVariantMap{{u"x"_s, 1}}, u""_s, u"QVariantMap()"_s);
    logged("list, which has no text", QVariantList{1, 2}, u""_s, u"QVariantList()"_s);
}

void tst_StorageRegistry::userTextIsLoggedAsItIs_data()
{
    Rows row;
    const auto logged = [&row](const char *name, const QString &group, const QString &key,
                               const QString &value) {
        const QString next = key + 'z'_L1; // sorts behind the key
        row(name, Rdm, {},
            {layer(SystemProperties, {{key, value}}, group),
             layer(Rdm, {{key, value}, {next, value}}, group), clear(Rdm)},
            uR"(
            info: Storage: SystemProperties initialized
            info: Top value changed SystemProperties: <group>/<key> = '<value>'
            handler: SystemProperties <group>/<key> = QString(<value>)
            info: Storage: Rdm initialized
            info: Top values changed: Rdm: { <group>/<key> = '<value>', <group>/<key>z = '<value>' }
            handler: Rdm <group>/<key> = QString(<value>)
            handler: Rdm <group>/<key>z = QString(<value>)
            info: Storage: Rdm cleared
            info: Top value changed SystemProperties: <group>/<key> = '<value>'
            handler: SystemProperties <group>/<key> = QString(<value>)
            info: Parameter removed from all storages: <group>:<key>z
            handler: Rdm <group>/<key>z = invalid )",
            {{u"<group>"_s, group}, {u"<key>"_s, key}, {u"<value>"_s, value}});
    };
    logged("place markers", u"%1"_s, u"%2%3"_s, u"%4 %L1 %99"_s);
    logged("percent signs", u"%"_s, u"%%"_s, u"100%n"_s);
    logged("the line's own signs", u"{ a/b"_s, u"= 'c',"_s, u"' }"_s);
    logged("commas at the end", u","_s, u",,"_s, u"',"_s);
    logged("empty", u""_s, u""_s, u""_s);
    logged("not Latin", u"группа"_s, u"鍵"_s, u"\U0001F4FA"_s);
    logged("line ends", u"a\nb"_s, u"c\r\nd"_s, u"e\n"_s);
    logged("a zero", u"a\0b"_s, u"\0"_s, u"c\0"_s);
}

QTEST_GUILESS_MAIN(tst_StorageRegistry)
#include "tst_storageregistry.moc"

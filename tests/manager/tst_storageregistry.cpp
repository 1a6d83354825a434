// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Which layers exist, and what creating, replacing and clearing one changes, logs and notifies.
// tst_LayerCalls tests the order of the layers.

#include "journalrows.h"

#include <QtCore/QDir>
#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

const QList<SettingsType> filledLayers = mapLayers + fileLayers; // may have contents when created

} // namespace

class tst_StorageRegistry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kindsOfLayers_data();
    void kindsOfLayers() { runRow(); }
    void fileNamesAreAppendedToThePathsAsTheyAre_data();
    void fileNamesAreAppendedToThePathsAsTheyAre() { runRow(); }
    void keysOfANewLayer_data();
    void keysOfANewLayer() { runRow(); }
    void overriddenKeysOfANewLayer_data();
    void overriddenKeysOfANewLayer() { runRow(); }
    void oddContentsOfANewLayer_data();
    void oddContentsOfANewLayer() { runRow(); }
    void valuesAreLoggedAsText_data();
    void valuesAreLoggedAsText() { runRow(); }
    void userTextIsLoggedAsItIs_data();
    void userTextIsLoggedAsItIs() { runRow(); }

    void replacedLayers_data();
    void replacedLayers() { runRow(); }
    void keysLostInAReplacement_data();
    void keysLostInAReplacement() { runRow(); }
    void changedMeansNotEqualAsVariants_data();
    void changedMeansNotEqualAsVariants() { runRow(); }
    void invalidValuesInAReplacement_data();
    void invalidValuesInAReplacement() { runRow(); }
    void overriddenKeysInAReplacement_data();
    void overriddenKeysInAReplacement() { runRow(); }
    void fileLayersReplaced_data();
    void fileLayersReplaced() { runRow(); }

    void clearingMissingLayers_data();
    void clearingMissingLayers() { runRow(); }
    void clearedLayers_data();
    void clearedLayers() { runRow(); }
    void keysOfAClearedLayer_data();
    void keysOfAClearedLayer() { runRow(); }
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

void tst_StorageRegistry::keysOfANewLayer_data()
{
    Rows row;
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

void tst_StorageRegistry::overriddenKeysOfANewLayer_data()
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

void tst_StorageRegistry::oddContentsOfANewLayer_data()
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
        {init(SelviDb), clear(SelviDb)}, uR"(
        info: Storage: SelviDb initialized
        debug: Top values changed: SelviDb: { a/b = '2', a/c = '', a/c = '' }
        handler: SelviDb a/b = QString(2)
        handler: SelviDb a/c = invalid
        handler: SelviDb a/c = invalid
        info: Storage: SelviDb cleared
        debug: Parameter removed from all storages: a:b
        handler: SelviDb a/b = invalid
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid
        debug: Parameter removed from all storages: a:c
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

void tst_StorageRegistry::replacedLayers_data()
{
    Rows row;
    const QVariantMap abc{{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"3"_s}};

    row("nothing for nothing", storagePriority, {init(SELF)}, {init(SELF), init(SELF)}, uR"(
        info: Storage: SELF reinitialized
        info: Storage: SELF reinitialized )");

    row("equal contents", filledLayers, {init(SELF, abc), elsewhere()}, {init(SELF, abc)}, uR"(
        info: Storage: SELF reinitialized )");

    row("one changed value", filledLayers, {init(SELF, abc), elsewhere()},
        {init(SELF, {{u"a"_s, u"1"_s}, {u"b"_s, u"changed"_s}, {u"c"_s, u"3"_s}})}, uR"(
        info: Storage: SELF reinitialized
        log: Top value changed SELF: g/b = 'changed'
        handler: SELF g/b = QString(changed) )");

    row("several changed values", filledLayers, {init(SELF, abc), elsewhere()},
        {init(SELF, {{u"a"_s, u"one"_s}, {u"b"_s, u"2"_s}, {u"c"_s, u"three"_s}})}, uR"(
        info: Storage: SELF reinitialized
        log: Top values changed: SELF: { g/a = 'one', g/c = 'three' }
        handler: SELF g/a = QString(one)
        handler: SELF g/c = QString(three) )");

    row("the first and the last of several values", Rdm,
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}, {u"d"_s, 4}, {u"e"_s, 5}})},
        {init(Rdm, {{u"a"_s, 6}, {u"b"_s, 2}, {u"c"_s, 3}, {u"d"_s, 4}, {u"e"_s, 7}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/a = '6', g/e = '7' }
        handler: Rdm g/a = int(6)
        handler: Rdm g/e = int(7) )");

    row("a new key", Rdm, {init(Rdm, {{u"a"_s, 1}})}, {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top value changed Rdm: g/b = '2'
        handler: Rdm g/b = int(2) )");
}

void tst_StorageRegistry::keysLostInAReplacement_data()
{
    Rows row;

    row("everything", storagePriority, {layer(SELF, {{u"a"_s, 1}, {u"b"_s, 2}}), elsewhere()},
        {init(SELF)}, uR"(
        info: Storage: SELF reinitialized
        log: Parameter removed from all storages: g:a
        handler: SELF g/a = invalid
        log: Parameter removed from all storages: g:b
        handler: SELF g/b = invalid )");

    row("in the order of the old layer", FeatureKeys,
        {initMap(FeatureKeys,
                 {{u"b"_s, QVariantMap{{u"y"_s, 1}, {u"X"_s, 2}}},
                  {u"a"_s, QVariantMap{{u"z"_s, 3}}},
                  {u"B"_s, QVariantMap{{u"k"_s, 4}, {u"kept"_s, 5}}}})},
        {initMap(FeatureKeys, groupMap(u"B"_s, {{u"kept"_s, 5}}))}, uR"(
        info: Storage: FeatureKeys reinitialized
        handler: FeatureKeys B/k = invalid
        handler: FeatureKeys a/z = invalid
        handler: FeatureKeys b/X = invalid
        handler: FeatureKeys b/y = invalid )");

    row("before changed and new ones", Rdm,
        {layer(SelviDb, {{u"lost z"_s, u"below"_s}}),
         layer(Rdm, {{u"changed"_s, 1}, {u"kept"_s, 2}, {u"lost a"_s, 3}, {u"lost z"_s, 4}})},
        {init(Rdm, {{u"changed"_s, 10}, {u"kept"_s, 2}, {u"new"_s, 5}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Parameter removed from all storages: g:lost a
        handler: Rdm g/lost a = invalid
        info: Top value changed SelviDb: g/lost z = 'below'
        handler: SelviDb g/lost z = QString(below)
        info: Top values changed: Rdm: { g/changed = '10', g/new = '5' }
        handler: Rdm g/changed = int(10)
        handler: Rdm g/new = int(5) )");

    row("an overridden one is not notified", Rdm,
        {layer(Runtime, {{u"a"_s, u"above"_s}}), layer(Rdm, {{u"a"_s, 1}})}, {init(Rdm)}, uR"(
        info: Storage: Rdm reinitialized )");
}

void tst_StorageRegistry::changedMeansNotEqualAsVariants_data()
{
    Rows row;
    const auto equal = [&row](const char *name, const QVariant &before, const QVariant &after) {
        row(name, Rdm, {layer(Rdm, {{u"k"_s, before}})}, {init(Rdm, {{u"k"_s, after}})}, uR"(
            info: Storage: Rdm reinitialized )");
    };
    const auto changed = [&row](const char *name, const QVariant &before, const QVariant &after,
                                const QString &described) {
        row(name, Rdm, {layer(Rdm, {{u"k"_s, before}})}, {init(Rdm, {{u"k"_s, after}})}, uR"(
            info: Storage: Rdm reinitialized
            info: Top value changed Rdm: g/k = 'TEXT'
            handler: Rdm g/k = DESCRIBED )",
            {{u"TEXT"_s, after.toString()}, {u"DESCRIBED"_s, described}});
    };
    const QVariantMap map{{u"x"_s, QVariantList{1, 2}}};
    equal("the same number", 1, 1);
    equal("the same number as a fraction", 1, 1.0);
    equal("the same text", u"a"_s, u"a"_s);
    equal("an empty text for a null one", QString(), u""_s);
    equal("nothing for nothing", QVariant(), QVariant());
    equal("an equal map", map, map);
    changed("another number", 1, 2, u"int(2)"_s);
    changed("another fraction", 1, 1.5, u"double(1.5)"_s);
    changed("another case", u"a"_s, u"A"_s, u"QString(A)"_s);
    changed("the same text as bytes", u"a"_s, QByteArray("a"), u"QByteArray(a)"_s);
    changed("a null text for nothing", QVariant(), QString(), u"QString()"_s);
    changed("another map, with the same text", map, QVariantMap{{u"x"_s, QVariantList{1, 3}}},
            u"QVariantMap()"_s);
    row("an equal value is replaced all the same", Rdm, {layer(Rdm, {{u"k"_s, 1}})},
        {init(Rdm, {{u"k"_s, 1.0}}), read(u"k"_s)}, uR"(
        info: Storage: Rdm reinitialized
        read g/k: double(1) )");
}

void tst_StorageRegistry::invalidValuesInAReplacement_data()
{
    Rows row;

    // Intentional: as with a new layer, a single invalid value is not notified.
    row("a single value turns invalid", Rdm, {layer(Rdm, {{u"a"_s, 1}})},
        {init(Rdm, {{u"a"_s, QVariant()}}), read(u"a"_s)}, uR"(
        info: Storage: Rdm reinitialized
        read g/a: invalid )");

    row("one of several turns invalid", Rdm, {layer(Rdm, {{u"a"_s, 1}, {u"b"_s, 1}})},
        {init(Rdm, {{u"a"_s, QVariant()}, {u"b"_s, 2}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/a = '', g/b = '2' }
        handler: Rdm g/a = invalid
        handler: Rdm g/b = int(2) )");

    row("an invalid value turns valid", Rdm, {layer(Rdm, {{u"a"_s, QVariant()}})},
        {init(Rdm, {{u"a"_s, 1}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top value changed Rdm: g/a = '1'
        handler: Rdm g/a = int(1) )");
}

void tst_StorageRegistry::overriddenKeysInAReplacement_data()
{
    Rows row;
    const Step above = layer(Runtime, {{u"a"_s, u"above"_s}});
    const Step unchanged = layer(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    const Step changed = layer(Rdm, {{u"a"_s, 10}, {u"b"_s, 2}});
    const Step isNew = layer(Rdm, {{u"b"_s, 2}});

    const Step alone = init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}});
    const auto silent = uR"(
        info: Storage: Rdm reinitialized )";
    row("unchanged, alone", Rdm, {above, unchanged}, {alone}, silent);
    row("changed, alone", Rdm, {above, changed}, {alone}, silent);
    row("new, alone", Rdm, {above, isNew}, {alone}, silent);

    // Intentional: overridden keys are left out when a layer is created, but not here.
    const Step together = init(Rdm, {{u"a"_s, 1}, {u"b"_s, u"new"_s}});
    const auto notified = uR"(
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/a = '1', g/b = 'new' }
        handler: Rdm g/a = int(1)
        handler: Rdm g/b = QString(new)
        read g/a: QString(above) )";
    row("unchanged, with another", Rdm, {above, unchanged}, {together, read(u"a"_s)}, notified);
    row("changed, with another", Rdm, {above, changed}, {together, read(u"a"_s)}, notified);
    row("new, with another", Rdm, {above, isNew}, {together, read(u"a"_s)}, notified);

    row("two, both unchanged", Rdm,
        {layer(Runtime, {{u"a"_s, u"above"_s}, {u"b"_s, u"above"_s}}),
         layer(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}})},
        {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top values changed: Rdm: { g/a = '1', g/b = '2' }
        handler: Rdm g/a = int(1)
        handler: Rdm g/b = int(2) )");

    row("a lost key does not count as another", Rdm,
        {above, layer(Rdm, {{u"a"_s, 1}, {u"lost"_s, 2}})}, {init(Rdm, {{u"a"_s, 1}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Parameter removed from all storages: g:lost
        handler: Rdm g/lost = invalid )");

    row("unchanged, and held by a lower layer", Rdm,
        {layer(RavonaConfDefault, {{u"a"_s, 5}}), layer(Rdm, {{u"a"_s, 1}})},
        {init(Rdm, {{u"a"_s, 1}})}, silent);
}

void tst_StorageRegistry::fileLayersReplaced_data()
{
    Rows row;

    // The old layer and the new one are on one file, and QSettings shares the contents of a file.
    row("values that are not written yet", fileLayers, {layer(SELF, {{u"a"_s, 1}, {u"b"_s, 2}})},
        {files(), init(SELF), read(u"a"_s), read(u"b"_s)}, uR"(
        no file
        info: Storage: SELF reinitialized
        read g/a: int(1)
        read g/b: int(2) )");

    // Intentional: the old layer shows the new contents too, so the two do not differ.
    row("a file that was changed from outside", fileLayers,
        {init(SELF, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}})},
        {init(SELF, {{u"a"_s, u"changed"_s}, {u"c"_s, u"3"_s}}), read(u"a"_s), read(u"b"_s),
         read(u"c"_s)},
        uR"(
        info: Storage: SELF reinitialized
        read g/a: QString(changed)
        read g/b: missing
        read g/c: QString(3) )");
}

void tst_StorageRegistry::clearingMissingLayers_data()
{
    Rows row;
    const auto warning = uR"(
        warning: Unable to remove storage SELF. Storage does not exist )";
    row("never created", storagePriority, {otherLayers(u"k"_s)}, {clear(SELF)}, warning);
    row("cleared", storagePriority, {layer(SELF), clear(SELF)}, {clear(SELF)}, warning);
    row("unknown", unknownTypes, {everyLayer(u"k"_s)}, {clear(SELF), holders(u"k"_s)}, uR"(
        warning: Unable to remove storage . Storage does not exist
        held g/k: Runtime Rdm FeatureKeys SystemProperties CommandLineArgs CustomConfPersistent SelviDb RavonaConfDefault )");
}

void tst_StorageRegistry::clearedLayers_data()
{
    Rows row;

    row("empty, and created again", storagePriority, {layer(SELF)}, {clear(SELF), init(SELF)}, uR"(
        info: Storage: SELF cleared
        info: Storage: SELF initialized )");

    row("gone for reads, writes and removals", storagePriority,
        {layer(SELF, {{u"k"_s, 1}}), clear(SELF)},
        {available(), set(SELF, u"k"_s, 2), remove(SELF, u"k"_s), read(u"k"_s), holders(u"k"_s)},
        uR"(
        available: none
        read g/k: missing
        held g/k: by no layer )");

    for (const SettingsType type : storagePriority) {
        row(QByteArray("the others stay: ") + keyOf(type), type, {everyLayer(u"k"_s), clear(SELF)},
            {holders(u"k"_s)}, QString("held g/k: "_L1 + namesBut(type)));
    }
}

void tst_StorageRegistry::keysOfAClearedLayer_data()
{
    Rows row;

    row("held by no other layer", storagePriority,
        {append(u"second"_s), layer(SELF, {{u"a"_s, 1}, {u"b"_s, 2}})}, {clear(SELF)}, uR"(
        info: Storage: SELF cleared
        log: Parameter removed from all storages: g:a
        handler: SELF g/a = invalid
        second: SELF g/a = invalid
        log: Parameter removed from all storages: g:b
        handler: SELF g/b = invalid
        second: SELF g/b = invalid )");

    row("in the order of the layer", Runtime,
        {layer(Runtime), set(Runtime, u"z"_s, 1), set(Runtime, u"X"_s, 1), set(Runtime, u"y"_s, 1)},
        {clear(Runtime)}, uR"(
        info: Storage: Runtime cleared
        debug: Parameter removed from all storages: g:X
        handler: Runtime g/X = invalid
        debug: Parameter removed from all storages: g:y
        handler: Runtime g/y = invalid
        debug: Parameter removed from all storages: g:z
        handler: Runtime g/z = invalid )");

    row("held by the lowest layer", storagePriority.first(storagePriority.size() - 1),
        {layer(RavonaConfDefault, {{u"k"_s, 5}}), layer(SELF, {{u"k"_s, 6}})}, {clear(SELF)}, uR"(
        info: Storage: SELF cleared
        log: Top value changed RavonaConfDefault: g/k = '5'
        handler: RavonaConfDefault g/k = QString(5) )");

    row("overridden, by an invalid value too", SelviDb,
        {layer(Runtime, {{u"a"_s, 1}, {u"b"_s, QVariant()}}),
         layer(SelviDb, {{u"a"_s, 2}, {u"b"_s, 2}})},
        {clear(SelviDb)}, uR"(
        info: Storage: SelviDb cleared )");

    row("each decided on its own", SystemProperties,
        {layer(Runtime, {{u"overridden"_s, 1}}),
         layer(SystemProperties, {{u"alone"_s, 2}, {u"held below"_s, 2}, {u"overridden"_s, 2}}),
         layer(SelviDb, {{u"held below"_s, 0.5}, {u"overridden"_s, 0.5}})},
        {clear(SystemProperties)}, uR"(
        info: Storage: SystemProperties cleared
        info: Parameter removed from all storages: g:alone
        handler: SystemProperties g/alone = invalid
        info: Top value changed SelviDb: g/held below = '0.5'
        handler: SelviDb g/held below = QString(0.5) )");
}

QTEST_GUILESS_MAIN(tst_StorageRegistry)
#include "tst_storageregistry.moc"

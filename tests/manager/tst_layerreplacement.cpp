// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What replacing a layer changes, logs and notifies.

#include "comparejournal.h"
#include "datarows.h"
#include "journalrows.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

const QList<SettingsType> filledLayers = mapLayers + fileLayers; // those that come with contents

} // namespace

class tst_LayerReplacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes_data();
    void changes() { runRow(); }
    void lostKeys_data();
    void lostKeys() { runRow(); }
    void changedMeansNotEqualAsVariants_data();
    void changedMeansNotEqualAsVariants() { runRow(); }
    void invalidValues_data();
    void invalidValues() { runRow(); }
    void overriddenKeys_data();
    void overriddenKeys() { runRow(); }
    void ranks_data();
    void ranks() { runRow(); }
    void fileLayersReplaced_data();
    void fileLayersReplaced() { runRow(); }

    void theOldFileIsWrittenWhenTheReplacementIsOver_data();
    void theOldFileIsWrittenWhenTheReplacementIsOver();
};

void tst_LayerReplacement::changes_data()
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

    row("a new key", Rdm, {init(Rdm, {{u"a"_s, 1}})}, {init(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})}, uR"(
        info: Storage: Rdm reinitialized
        info: Top value changed Rdm: g/b = '2'
        handler: Rdm g/b = int(2) )");
}

void tst_LayerReplacement::lostKeys_data()
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

void tst_LayerReplacement::changedMeansNotEqualAsVariants_data()
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

void tst_LayerReplacement::invalidValues_data()
{
    Rows row;

    // Intentional: as for a new layer, a single invalid value is not notified.
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

void tst_LayerReplacement::overriddenKeys_data()
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

void tst_LayerReplacement::ranks_data()
{
    Rows row;
    for (const SettingsType type : storagePriority) {
        const QString name = QLatin1StringView(keyOf(type));
        row(keyOf(type), type, {everyLayer(u"k"_s), elsewhere(), layer(SELF, {{u"k"_s, u"NEW"_s}})},
            {order(u"k"_s)}, uR"(
            order g/k: Runtime Rdm FeatureKeys SystemProperties CommandLineArgs CustomConfPersistent SelviDb RavonaConfDefault none )",
            {{name, u"NEW"_s}});
    }
}

void tst_LayerReplacement::fileLayersReplaced_data()
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

    // Intentional: a/x/c and a/y/c are both listed as a/c, which no layer can read, so that equal
    // contents count as changed.
    row("a key that is listed twice stays", SelviDb,
        {file(SelviDb, "[a]\nb=2\nx\\c=1\ny\\c=3\n"), init(SelviDb)}, {init(SelviDb)}, uR"(
        info: Storage: SelviDb reinitialized
        debug: Top values changed: SelviDb: { a/c = '', a/c = '' }
        handler: SelviDb a/c = invalid
        handler: SelviDb a/c = invalid )");

    row("a key that is listed twice is lost", SelviDb,
        {file(SelviDb, "[a]\nx\\c=1\ny\\b=2\ny\\c=3\n"), init(SelviDb), elsewhere()},
        {init(SelviDb)}, uR"(
        info: Storage: SelviDb reinitialized
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid
        debug: Parameter removed from all storages: a:b
        handler: SelviDb a/b = invalid
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid )");
}

void tst_LayerReplacement::theOldFileIsWrittenWhenTheReplacementIsOver_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerReplacement::theOldFileIsWrittenWhenTheReplacementIsOver()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}});
    const QString oldFile = host.filePath(type);
    int calls = 0;
    host.handler.reaction = [&](SettingsType, const QString &, const QString &, const QVariant &) {
        ++calls;
        QVERIFY(readFile(oldFile).isNull());
    };
    host.moveTo(u"second"_s);
    host.init(type, {{u"c"_s, u"3"_s}, {u"d"_s, u"4"_s}});
    QCOMPARE(calls, 4);
    QCOMPARE(readFile(oldFile), "[g]\na=1\nb=2\n");
}

QTEST_GUILESS_MAIN(tst_LayerReplacement)
#include "tst_layerreplacement.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What clearing a layer changes, logs and notifies.

#include "datarows.h"
#include "journalrows.h"

#include <QtTest/QTest>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_LayerClearing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void missingLayers_data();
    void missingLayers() { runRow(); }
    void clearedLayers_data();
    void clearedLayers() { runRow(); }
    void theirKeys_data();
    void theirKeys() { runRow(); }

    void theFileIsWrittenBeforeTheClearingIsLogged_data();
    void theFileIsWrittenBeforeTheClearingIsLogged();
};

void tst_LayerClearing::missingLayers_data()
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

void tst_LayerClearing::clearedLayers_data()
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

void tst_LayerClearing::theirKeys_data()
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

    // Intentional: a/x/c and a/y/c are both listed as a/c.
    row("listed twice by a file", SelviDb, {file(SelviDb, "[a]\nx\\c=1\ny\\c=3\n"), init(SelviDb)},
        {clear(SelviDb)}, uR"(
        info: Storage: SelviDb cleared
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid
        debug: Parameter removed from all storages: a:c
        handler: SelviDb a/c = invalid )");
}

void tst_LayerClearing::theFileIsWrittenBeforeTheClearingIsLogged_data()
{
    addTypeRows(fileLayers);
}

void tst_LayerClearing::theFileIsWrittenBeforeTheClearingIsLogged()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type, u"g"_s, {{u"a"_s, 1}});
    QByteArray contents;
    host.logger.reaction = [&](const QString &message) {
        if (message.endsWith("cleared"_L1))
            contents = readFile(host.filePath(type));
    };
    host.manager.clearStorage(type);
    QCOMPARE(contents, "[g]\na=1\n");
}

QTEST_GUILESS_MAIN(tst_LayerClearing)
#include "tst_layerclearing.moc"

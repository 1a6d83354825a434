// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "journalrows.h"

#include "comparejournal.h"

#include <QtCore/QDirIterator>
#include <QtTest/QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

struct Row
{
    SettingsType self = SELF;
    Steps before;
    Steps steps;
    QString journal;
    Words words;
};

QVariantMap ownName(SettingsType type, const QString &key)
{
    return key.isEmpty() ? QVariantMap() : QVariantMap{{key, nameOf(type)}};
}

// The names of the layers for which `isMeant` is true; `self` may be an unknown layer.
QString namesOf(SettingsType self, const std::function<bool(SettingsType)> &isMeant)
{
    QStringList names;
    for (const SettingsType type : storagePriority) {
        if (isMeant(type))
            names.append(nameOf(type));
    }
    if (!storagePriority.contains(self) && isMeant(self))
        names.append(u"unknown"_s);
    return names.join(u' ');
}

} // namespace

RecordingHandler *Scene::handler(const QString &name)
{
    if (name == "handler"_L1)
        return &host.handler;
    std::unique_ptr<RecordingHandler> &handler = m_handlers[name];
    if (!handler)
        handler = std::make_unique<RecordingHandler>(&host.journal, name);
    return handler.get();
}

Step init(SettingsType type)
{
    return [=](Scene &scene) { scene.host.manager.initStorage(scene.layer(type)); };
}

Step init(SettingsType type, const QVariantMap &entries)
{
    return [=](Scene &scene) { scene.host.init(scene.layer(type), entries); };
}

Step initMap(SettingsType type, const QVariantMap &groups)
{
    return [=](Scene &scene) { scene.host.manager.initStorage(scene.layer(type), groups); };
}

Step layer(SettingsType type, const QVariantMap &entries, const QString &group)
{
    return [=](Scene &scene) {
        ConfigurationManager &manager = scene.host.manager;
        const SettingsType self = scene.layer(type);
        manager.initStorage(self, groupMap(group, entries));
        if (mapLayers.contains(self))
            return;
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            manager.setValue(group, entry.key(), entry.value(), self);
    };
}

Step everyLayer(const QString &key)
{
    return [=](Scene &scene) {
        otherLayers(key)(scene);
        layer(SELF, ownName(scene.layer(SELF), key))(scene);
    };
}

Step otherLayers(const QString &key)
{
    return [=](Scene &scene) {
        for (const SettingsType type : storagePriority) {
            if (type != scene.layer(SELF))
                layer(type, ownName(type, key))(scene);
        }
    };
}

Step clear(SettingsType type)
{
    return [=](Scene &scene) { scene.host.manager.clearStorage(scene.layer(type)); };
}

Step set(SettingsType type, const QString &key, const QVariant &value, const QString &group)
{
    return [=](Scene &scene) { scene.host.manager.setValue(group, key, value, scene.layer(type)); };
}

Step remove(SettingsType type, const QString &key, const QString &group)
{
    return [=](Scene &scene) { scene.host.manager.removeValue(group, key, scene.layer(type)); };
}

Step append(const QString &handler)
{
    return [=](Scene &scene) {
        const bool done = scene.host.manager.appendConfigurationHandler(scene.handler(handler));
        scene.host.journal.add(u"append %1: %2"_s.arg(handler, QVariant(done).toString()));
    };
}

Step remove(const QString &handler)
{
    return [=](Scene &scene) {
        const bool done = scene.host.manager.removeConfigurationHandler(scene.handler(handler));
        scene.host.journal.add(u"remove %1: %2"_s.arg(handler, QVariant(done).toString()));
    };
}

Step file(SettingsType type, const QByteArray &contents)
{
    return [=](Scene &scene) {
        QVERIFY(writeFile(scene.host.filePath(scene.layer(type)), contents));
    };
}

Step elsewhere()
{
    return [](Scene &scene) { scene.host.moveTo(u"second"_s); };
}

Step onFirst(const QString &handler, const QString &key, const Steps &steps)
{
    return [=](Scene &scene) {
        scene.handler(handler)->reaction = [&scene, key, steps,
                                            done = false](SettingsType, const QString &,
                                                          const QString &changed,
                                                          const QVariant &) mutable {
            if (changed != key || std::exchange(done, true))
                return;
            const Steps own = steps; // the handler may die of them, and with it this function
            Scene &itsScene = scene;
            for (const Step &step : own)
                step(itsScene);
        };
    };
}

Step read(const QString &key, const QString &group)
{
    return [=](Scene &scene) {
        const ConfigurationManager &manager = scene.host.manager;
        const QVariant value = manager.value(group, key, u"the default"_s);
        const QString answer = manager.contains(group, key) ? describe(value)
                : value == u"the default"_s                 ? u"missing"_s
                                                            : u"missing, yet read"_s;
        scene.host.journal.add("read "_L1 % group % '/'_L1 % key % ": "_L1 % answer);
    };
}

Step holders(const QString &key)
{
    return [=](Scene &scene) {
        const auto holds
                = [&](SettingsType type) { return scene.host.manager.contains(u"g"_s, key, type); };
        const QString names = namesOf(scene.layer(SELF), holds);
        scene.host.journal.add("held g/"_L1 % key % ": "_L1
                               % (names.isEmpty() ? u"by no layer"_s : names));
    };
}

Step available()
{
    return [](Scene &scene) {
        const auto isAvailable
                = [&](SettingsType type) { return scene.host.manager.storageAvailable(type); };
        const QString names = namesOf(scene.layer(SELF), isAvailable);
        scene.host.journal.add("available: "_L1 + (names.isEmpty() ? u"none"_s : names));
    };
}

Step files()
{
    return [](Scene &scene) {
        const QDir folder(scene.host.folder.path());
        QStringList lines;
        QDirIterator it(folder.path(), QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            lines.append("file "_L1 % folder.relativeFilePath(path) % ": "_L1
                         % QString::fromUtf8(readFile(path)).simplified());
        }
        lines.sort();
        if (lines.isEmpty())
            lines.append(u"no file"_s);
        for (const QString &line : std::as_const(lines))
            scene.host.journal.add(line);
    };
}

QString namesBut(SettingsType type)
{
    return namesOf(Rdm, [=](SettingsType other) { return other != type; });
}

Rows::Rows()
{
    QTest::addColumn<Row>("row");
}

void Rows::operator()(const QByteArray &name, const Layers &layers, const Steps &before,
                      const Steps &steps, QStringView journal, const Words &words)
{
    for (const SettingsType self : layers) {
        const QByteArray layerName = keyOf(self) != nullptr
                ? QByteArray(keyOf(self))
                : "layer " + QByteArray::number(static_cast<int>(self));
        QByteArray rowName = name;
        if (layers.size() > 1)
            rowName += ": " + layerName;
        QTest::newRow(rowName.constData()) << Row{self, before, steps, journal.toString(), words};
    }
}

void runRow()
{
    QFETCH(const Row, row);
    Scene scene(row.self);
    for (const Step &step : row.before)
        step(scene);
    scene.host.journal.take();
    for (const Step &step : row.steps)
        step(scene);
    if (QTest::currentTestFailed())
        return;

    QStringList expected = expectedLines(row.journal, row.self);
    for (auto word = row.words.cbegin(); word != row.words.cend(); ++word)
        expected.replaceInStrings(word.key(), word.value());
    QStringList actual = scene.host.journal.take();
    if (fileLayers.contains(row.self))
        actual.replaceInStrings(scene.host.filePath(row.self), u"FILE"_s);
    const QString text = difference(actual, expected);
    QVERIFY2(text.isEmpty(), qPrintable(text));
}

} // namespace tamsel::tests

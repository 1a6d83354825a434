// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The manager over fake layers: which calls it makes on them, how often, in which order, whether it
// holds its lock meanwhile, and when they die. A surplus call is a fault, as lookups get slower.
// tst_LayeredAccess reads while something is logged or notified, and so tests that the lock is free
// then.

#include "journalrows.h"
#include "managerprivate.h"

#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<IConfigurationChangeHandler, ConfigurationManagerPrivate>);
static_assert(std::has_virtual_destructor_v<ConfigurationManagerPrivate>);

namespace {

QList<SettingsType> typesOf(const ConfigurationManagerPrivate &d)
{
    QList<SettingsType> types;
    for (const auto &storage : d.storages)
        types.append(storage->type());
    return types;
}

// Steps with fake layers.

// Creates or replaces a layer, which is called by its type where no name is given.
Step fake(SettingsType type, const QVariantMap &entries = {}, const QString &name = {})
{
    return [=](Scene &scene) {
        const SettingsType self = scene.layer(type);
        privateOf(scene.host.manager)
                .registerStorage(
                        makeLayer(&scene.host, self, name.isNull() ? nameOf(self) : name, entries));
    };
}

// The same; the layer lists the keys in this order, and then `listed`, which it does not hold.
Step listing(SettingsType type, const QString &name,
             const QList<std::pair<QString, QVariant>> &held, const QStringList &listed = {})
{
    return [=](Scene &scene) {
        const auto layer = makeLayer(&scene.host, type, name);
        for (const auto &[key, value] : held)
            layer->put(u"g"_s, key, value);
        for (const QString &key : listed)
            layer->list(u"g"_s, key);
        privateOf(scene.host.manager).registerStorage(layer);
    };
}

// Changes the layer of the type.
Step change(SettingsType type, const std::function<void(FakeStorage &)> &action)
{
    return [=](Scene &scene) {
        for (const auto &layer : std::as_const(privateOf(scene.host.manager).storages)) {
            if (layer->type() == type)
                action(static_cast<FakeStorage &>(*layer));
        }
    };
}

// Steps that write what the manager returns into the journal.

Step value(const QString &key) // "value: int(1)", or the default, "missing"
{
    return [=](Scene &scene) {
        const QVariant result = scene.host.manager.value(u"g"_s, key, u"missing"_s);
        scene.host.journal.add("value: "_L1 + describe(result));
    };
}

Step contains(const QString &key) // "contains: true"
{
    return [=](Scene &scene) {
        const bool isHeld = scene.host.manager.contains(u"g"_s, key);
        scene.host.journal.add("contains: "_L1 + QVariant(isHeld).toString());
    };
}

Step containsIn(SettingsType type, const QString &key) // "Rdm contains: true"
{
    return [=](Scene &scene) {
        const bool isHeld = scene.host.manager.contains(u"g"_s, key, type);
        scene.host.journal.add(nameOf(type) + " contains: "_L1 + QVariant(isHeld).toString());
    };
}

Step layers() // "layers: Rdm SelviDb"
{
    return [](Scene &scene) {
        QString line = u"layers:"_s;
        for (const SettingsType type : typesOf(privateOf(scene.host.manager)))
            line += ' '_L1 + nameOf(type);
        scene.host.journal.add(line);
    };
}

// Steps that change the journal.

// Keeps the lines that contain one of the words.
Step only(const QStringList &words)
{
    return [=](Scene &scene) {
        const QStringList lines = scene.host.journal.take();
        for (const QString &line : lines) {
            if (std::any_of(words.cbegin(), words.cend(),
                            [&line](const QString &word) { return line.contains(word); }))
                scene.host.journal.add(line);
        }
    };
}

// Either side of a comparison may be read first, so sorts the two lines after each of these.
Step inEitherOrder(const QStringList &lines)
{
    return [=](Scene &scene) {
        QStringList journal = scene.host.journal.take();
        for (const QString &line : lines) {
            const auto next = journal.begin() + journal.indexOf(line) + 1;
            std::sort(next, std::min(next + 2, journal.end()));
        }
        for (const QString &line : std::as_const(journal))
            scene.host.journal.add(line);
    };
}

const Steps threeLayers{fake(Runtime, {{u"other"_s, 1}}), fake(Rdm, {{u"k"_s, u"Rdm's"_s}}),
                        fake(SelviDb, {{u"k"_s, u"SelviDb's"_s}})};

// Calls a function when it is copied. Small and relocatable, so that QVariant copies it instead of
// sharing it.
class Copied
{
public:
    Copied() = default;
    Copied(const Copied &other) : m_onCopy(other.m_onCopy)
    {
        if (m_onCopy != nullptr)
            (*m_onCopy)();
    }
    Copied &operator=(const Copied &) = delete;
    ~Copied() = default;

    const std::function<void()> *m_onCopy = nullptr;
};

// For Copied: writes each copy into the journal.
std::function<void()> recordCopies(TestHost &host)
{
    return [&host] {
        host.journal.add(isLocked(&privateOf(host.manager).mutex) ? u"copied, locked"_s
                                                                  : u"copied"_s);
    };
}

} // namespace

Q_DECLARE_TYPEINFO(Copied, Q_RELOCATABLE_TYPE);

class tst_LayerCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads() { runRow(); }
    void writes_data();
    void writes() { runRow(); }
    void creating_data();
    void creating() { runRow(); }
    void replacing_data();
    void replacing() { runRow(); }
    void clearing_data();
    void clearing() { runRow(); }

    void everyLayerFindsItsPlaceAmongAnyOthers();
    void callsGrowWithTheNumberOfKeys();
    void theDefaultIsCopiedBeforeTheLockIsTaken();
    void aRemovalFindsTheUncoveredValueInOneStep();
    void aValueThatIsGoneByNowIsCopiedBeforeItIsLogged();
    void aReadReleasesTheLockWhenALayerThrows();
    void whatDoesNotReadLayersTakesNoLock_data();
    void whatDoesNotReadLayersTakesNoLock();
    void theUncoveredLayerMayBeClearedMeanwhile();
    void destructionReleasesTheLayersWhileThePathsAreStillThere();
    void aSharedLayerOutlivesItsReplacementItsClearingAndItsManager();
};

void tst_LayerCalls::reads_data()
{
    Rows row;

    row("from above until a layer holds the key", Rdm, threeLayers,
        {value(u"k"_s), contains(u"k"_s)}, uR"(
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked
        Rdm: value g/k, locked
        value: QString(Rdm's)
        Runtime: contains g/k, locked
        Rdm: contains g/k, locked
        contains: true )");

    row("of one layer", Rdm, threeLayers,
        {containsIn(SelviDb, u"k"_s), containsIn(Runtime, u"k"_s), containsIn(FeatureKeys, u"k"_s)},
        uR"(
        SelviDb: contains g/k
        SelviDb contains: true
        Runtime: contains g/k
        Runtime contains: false
        FeatureKeys contains: false )");

    row("of an invalid value", Rdm, {fake(Rdm), fake(FeatureKeys, {{u"k"_s, QVariant()}})},
        {value(u"k"_s)}, uR"(
        Rdm: contains g/k, locked
        FeatureKeys: contains g/k, locked
        FeatureKeys: value g/k, locked
        value: invalid )");

    Steps allLayers;
    QString everyLayerOnce;
    for (const SettingsType type : storagePriority) {
        allLayers.append(fake(type, {{u"other"_s, 1}}));
        everyLayerOnce += nameOf(type) + ": contains g/k, locked\n"_L1;
    }
    row("missing", Rdm, allLayers, {value(u"k"_s), contains(u"k"_s)},
        QString(everyLayerOnce + "value: QString(missing)\n"_L1 + everyLayerOnce
                + "contains: false"_L1));

    row("and writes do not ask whether the layer is available", Rdm,
        {fake(Rdm, {{u"k"_s, 1}}), change(Rdm, [](FakeStorage &rdm) { rdm.available = false; })},
        {value(u"k"_s), containsIn(Rdm, u"k"_s), set(Rdm, u"k"_s, 2), remove(Rdm, u"k"_s),
         available()},
        uR"(
        Rdm: contains g/k, locked
        Rdm: value g/k, locked
        value: int(1)
        Rdm: contains g/k
        Rdm contains: true
        Rdm: setValue g/k = int(2)
        Rdm: contains g/k
        Rdm: remove g/k
        Rdm: isAvailable
        available: none )");

    const Step noteCopies = [](Scene &scene) {
        const auto &storages = privateOf(scene.host.manager).storages;
        change(Rdm, [&storages](FakeStorage &rdm) {
            rdm.note = [&storages] { return storages.isDetached() ? u""_s : u", list copied"_s; };
        })(scene);
    };
    row("do not copy the list of layers", Rdm, {fake(Rdm, {{u"k"_s, 1}}), noteCopies},
        {contains(u"k"_s), value(u"k"_s)}, uR"(
        Rdm: contains g/k
        contains: true
        Rdm: contains g/k
        Rdm: value g/k
        value: int(1) )");
}

void tst_LayerCalls::writes_data()
{
    Rows row;

    row("are handed on as they are", Rdm, threeLayers,
        {set(SelviDb, u"k"_s, 5), set(Rdm, u"k"_s, u"Rdm's"_s), // an equal value
         set(Runtime, QString(), QVariant(), QString()), set(FeatureKeys, u"k"_s, 5)},
        uR"(
        SelviDb: setValue g/k = int(5)
        Rdm: setValue g/k = QString(Rdm's)
        Runtime: setValue / = invalid )");

    row("removals ask once and are handed on if the key is held", Rdm, threeLayers,
        {remove(SelviDb, u"k"_s), remove(Runtime, u"k"_s), remove(FeatureKeys, u"k"_s)}, uR"(
        SelviDb: contains g/k
        SelviDb: remove g/k
        Runtime: contains g/k )");

    // The layer's own value does not matter: it is neither read nor compared.
    row("changes that a layer reports", Rdm, {fake(Rdm, {{u"held"_s, 5}}), fake(SelviDb)},
        {change(Rdm,
                [](FakeStorage &rdm) {
                    rdm.notify(u"g"_s, u"held"_s, 5);
                    rdm.notify(u"g"_s, u"held"_s, QVariant());
                    rdm.notify(u"g"_s, u"missing"_s, 5);
                })},
        uR"(
        Rdm: contains g/held, locked
        info: Top value changed Rdm: g/held = '5'
        handler: Rdm g/held = int(5)
        Rdm: contains g/held, locked
        Rdm: contains g/missing, locked
        SelviDb: contains g/missing, locked
        info: Parameter removed from all storages: g:missing
        handler: Rdm g/missing = int(5) )");
}

void tst_LayerCalls::creating_data()
{
    Rows row;
    const Step create = fake(SELF, {{u"a"_s, 1}, {u"b"_s, 2}}, u"new"_s);
    const Step withoutHandlers = remove(u"handler"_s);

    // Memory layers too, though real ones have no keys at this moment. A value is read once for the
    // log and once for all handlers; a line that is not logged is not built.
    row("with several keys, logged",
        {Rdm, SystemProperties, CommandLineArgs, CustomConfPersistent, Runtime, SelviDb},
        {append(u"second"_s)}, {create}, uR"(
        new: keys
        info: Storage: SELF initialized
        new: value g/a
        new: value g/b
        log: Top values changed: SELF: { g/a = '1', g/b = '2' }
        new: value g/a
        handler: SELF g/a = int(1)
        second: SELF g/a = int(1)
        new: value g/b
        handler: SELF g/b = int(2)
        second: SELF g/b = int(2) )");

    row("with several keys, not logged", {RavonaConfDefault, FeatureKeys}, {append(u"second"_s)},
        {create}, uR"(
        new: keys
        info: Storage: SELF initialized
        new: value g/a
        handler: SELF g/a = int(1)
        second: SELF g/a = int(1)
        new: value g/b
        handler: SELF g/b = int(2)
        second: SELF g/b = int(2) )");

    row("neither logged nor notified", {RavonaConfDefault, FeatureKeys},
        {fake(Runtime, {{u"a"_s, 1}}), withoutHandlers}, {create}, uR"(
        new: keys
        info: Storage: SELF initialized )");

    const Step loggerAppends = [](Scene &scene) {
        TestHost &host = scene.host;
        host.logger.reaction = [&host](const QString &) {
            host.manager.appendConfigurationHandler(&host.handler);
        };
    };
    row("notified to a handler that the logger appends", FeatureKeys,
        {withoutHandlers, loggerAppends}, {create, only({u"handler: "_s})}, uR"(
        handler: FeatureKeys g/a = int(1)
        handler: FeatureKeys g/b = int(2) )");

    row("below another", Rdm, {fake(Runtime, {{u"a"_s, 1}}), fake(SelviDb, {{u"b"_s, 1}})},
        {create}, uR"(
        new: keys
        info: Storage: Rdm initialized
        Runtime: contains g/a, locked
        Runtime: contains g/b, locked
        new: value g/b
        Runtime: contains g/b, locked
        new: contains g/b, locked
        info: Top value changed Rdm: g/b = '2'
        handler: Rdm g/b = int(2) )");

    row("empty", FeatureKeys, threeLayers, {fake(FeatureKeys)}, uR"(
        FeatureKeys: keys
        info: Storage: FeatureKeys initialized )");

    row("of an unknown type, which is above all others", unknownTypes,
        {fake(Runtime, {{u"k"_s, 5}})},
        {fake(SELF, {{u"k"_s, 6}, {u"l"_s, 7}}, u"unknown"_s), layers(), clear(SELF)}, uR"(
        unknown: keys
        info: Storage:  initialized
        unknown: value g/k
        handler:  g/k = int(6)
        unknown: value g/l
        handler:  g/l = int(7)
        layers:  Runtime
        unknown: keys
        unknown: dies
        info: Storage:  cleared
        Runtime: contains g/k, locked
        Runtime: value g/k
        handler: Runtime g/k = QString(5)
        Runtime: contains g/l, locked
        handler:  g/l = invalid )");
}

void tst_LayerCalls::replacing_data()
{
    Rows row;

    row("compares what both hold", Rdm,
        {fake(Rdm, {{u"changed"_s, 1}, {u"kept"_s, 2}, {u"lost"_s, 3}}, u"old"_s)},
        {fake(Rdm, {{u"added"_s, 4}, {u"changed"_s, 10}, {u"kept"_s, 2}}, u"new"_s),
         inEitherOrder({u"old: contains g/changed, locked"_s, u"old: contains g/kept, locked"_s})},
        uR"(
        new: keys
        old: keys
        old: contains g/changed, locked
        new: value g/changed
        old: value g/changed
        old: contains g/kept, locked
        new: value g/kept
        old: value g/kept
        info: Storage: Rdm reinitialized
        new: contains g/lost, locked
        info: Parameter removed from all storages: g:lost
        handler: Rdm g/lost = invalid
        new: value g/added
        new: value g/changed
        info: Top values changed: Rdm: { g/added = '4', g/changed = '10' }
        new: value g/added
        handler: Rdm g/added = int(4)
        new: value g/changed
        handler: Rdm g/changed = int(10)
        old: dies )");

    row("does not compare what is overridden", Rdm,
        {fake(Runtime, {{u"k"_s, 1}}), fake(Rdm, {{u"k"_s, 2}}, u"old"_s)},
        {fake(Rdm, {{u"k"_s, 2}}, u"new"_s)}, uR"(
        new: keys
        old: keys
        Runtime: contains g/k, locked
        info: Storage: Rdm reinitialized
        new: value g/k
        Runtime: contains g/k, locked
        old: dies )");

    // The value of a key that is only listed is invalid before and after, but the layer is not its
    // origin.
    const auto notHeld = [](const QString &name) {
        return listing(SelviDb, name, {{u"held"_s, QVariant()}},
                       {u"listed"_s, u"listed, held below"_s});
    };
    row("notifies what is listed and not held", SelviDb,
        {fake(RavonaConfDefault, {{u"listed, held below"_s, 1}}), notHeld(u"old"_s)},
        {notHeld(u"new"_s), only({u"contains"_s, u"handler: "_s})}, uR"(
        old: contains g/held, locked
        old: contains g/listed, locked
        RavonaConfDefault: contains g/listed, locked
        old: contains g/listed, held below, locked
        RavonaConfDefault: contains g/listed, held below, locked
        handler: SelviDb g/listed = invalid
        handler: SelviDb g/listed, held below = invalid )");

    const auto keys = [](const QString &name, const QStringList &names) {
        QList<std::pair<QString, QVariant>> held;
        for (const QString &key : names)
            held.append({key, key.startsWith("changed"_L1) ? name : u"same"_s});
        return listing(FeatureKeys, name, held);
    };
    row("keys listed twice stay twice", FeatureKeys,
        {keys(u"old"_s, {u"lost"_s, u"kept"_s, u"lost"_s, u"kept"_s})},
        {keys(u"new"_s, {u"z"_s, u"kept"_s, u"a"_s, u"z"_s, u"kept"_s}), only({u"handler: "_s})},
        uR"(
        handler: FeatureKeys g/lost = invalid
        handler: FeatureKeys g/lost = invalid
        handler: FeatureKeys g/z = QString(same)
        handler: FeatureKeys g/a = QString(same)
        handler: FeatureKeys g/z = QString(same) )");

    // Keys may be listed in any order: combines each order of the old ones with each of the new
    // ones.
    const QMap<QString, std::pair<QStringList, QStringList>> orders{
            {u"ascending"_s,
             {{u"a lost"_s, u"changed"_s, u"kept b"_s, u"kept f"_s, u"lost e"_s},
              {u"changed"_s, u"d new"_s, u"kept b"_s, u"kept f"_s, u"new g"_s}}},
            {u"descending"_s,
             {{u"lost e"_s, u"kept f"_s, u"kept b"_s, u"changed"_s, u"a lost"_s},
              {u"new g"_s, u"kept f"_s, u"kept b"_s, u"d new"_s, u"changed"_s}}},
            {u"mixed"_s,
             {{u"kept f"_s, u"a lost"_s, u"changed"_s, u"kept b"_s, u"lost e"_s},
              {u"new g"_s, u"changed"_s, u"kept f"_s, u"kept b"_s, u"d new"_s}}}};
    for (auto before = orders.cbegin(); before != orders.cend(); ++before) {
        for (auto after = orders.cbegin(); after != orders.cend(); ++after) {
            QString journal;
            for (const QString &key : before->first.filter(u"lost"_s))
                journal += "handler: FeatureKeys g/"_L1 + key + " = invalid\n"_L1;
            for (const QString &key : after->second) {
                if (!key.startsWith("kept"_L1)) {
                    journal += "handler: FeatureKeys g/"_L1 + key + " = QString("_L1
                            + (key == "changed"_L1 ? u"new"_s : u"same"_s) + ")\n"_L1;
                }
            }
            row(QString("keys "_L1 + before.key() + ", then "_L1 + after.key()).toUtf8(),
                FeatureKeys, {keys(u"old"_s, before->first)},
                {keys(u"new"_s, after->second), only({u"handler: "_s})}, journal);
        }
    }
}

void tst_LayerCalls::clearing_data()
{
    Rows row;

    row("the layer dies before the clearing is logged", Rdm,
        {fake(SelviDb, {{u"a"_s, 5}}), fake(Rdm, {{u"a"_s, 1}, {u"b"_s, 2}})}, {clear(Rdm)}, uR"(
        Rdm: keys
        Rdm: dies
        info: Storage: Rdm cleared
        SelviDb: contains g/a, locked
        SelviDb: value g/a
        info: Top value changed SelviDb: g/a = '5'
        handler: SelviDb g/a = QString(5)
        SelviDb: contains g/b, locked
        info: Parameter removed from all storages: g:b
        handler: Rdm g/b = invalid )");

    const Step addNoting = [](Scene &scene) {
        ConfigurationManagerPrivate &d = privateOf(scene.host.manager);
        const auto rdm = makeLayer(&scene.host, Rdm, u"Rdm"_s);
        rdm->note = [&d] { return u", %1 in the list"_s.arg(d.storages.size()); };
        d.registerStorage(rdm);
    };
    row("keys are listed before the layer comes and goes", Rdm, {}, {addNoting, clear(Rdm)}, uR"(
        Rdm: keys, 0 in the list
        info: Storage: Rdm initialized
        Rdm: keys, 1 in the list
        Rdm: dies, 0 in the list
        info: Storage: Rdm cleared )");

    const Step addSurplus = [](Scene &scene) { // registerStorage() would replace the layer
        privateOf(scene.host.manager).storages.append(makeLayer(&scene.host, Rdm, u"surplus"_s));
    };
    row("every layer of the type goes", Rdm, {fake(Runtime), fake(Rdm), fake(SelviDb), addSurplus},
        {clear(Rdm), only({u"keys"_s, u"cleared"_s}), layers()}, uR"(
        Rdm: keys
        info: Storage: Rdm cleared
        layers: Runtime SelviDb )");

    // A layer is cleared while the last of its first values is notified.
    for (const QVariantMap &entries :
         {QVariantMap{{u"z"_s, 1}}, QVariantMap{{u"a"_s, 1}, {u"b"_s, 2}, {u"z"_s, 3}}}) {
        const QByteArray count = QByteArray::number(entries.size());
        for (const bool isReplacement : {false, true}) {
            row("at its last notification, the layer dies at once: " + count
                        + (isReplacement ? " keys, replaced" : " keys, new"),
                Rdm, isReplacement ? Steps{fake(Rdm, {}, u"old"_s)} : Steps{},
                {onFirst(u"handler"_s, u"z"_s, {clear(Rdm)}), fake(Rdm, entries, u"new"_s),
                 only({u"new: keys"_s, u"new: dies"_s, u"cleared"_s})},
                uR"(
                new: keys
                new: keys
                new: dies
                info: Storage: Rdm cleared )");
        }
    }
}

void tst_LayerCalls::everyLayerFindsItsPlaceAmongAnyOthers()
{
    // Adds to every set of layers each layer that is not in it, which covers all orders of
    // creation. A replacement has the place of the layer that it replaces.
    Journal journal;
    RecordingLogger logger(&journal);
    for (int present = 0; present < 256; ++present) {
        for (int added = 0; added < 8; ++added) {
            if ((present & 1 << added) != 0)
                continue;
            ConfigurationManager manager(&logger);
            ConfigurationManagerPrivate &d = privateOf(manager);
            const auto add = [&](int rank) {
                d.registerStorage(QSharedPointer<FakeStorage>::create(storagePriority.at(rank), &d,
                                                                      &journal, QString()));
            };
            QList<SettingsType> expected;
            for (int rank = 0; rank < 8; ++rank) {
                if ((present & 1 << rank) != 0)
                    add(rank);
                if (((present | 1 << added) & 1 << rank) != 0)
                    expected.append(storagePriority.at(rank));
            }
            for (int round = 0; round < 2; ++round) {
                add(added);
                QCOMPARE(typesOf(d), expected);
            }
        }
    }
}

void tst_LayerCalls::callsGrowWithTheNumberOfKeys()
{
    const int count = 2000;
    QVariantMap entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QString::number(i), i);
    TestHost host;
    addLayer(&host, Runtime, u"Runtime"_s);
    addLayer(&host, Rdm, u"old"_s, entries);
    registerLayer(&host, Rdm, u"new"_s, entries);
    const QStringList lines = host.journal.take();
    for (const auto &[call, calls] :
         {std::pair(u"new: keys"_s, 1), std::pair(u"old: keys"_s, 1),
          std::pair(u"Runtime: contains"_s, count), std::pair(u"old: contains"_s, count),
          std::pair(u"old: value"_s, count), std::pair(u"new: value"_s, count)})
        QCOMPARE(lines.filter(call).size(), calls);
    QCOMPARE(lines.size(), 4 * count + 4); // the layer was replaced, and the old one died
    host.manager.clearStorage(Rdm);
    QCOMPARE(host.journal.take().filter(u"Runtime: contains"_s).size(), count);
}

void tst_LayerCalls::theDefaultIsCopiedBeforeTheLockIsTaken()
{
    TestHost host;
    addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    const std::function<void()> onCopy = recordCopies(host);
    Copied copied;
    copied.m_onCopy = &onCopy;
    const QVariant defaultValue = QVariant::fromValue(copied);
    host.journal.take();
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s, defaultValue), QVariant(1));
    COMPARE_JOURNAL(host.journal, uR"(
        copied
        Rdm: contains g/k, locked
        Rdm: value g/k, locked )");
}

void tst_LayerCalls::aRemovalFindsTheUncoveredValueInOneStep()
{
    TestHost host;
    host.manager.initStorage(Runtime);
    host.manager.initStorage(SystemProperties);
    const std::function<void()> onCopy = recordCopies(host);
    Copied copied;
    copied.m_onCopy = &onCopy;
    host.manager.setValue(u"g"_s, u"k"_s, QVariant::fromValue(copied), SystemProperties);
    host.manager.setValue(u"g"_s, u"k"_s, 1, Runtime);
    host.journal.take();
    host.manager.removeValue(u"g"_s, u"k"_s, Runtime);
    COMPARE_JOURNAL(host.journal, uR"(
        copied, locked
        debug: Top value changed SystemProperties: g/k = ''
        handler: SystemProperties g/k = QString() )");
}

void tst_LayerCalls::aValueThatIsGoneByNowIsCopiedBeforeItIsLogged()
{
    TestHost host;
    const auto runtime = addLayer(&host, Runtime, u"Runtime"_s);
    QVariant variable = 1;
    host.logger.reaction = [&variable](const QString &) { variable = u"reused"_s; };
    host.journal.take();
    runtime->notify(u"g"_s, u"gone"_s, variable);
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/gone, locked
        debug: Parameter removed from all storages: g:gone
        handler: Runtime g/gone = int(1) )");
    QCOMPARE(variable, QVariant(u"reused"_s));
}

void tst_LayerCalls::aReadReleasesTheLockWhenALayerThrows()
{
    TestHost host;
    const auto rdm = addLayer(&host, Rdm, u"Rdm"_s, {{u"k"_s, 1}});
    rdm->note = []() -> QString { throw std::runtime_error("out of order"); };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)host.manager.value(u"g"_s, u"k"_s));
    rdm->note = nullptr;
    QVERIFY(!isLocked(&privateOf(host.manager).mutex));
}

void tst_LayerCalls::whatDoesNotReadLayersTakesNoLock_data()
{
    using Action = std::function<void(ConfigurationManager *)>;
    QTest::addColumn<Action>("action");
    QTest::newRow("setting the paths") << Action([](ConfigurationManager *manager) {
        manager->setPersistentStoragePath(u"/data/"_s);
        manager->setAssetsPrefix(u"/assets/"_s);
    });
    QTest::newRow("reading the paths") << Action([](ConfigurationManager *manager) {
        static_cast<void>(manager->persistentStoragePath());
        static_cast<void>(manager->startupScreenDirPath());
    });
    QTest::newRow("appending and removing a handler") << Action([](ConfigurationManager *manager) {
        manager->appendConfigurationHandler(nullptr);
        manager->removeConfigurationHandler(nullptr);
    });
    QTest::newRow("destruction") << Action(
            [](ConfigurationManager *manager) { std::destroy_at(manager); });
}

void tst_LayerCalls::whatDoesNotReadLayersTakesNoLock()
{
    using Action = std::function<void(ConfigurationManager *)>;
    QFETCH(const Action, action);
    const bool isDestruction = qstrcmp(QTest::currentDataTag(), "destruction") == 0;
    Journal journal;
    RecordingLogger logger(&journal);
    alignas(ConfigurationManager) unsigned char memory[sizeof(ConfigurationManager)];
    auto *manager = new (memory) ConfigurationManager(&logger);
    manager->initStorage(Rdm, groupMap(u"g"_s, {{u"k"_s, 1}}));
    QMutex &mutex = privateOf(*manager).mutex;
    mutex.lock();
    if (isDestruction)
        QTest::ignoreMessage(QtWarningMsg, "QMutex: destroying locked mutex");
    std::promise<void> done;
    std::thread thread([&] {
        action(manager);
        done.set_value();
    });
    const bool isFree
            = done.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    if (!isFree || !isDestruction)
        mutex.unlock();
    thread.join();
    if (!isDestruction)
        std::destroy_at(manager);
    QVERIFY2(isFree, "it waited for the lock");
}

void tst_LayerCalls::theUncoveredLayerMayBeClearedMeanwhile()
{
    // The lock is free while the value of the layer below is read.
    TestHost host;
    const auto runtime = addLayer(&host, Runtime, u"Runtime"_s);
    auto selvi = addLayer(&host, SelviDb, u"SelviDb"_s, {{u"k"_s, 5}});
    bool isCleared = false;
    selvi->note = [&host, &isCleared, calls = 0]() mutable {
        if (++calls == 2 && !std::exchange(isCleared, true)) // contains() comes first
            std::thread([&host] { host.manager.clearStorage(SelviDb); }).join();
        return QString();
    };
    selvi.reset();
    runtime->notify(u"g"_s, u"k"_s, QVariant());
    COMPARE_JOURNAL(host.journal, uR"(
        Runtime: contains g/k, locked
        SelviDb: contains g/k
        SelviDb: keys
        info: Storage: SelviDb cleared
        Runtime: contains g/k, locked
        debug: Parameter removed from all storages: g:k
        handler: SelviDb g/k = invalid
        SelviDb: value g/k
        SelviDb: dies
        debug: Top value changed SelviDb: g/k = '5'
        handler: SelviDb g/k = QString(5) )");
}

void tst_LayerCalls::destructionReleasesTheLayersWhileThePathsAreStillThere()
{
    Journal journal;
    auto manager = std::make_unique<ConfigurationManager>(nullptr);
    manager->setPersistentStoragePath(u"/data/"_s);
    manager->setAssetsPrefix(u"/share/"_s);
    ConfigurationManagerPrivate *const d = &privateOf(*manager);
    for (const SettingsType type : {Rdm, Runtime}) {
        auto layer = QSharedPointer<FakeStorage>::create(type, d, &journal, nameOf(type));
        layer->note = [d]() -> QString {
            return " with "_L1 % d->persistentStoragePath % ' '_L1 % d->assetsPrefix;
        };
        d->storages.append(std::move(layer));
    }
    manager.reset();
    QStringList lines = journal.take();
    lines.sort(); // the order among the layers is not promised
    QCOMPARE(lines,
             QStringList(
                     {u"Rdm: dies with /data/ /share/"_s, u"Runtime: dies with /data/ /share/"_s}));
}

void tst_LayerCalls::aSharedLayerOutlivesItsReplacementItsClearingAndItsManager()
{
    auto host = std::make_unique<TestHost>();
    Journal journal; // outlives the host
    const auto add = [&](const QString &name) {
        auto layer = QSharedPointer<FakeStorage>::create(Rdm, &privateOf(host->manager), &journal,
                                                         name);
        privateOf(host->manager).registerStorage(layer);
        return layer;
    };
    auto replaced = add(u"replaced"_s);
    auto cleared = add(u"cleared"_s);
    host->manager.clearStorage(Rdm);
    auto last = add(u"last"_s);
    host.reset();
    COMPARE_JOURNAL(journal, uR"(
        replaced: keys
        cleared: keys
        replaced: keys
        cleared: keys
        last: keys )");
    QVERIFY(last->isAvailable());
    for (auto *layer : {&replaced, &cleared, &last})
        layer->reset();
    COMPARE_JOURNAL(journal, uR"(
        last: isAvailable
        replaced: dies
        cleared: dies
        last: dies )");
}

QTEST_GUILESS_MAIN(tst_LayerCalls)
#include "tst_layercalls.moc"

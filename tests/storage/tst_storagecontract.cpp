// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What every kind of storage must do, and what every writable one must do. Differences are tested
// for each class.

#include "storage/dynamicmapstorage.h"
#include "storage/qtsettingsinistorage.h"
#include "storage/staticmapreader.h"
#include "storagetesting.h"
#include "testhost.h"
#include "threads.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <memory>
#include <thread>
#include <type_traits>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

template <typename Storage>
constexpr bool isStorageClass
        = std::is_base_of_v<AbstractStorage, Storage> &&std::has_virtual_destructor_v<Storage> &&std::is_nothrow_destructible_v<
                  Storage> && !std::is_copy_constructible_v<Storage> && !std::is_move_constructible_v<Storage> && !std::is_copy_assignable_v<Storage> && !std::is_move_assignable_v<Storage>;
static_assert(isStorageClass<DynamicMapStorage>);
static_assert(isStorageClass<QtSettingsIniStorage>);
static_assert(isStorageClass<StaticMapReader>);

using StoragePointer = std::unique_ptr<AbstractStorage>;

// Makes a storage that holds the contents, a map of groups.
using Factory = StoragePointer (*)(SettingsType type, IConfigurationChangeHandler *handler,
                                   ILogger *logger, const QVariantMap &contents);

StoragePointer makeDynamicMap(SettingsType type, IConfigurationChangeHandler *handler,
                              ILogger *logger, const QVariantMap &contents)
{
    auto storage = std::make_unique<DynamicMapStorage>(type, handler, logger);
    for (auto group = contents.cbegin(); group != contents.cend(); ++group) {
        const QVariantMap entries = group->toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            storage->setValue(group.key(), entry.key(), entry.value());
    }
    return storage;
}

// The contents must be plain words, which need no escapes in an INI file.
StoragePointer makeIniFile(SettingsType type, IConfigurationChangeHandler *handler, ILogger *logger,
                           const QVariantMap &contents)
{
    static const QTemporaryDir folder;
    static int count = 0;
    const QString path = folder.filePath(u"%1.conf"_s.arg(++count));
    QByteArray text;
    for (auto group = contents.cbegin(); group != contents.cend(); ++group) {
        text += '[' + group.key().toUtf8() + "]\n";
        const QVariantMap entries = group->toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            text += entry.key().toUtf8() + '=' + entry.value().toString().toUtf8() + '\n';
    }
    if (!text.isEmpty() && !writeFile(path, text))
        qFatal("cannot write a file");
    return std::make_unique<QtSettingsIniStorage>(type, handler, logger, path);
}

StoragePointer makeStaticMap(SettingsType type, IConfigurationChangeHandler *handler,
                             ILogger *logger, const QVariantMap &contents)
{
    return std::make_unique<StaticMapReader>(type, handler, logger, contents);
}

// A storage of the row's kind, whose log and notifications go to one journal.
struct Layer
{
    explicit Layer(Factory make, const QVariantMap &contents = {})
        : storage(make(Runtime, &handler, &logger, contents))
    {
        journal.take();
    }

    Journal journal;
    RecordingHandler handler{&journal};
    RecordingLogger logger{&journal};
    StoragePointer storage;
};

} // namespace
Q_DECLARE_METATYPE(Factory)

class tst_StorageContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    // Every storage.
    void itKeepsWhatItWasBuiltWith_data();
    void itKeepsWhatItWasBuiltWith();
    void anEmptyStorageIsAvailable_data() { addKinds(); }
    void anEmptyStorageIsAvailable();
    void itHoldsEachKeyOfEachGroup_data() { addKinds(); }
    void itHoldsEachKeyOfEachGroup();
    void noOtherKeyIsHeld_data() { addKinds(); }
    void noOtherKeyIsHeld();
    void namesAndValuesMayBeAMebibyteLong_data() { addKinds(); }
    void namesAndValuesMayBeAMebibyteLong();
    void aGroupMayHoldAHundredThousandKeys_data() { addKinds(); }
    void aGroupMayHoldAHundredThousandKeys();

    // Every storage without a file.
    void everyNameIsKeptApartFromOthers_data() { addKindsInMemory(); }
    void everyNameIsKeptApartFromOthers();
    void keysAreSortedByGroupAndThenByKey_data() { addKindsInMemory(); }
    void keysAreSortedByGroupAndThenByKey();
    void aValueKeepsItsType_data() { addValueRows(); }
    void aValueKeepsItsType();

    // Every writable storage.
    void onlyAChangeIsNotified_data() { addWritableKinds(); }
    void onlyAChangeIsNotified();
    void keysAreASnapshot_data() { addWritableKinds(); }
    void keysAreASnapshot();
    void theHandlerSeesTheChangeInTheStorage_data() { addWritableKinds(); }
    void theHandlerSeesTheChangeInTheStorage();
    void theHandlerMayWriteAndRemove_data() { addWritableKinds(); }
    void theHandlerMayWriteAndRemove();
    void anotherThreadMayWriteWhileTheHandlerRuns_data() { addWritableKinds(); }
    void anotherThreadMayWriteWhileTheHandlerRuns();
    void theHandlerMayDeleteTheStorage_data() { addWritableKinds(); }
    void theHandlerMayDeleteTheStorage();

private:
    static void addKinds();
    static void addKindsInMemory();
    static void addWritableKinds();
};

void tst_StorageContract::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_StorageContract::addKinds()
{
    addWritableKinds();
    QTest::newRow("StaticMapReader") << &makeStaticMap;
}

void tst_StorageContract::addKindsInMemory()
{
    QTest::addColumn<Factory>("make");
    QTest::newRow("DynamicMapStorage") << &makeDynamicMap;
    QTest::newRow("StaticMapReader") << &makeStaticMap;
}

void tst_StorageContract::addWritableKinds()
{
    QTest::addColumn<Factory>("make");
    QTest::newRow("DynamicMapStorage") << &makeDynamicMap;
    QTest::newRow("QtSettingsIniStorage") << &makeIniFile;
}

void tst_StorageContract::itKeepsWhatItWasBuiltWith_data()
{
    QTest::addColumn<Factory>("make");
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("line"); // of a write
    for (const SettingsType type : memoryLayers + fileLayers) {
        const QString name = nameOf(type);
        QTest::newRow(keyOf(type)) << (memoryLayers.contains(type) ? &makeDynamicMap : &makeIniFile)
                                   << type << u"handler: %1 g/k = int(1)"_s.arg(name);
    }
    for (const SettingsType type : mapLayers) {
        QTest::newRow(keyOf(type))
                << &makeStaticMap << type << u"error: The storage doesn't support writing!"_s;
    }
}

void tst_StorageContract::itKeepsWhatItWasBuiltWith()
{
    QFETCH(const Factory, make);
    QFETCH(const SettingsType, type);
    QFETCH(const QString, line);
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    const StoragePointer storage = make(type, &handler, &logger, {});
    QCOMPARE(storage->type(), type);
    QCOMPARE(storage->logger(), &logger);
    storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(journal.take(), QStringList(line));
}

void tst_StorageContract::anEmptyStorageIsAvailable()
{
    QFETCH(const Factory, make);
    Layer layer(make);
    const AbstractStorage &storage = *layer.storage; // reading works on a constant storage
    QVERIFY(storage.isAvailable());
    QVERIFY(!storage.contains(u"g"_s, u"k"_s));
    QVERIFY(!storage.value(u"g"_s, u"k"_s).isValid());
    QVERIFY(!storage.contains(QString(), QString()));
    QVERIFY(!storage.value(QString(), QString()).isValid());
    QCOMPARE(storage.keys(), KeyList()); // reading created nothing
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_StorageContract::itHoldsEachKeyOfEachGroup()
{
    QFETCH(const Factory, make);
    Layer layer(make,
                {{u"ui"_s, QVariantMap{{u"lang"_s, u"en"_s}, {u"size"_s, u"5"_s}}},
                 {u"audio"_s, QVariantMap{{u"lang"_s, u"de"_s}}}});
    const AbstractStorage &storage = *layer.storage;
    QVERIFY(storage.isAvailable());
    QCOMPARE(storage.keys(),
             KeyList({{u"audio"_s, u"lang"_s}, {u"ui"_s, u"lang"_s}, {u"ui"_s, u"size"_s}}));
    for (const auto &[group, key, value] : {std::tuple(u"audio"_s, u"lang"_s, u"de"_s),
                                            {u"ui"_s, u"lang"_s, u"en"_s},
                                            {u"ui"_s, u"size"_s, u"5"_s}}) {
        QVERIFY(storage.contains(group, key));
        QCOMPARE(shown(storage.value(group, key)), shown(value));
    }
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_StorageContract::noOtherKeyIsHeld()
{
    QFETCH(const Factory, make);
    const Layer layer(make, groupMap(u"Group"_s, {{u"Key"_s, u"held"_s}}));
    for (const auto &[group, key] : KeyList{{u"Group"_s, u"Other"_s},
                                            {u"Other"_s, u"Key"_s},
                                            {u"Key"_s, u"Group"_s},
                                            {u"Group"_s, u"key"_s},
                                            {u"group"_s, u"Key"_s},
                                            {u"Group"_s, u""_s},
                                            {u""_s, u"Key"_s},
                                            {u"Group"_s, u"Ke"_s},
                                            {u"Group"_s, u"Key/below"_s}}) {
        QVERIFY(!layer.storage->contains(group, key));
        QCOMPARE(shown(layer.storage->value(group, key)), shown(QVariant()));
    }
}

void tst_StorageContract::namesAndValuesMayBeAMebibyteLong()
{
    QFETCH(const Factory, make);
    const QString name(1 << 20, u'n');
    const QString value(1 << 20, u'v');
    const Layer layer(make, groupMap(name, {{name, value}}));
    QCOMPARE(layer.storage->keys(), KeyList({{name, name}}));
    QCOMPARE(layer.storage->value(name, name), QVariant(value));
}

void tst_StorageContract::aGroupMayHoldAHundredThousandKeys()
{
    QFETCH(const Factory, make);
    QVariantMap entries;
    for (int i = 0; i < 100'000; ++i)
        entries.insert(QString::number(i), u"value %1"_s.arg(i));
    const Layer layer(make, groupMap(u"g"_s, entries));
    QVERIFY(layer.storage->isAvailable());
    QCOMPARE(layer.storage->keys().size(), entries.size());
    for (const QString &key : {u"0"_s, u"500"_s, u"99999"_s})
        QCOMPARE(layer.storage->value(u"g"_s, key), entries.value(key));
}

void tst_StorageContract::everyNameIsKeptApartFromOthers()
{
    QFETCH(const Factory, make);
    const QString nul(QChar(u'\0'));
    const QStringList names{u""_s,   u"/"_s,  u"a"_s,    u"a/b"_s,     u"A"_s,
                            u"%1"_s, u" a"_s, u"a\nb"_s, u"a"_s + nul, QString(QChar(0xd800)),
                            nul};
    const auto valueOf = [](const QString &group, const QString &key) {
        return QVariant(QString(group + u'|' + key));
    };
    QVariantMap contents;
    for (const QString &group : names) {
        QVariantMap entries;
        for (const QString &key : names)
            entries.insert(key, valueOf(group, key));
        contents.insert(group, entries);
    }
    const Layer layer(make, contents);
    for (const QString &group : names) {
        for (const QString &key : names)
            QCOMPARE(layer.storage->value(group, key), valueOf(group, key));
    }
}

void tst_StorageContract::keysAreSortedByGroupAndThenByKey()
{
    QFETCH(const Factory, make);
    // The order is that of UTF-16 code units: upper case before lower case, and a character beyond
    // U+FFFF (made of surrogates) before U+FF21.
    const QStringList sorted{u""_s,  u"10"_s, u"9"_s,      u"B"_s,          u"Ba"_s,
                             u"a"_s, u"b"_s,  u"\u00E4"_s, u"\U0001F600"_s, u"\uFF21"_s};
    QVariantMap entries;
    for (const QString &key : sorted)
        entries.insert(key, 1);
    QVariantMap contents;
    KeyList expected;
    for (const QString &group : sorted) {
        contents.insert(group, entries);
        for (const QString &key : sorted)
            expected.append({group, key});
    }
    QCOMPARE(Layer(make, contents).storage->keys(), expected);
}

void tst_StorageContract::aValueKeepsItsType()
{
    QFETCH(const QVariant, value);
    for (const Factory make : {&makeDynamicMap, &makeStaticMap}) {
        const Layer layer(make, groupMap(u"g"_s, {{u"k"_s, value}}));
        QVERIFY(layer.storage->contains(u"g"_s, u"k"_s));
        const QVariant read = layer.storage->value(u"g"_s, u"k"_s);
        QCOMPARE(shown(read), shown(value));
        QCOMPARE(read.isNull(), value.isNull());
        QCOMPARE(read.toString().isNull(), value.toString().isNull());
    }
}

void tst_StorageContract::onlyAChangeIsNotified()
{
    QFETCH(const Factory, make);
    Layer layer(make, groupMap(u"g"_s, {{u"k"_s, u"v"_s}}));
    layer.storage->setValue(u"g"_s, u"k"_s, u"v"_s);
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = int(2)"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage->setValue(u"g"_s, u"k"_s, u"v"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = QString(v)"_s));
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: Runtime g/k = invalid"_s));
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage->value(u"g"_s, u"k"_s).isValid());
    QCOMPARE(layer.storage->keys(), KeyList());
}

void tst_StorageContract::keysAreASnapshot()
{
    QFETCH(const Factory, make);
    const Layer layer(make, groupMap(u"g"_s, {{u"k"_s, u"v"_s}}));
    const KeyList before = layer.storage->keys();
    layer.storage->setValue(u"g"_s, u"a"_s, 2);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(before, KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"a"_s}}));
}

void tst_StorageContract::theHandlerSeesTheChangeInTheStorage()
{
    QFETCH(const Factory, make);
    const Watchdog watchdog;
    Layer layer(make);
    layer.handler.reaction
            = [&layer](SettingsType, const QString &group, const QString &key, const QVariant &) {
                  const AbstractStorage &storage = *layer.storage;
                  layer.journal.add(storage.contains(group, key) ? u"held"_s : u"gone"_s);
                  layer.journal.add(shown(storage.value(group, key)));
                  layer.journal.add(QString::number(storage.keys().size()));
                  layer.journal.add(storage.isAvailable() ? u"available"_s : u"unavailable"_s);
              };
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = int(1)"_s, u"held"_s, shown(1), u"1"_s,
                          u"available"_s, u"handler: Runtime g/k = int(2)"_s, u"held"_s, shown(2),
                          u"1"_s, u"available"_s, u"handler: Runtime g/k = invalid"_s, u"gone"_s,
                          shown(QVariant()), u"0"_s, u"available"_s}));
}

void tst_StorageContract::theHandlerMayWriteAndRemove()
{
    QFETCH(const Factory, make);
    const Watchdog watchdog;
    Layer layer(make);
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &value) {
        if (value == QVariant(u"first"_s)) {
            layer.storage->setValue(group, key, u"second"_s);
            layer.storage->setValue(group, u"echo"_s, 9);
            layer.storage->remove(group, u"echo"_s);
        }
        layer.journal.add(u"done with "_s + describe(value));
    };
    layer.storage->setValue(u"g"_s, u"k"_s, u"first"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = QString(first)"_s,
                          u"handler: Runtime g/k = QString(second)"_s,
                          u"done with QString(second)"_s, u"handler: Runtime g/echo = int(9)"_s,
                          u"done with int(9)"_s, u"handler: Runtime g/echo = invalid"_s,
                          u"done with invalid"_s, u"done with QString(first)"_s}));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(u"second"_s));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
}

void tst_StorageContract::anotherThreadMayWriteWhileTheHandlerRuns()
{
    QFETCH(const Factory, make);
    const Watchdog watchdog;
    Layer layer(make);
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &value) {
        if (value == QVariant(u"first"_s)) {
            std::thread([&layer, group, key] {
                layer.storage->setValue(group, key, u"slipped in"_s);
            }).join();
        }
        layer.journal.add(describe(value) + " notified, held: "_L1
                          + describe(layer.storage->value(group, key)));
    };
    layer.storage->setValue(u"g"_s, u"k"_s, u"first"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: Runtime g/k = QString(first)"_s,
                          u"handler: Runtime g/k = QString(slipped in)"_s,
                          u"QString(slipped in) notified, held: QString(slipped in)"_s,
                          u"QString(first) notified, held: QString(slipped in)"_s}));
}

void tst_StorageContract::theHandlerMayDeleteTheStorage()
{
    // Nothing of the storage may be used after the notification; AddressSanitizer notices it.
    QFETCH(const Factory, make);
    const QVariantMap contents = groupMap(u"g"_s, {{u"k"_s, u"v"_s}});
    const auto deleteStorage = [](Layer &layer) {
        layer.handler.reaction = [&layer](SettingsType, const QString &, const QString &,
                                          const QVariant &) { layer.storage.reset(); };
    };
    Layer writing(make, contents);
    deleteStorage(writing);
    writing.storage->setValue(u"g"_s, u"k"_s, 1);
    QVERIFY(!writing.storage);
    QCOMPARE(writing.journal.take(), QStringList(u"handler: Runtime g/k = int(1)"_s));

    Layer removing(make, contents);
    deleteStorage(removing);
    removing.storage->remove(u"g"_s, u"k"_s);
    QVERIFY(!removing.storage);
    QCOMPARE(removing.journal.take(), QStringList(u"handler: Runtime g/k = invalid"_s));
}

QTEST_GUILESS_MAIN(tst_StorageContract)
#include "tst_storagecontract.moc"

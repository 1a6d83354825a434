// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "comparejournal.h"
#include "datarows.h"

#include <QtCore/QDir>
#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QScopeGuard>
#include <QtTest/QTest>

#include <new>
#include <type_traits>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(sizeof(ConfigurationManager) == sizeof(void *)); // scripts/abi runs on x86-64 only
static_assert(!std::is_polymorphic_v<ConfigurationManager>);
static_assert(!std::is_base_of_v<QObject, ConfigurationManager>);
static_assert(!std::is_default_constructible_v<ConfigurationManager>);
static_assert(!std::is_copy_constructible_v<ConfigurationManager>);
static_assert(!std::is_copy_assignable_v<ConfigurationManager>);
static_assert(!std::is_move_constructible_v<ConfigurationManager>);
static_assert(!std::is_move_assignable_v<ConfigurationManager>);
static_assert(std::is_constructible_v<ConfigurationManager, ILogger *>);
static_assert(!std::is_convertible_v<ILogger *, ConfigurationManager>);
static_assert(std::is_nothrow_destructible_v<ConfigurationManager>);
static_assert(noexcept(qmlConfigManager()));
static_assert(noexcept(setQmlConfigManager(nullptr)));

class tst_ConfigurationManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsPublishedAtFirst(); // must be the first slot
    void thePointerPublishedLastIsReturned();
    void thePublishedPointerSurvivesItsManager();

    void theMetaObjectDeclaresNothing();
    void theMetaTypeOnlyDestroys();
    void theMetaTypeDestroysAManager();

    void aNewManagerIsSilentAndReadsNoFile();
    void aNullLoggerServesUntilSomethingIsLogged();
    void twoManagersShareNothing();

    void thePersistentStoragePathIsStoredUnchanged_data();
    void thePersistentStoragePathIsStoredUnchanged();
    void aLaterPathDoesNotMoveALayer_data() { addTypeRows(fileLayers); }
    void aLaterPathDoesNotMoveALayer();

    void destructionIsSilentAndWritesChangedFiles();
};

void tst_ConfigurationManager::nothingIsPublishedAtFirst()
{
    const TestHost host;
    QCOMPARE(qmlConfigManager(), nullptr);
}

void tst_ConfigurationManager::thePointerPublishedLastIsReturned()
{
    const auto restore = qScopeGuard([] { setQmlConfigManager(nullptr); });
    TestHost first;
    TestHost second;
    setQmlConfigManager(&first.manager);
    QCOMPARE(qmlConfigManager(), &first.manager);
    setQmlConfigManager(&second.manager);
    QCOMPARE(qmlConfigManager(), &second.manager);
    setQmlConfigManager(nullptr);
    QCOMPARE(qmlConfigManager(), nullptr);
}

void tst_ConfigurationManager::thePublishedPointerSurvivesItsManager()
{
    const auto restore = qScopeGuard([] { setQmlConfigManager(nullptr); });
    auto manager = std::make_unique<ConfigurationManager>(nullptr);
    // Compared as a number: optimising compilers refuse the pointer once its object is gone.
    const auto published = quintptr(manager.get());
    setQmlConfigManager(manager.get());
    manager.reset();
    QCOMPARE(quintptr(qmlConfigManager()), published);
}

void tst_ConfigurationManager::theMetaObjectDeclaresNothing()
{
    const QMetaObject &metaObject = ConfigurationManager::staticMetaObject;
    QCOMPARE(metaObject.className(), "tamsel::ConfigurationManager");
    QCOMPARE(metaObject.superClass(), nullptr);
    QCOMPARE(metaObject.propertyCount(), 0);
    QCOMPARE(metaObject.methodCount(), 0);
    QCOMPARE(metaObject.constructorCount(), 0);
    QCOMPARE(metaObject.enumeratorCount(), 0);
    QCOMPARE(metaObject.classInfoCount(), 0);
}

void tst_ConfigurationManager::theMetaTypeOnlyDestroys()
{
    const QMetaType metaType = ConfigurationManager::staticMetaObject.metaType();
    QCOMPARE(metaType, QMetaType::fromType<ConfigurationManager>());
    QCOMPARE(metaType.name(), "tamsel::ConfigurationManager");
    QCOMPARE(metaType.sizeOf(), qsizetype(sizeof(void *)));
    QCOMPARE(metaType.metaObject(), &ConfigurationManager::staticMetaObject);
    QVERIFY(metaType.flags() & QMetaType::NeedsDestruction);
    QVERIFY(!metaType.isEqualityComparable());
    QVERIFY(!metaType.isOrdered());
    QVERIFY(!metaType.hasRegisteredDataStreamOperators());
    QVERIFY(!metaType.hasRegisteredDebugStreamOperator());

    const ConfigurationManager manager(nullptr);
    QCOMPARE(metaType.create(), nullptr);
    QCOMPARE(metaType.create(&manager), nullptr);
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    QVERIFY(!metaType.isDefaultConstructible());
    QVERIFY(!metaType.isCopyConstructible());
    QVERIFY(!metaType.isMoveConstructible());
    QVERIFY(metaType.isDestructible());
#endif
}

void tst_ConfigurationManager::theMetaTypeDestroysAManager()
{
    TestHost host;
    alignas(ConfigurationManager) unsigned char memory[sizeof(ConfigurationManager)];
    auto *manager = new (memory) ConfigurationManager(&host.logger);
    manager->setPersistentStoragePath(host.manager.persistentStoragePath());
    manager->initStorage(CustomConfPersistent);
    manager->setValue(u"ui"_s, u"lang"_s, u"en"_s, CustomConfPersistent);

    ConfigurationManager::staticMetaObject.metaType().destruct(manager);
    QCOMPARE(readFile(host.filePath(CustomConfPersistent)), "[ui]\nlang=en\n");
}

void tst_ConfigurationManager::aNewManagerIsSilentAndReadsNoFile()
{
    // Without a path the files would be those in the current directory, the only ones that could be
    // read before the host has set a path.
    const QTemporaryDir folder;
    const auto restore = qScopeGuard([before = QDir::currentPath()] { QDir::setCurrent(before); });
    QVERIFY(QDir::setCurrent(folder.path()));
    QVERIFY(writeFile(u"custom.conf"_s, "[g]\nCustomConfPersistent=1\n"));
    QVERIFY(writeFile(u"selvi.db"_s, "[g]\nSelviDb=1\n"));
    QVERIFY(writeFile(u"ravona.conf"_s, "[g]\nRavonaConfDefault=1\n"));

    Journal journal;
    RecordingLogger logger(&journal);
    ConfigurationManager manager(&logger);
    for (const SettingsType type : fileLayers)
        QVERIFY2(!manager.contains(u"g"_s, nameOf(type)), keyOf(type));
    QCOMPARE(journal.take(), QStringList());

    for (const SettingsType type : fileLayers) {
        manager.initStorage(type);
        QVERIFY2(manager.contains(u"g"_s, nameOf(type)), keyOf(type));
    }
}

void tst_ConfigurationManager::aNullLoggerServesUntilSomethingIsLogged()
{
    Journal journal;
    RecordingHandler handler(&journal);
    ConfigurationManager manager(nullptr);
    manager.setPersistentStoragePath(u"/data/"_s);
    manager.setAssetsPrefix(u"/assets/"_s);
    QCOMPARE(manager.startupScreenDirPath(), u"/data/startup_screen/"_s);
    QVERIFY(manager.appendConfigurationHandler(&handler));
    QCOMPARE(manager.value(u"g"_s, u"k"_s, 7), QVariant(7));
    QVERIFY(!manager.contains(u"g"_s, u"k"_s));
    for (const SettingsType type : storagePriority) {
        QVERIFY(!manager.contains(u"g"_s, u"k"_s, type));
        QVERIFY(!manager.storageAvailable(type));
        manager.setValue(u"g"_s, u"k"_s, 1, type);
        manager.removeValue(u"g"_s, u"k"_s, type);
    }
    manager.initStorage(static_cast<SettingsType>(8), groupMap(u"g"_s, {{u"k"_s, 1}}));
    QVERIFY(manager.removeConfigurationHandler(&handler));
    QCOMPARE(journal.take(), QStringList());
}

void tst_ConfigurationManager::twoManagersShareNothing()
{
    TestHost one;
    TestHost other;
    one.prepare(Runtime, u"g"_s, {{u"k"_s, 1}});
    QVERIFY(!other.manager.storageAvailable(Runtime));
    other.prepare(Runtime);
    QVERIFY(!other.manager.contains(u"g"_s, u"k"_s));

    other.manager.setValue(u"g"_s, u"k"_s, 2, Runtime);
    QCOMPARE(one.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QCOMPARE(one.journal.take(), QStringList());
    COMPARE_JOURNAL(other.journal, uR"(
        debug: Top value changed Runtime: g/k = '2'
        handler: Runtime g/k = int(2) )");
}

void tst_ConfigurationManager::thePersistentStoragePathIsStoredUnchanged_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("with a slash at the end") << u"/data/config/"_s;
    QTest::newRow("without a slash at the end") << u"/data/config"_s;
    QTest::newRow("relative") << u"config/"_s;
    QTest::newRow("not cleaned") << u"/data//./x/../config//"_s;
    QTest::newRow("with blanks around") << u" /data/ "_s;
    QTest::newRow("not Latin") << u"/данные/設定/"_s;
    QTest::newRow("place markers") << u"/%1/%2/"_s;
    QTest::newRow("empty") << QString();
}

void tst_ConfigurationManager::thePersistentStoragePathIsStoredUnchanged()
{
    QFETCH(const QString, path);
    ConfigurationManager manager(nullptr);
    QCOMPARE(manager.persistentStoragePath(), QString());
    QCOMPARE(manager.startupScreenDirPath(), u"startup_screen/"_s);
    manager.setPersistentStoragePath(u"/replaced/"_s);
    manager.setPersistentStoragePath(path);
    QCOMPARE(manager.persistentStoragePath(), path);
    QCOMPARE(manager.startupScreenDirPath(), QString(path + "startup_screen/"_L1));
    QCOMPARE(manager.persistentStoragePath(), path);
}

void tst_ConfigurationManager::aLaterPathDoesNotMoveALayer()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.prepare(type);
    host.manager.setPersistentStoragePath(host.folder.filePath(u"new/"_s));
    host.manager.setAssetsPrefix(host.folder.filePath(u"new/"_s));
    QCOMPARE(host.journal.take(), QStringList());
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    host.manager.clearStorage(type);
    QCOMPARE(readFile(host.filePath(type)), "[ui]\nlang=en\n");
    QVERIFY(!QDir(host.folder.filePath(u"new"_s)).exists());
}

void tst_ConfigurationManager::destructionIsSilentAndWritesChangedFiles()
{
    TestHost host;
    auto manager = std::make_unique<ConfigurationManager>(&host.logger);
    manager->setPersistentStoragePath(host.manager.persistentStoragePath());
    manager->setAssetsPrefix(host.assetsPrefix());
    manager->appendConfigurationHandler(&host.handler);
    for (const SettingsType type : storagePriority) {
        manager->initStorage(type, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
        manager->setValue(u"g"_s, u"c"_s, 3, type);
    }
    for (const SettingsType type : fileLayers)
        QVERIFY(readFile(host.filePath(type)).isNull());
    QVERIFY(!host.journal.take().isEmpty());

    manager.reset();
    QCOMPARE(host.journal.take(), QStringList());
    for (const SettingsType type : fileLayers)
        QCOMPARE(readFile(host.filePath(type)), "[g]\nc=3\n");
}

QTEST_GUILESS_MAIN(tst_ConfigurationManager)
#include "tst_configurationmanager.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"

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

static_assert(sizeof(ConfigurationManager) == sizeof(void *));
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

namespace {

class MortalLogger final : public ILogger
{
public:
    explicit MortalLogger(Journal *journal) : m_journal(journal) { }
    ~MortalLogger() override { m_journal->add(u"logger dies"_s); }
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }

private:
    Journal *const m_journal;
};

class MortalHandler final : public IConfigurationChangeHandler
{
public:
    explicit MortalHandler(Journal *journal) : m_journal(journal) { }
    ~MortalHandler() override { m_journal->add(u"handler dies"_s); }
    void onValueChanged(SettingsType, const QString &, const QString &, const QVariant &) override
    {
    }

private:
    Journal *const m_journal;
};

} // namespace

class tst_ConfigurationManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsPublishedAtFirst(); // has to be the first slot
    void thePointerPublishedLastIsReturned();
    void thePublishedPointerSurvivesItsManager();
    void creatingAManagerPublishesNothing();

    void theMetaObjectDeclaresNothing();
    void theMetaTypeOnlyDestroys();
    void theMetaTypeDestroysAManager();

    void aNewManagerIsEmptyAndSilent();
    void aNewManagerReadsNoFile();
    void aNullLoggerServesUntilSomethingIsLogged();
    void twoManagersShareNothing();

    void thePersistentStoragePathIsStoredUnchanged_data();
    void thePersistentStoragePathIsStoredUnchanged();
    void thePersistentStoragePathIsEmptyAtFirst();
    void theAssetsPrefixIsAnotherPath();
    void settingThePathsIsSilentAndTouchesNoFile();
    void theStartupScreenDirectoryIsAPlainConcatenation_data();
    void theStartupScreenDirectoryIsAPlainConcatenation();
    void theStartupScreenDirectoryIsNotCreated();
    void aLaterPathDoesNotMoveALayer_data();
    void aLaterPathDoesNotMoveALayer();
    void aLaterPathServesTheNextLayer_data();
    void aLaterPathServesTheNextLayer();

    void aGroupMayHoldAHundredThousandKeys();

    void destructionSaysNothing();
    void destructionWritesChangedFiles_data();
    void destructionWritesChangedFiles();
    void destructionSparesTheLoggerAndTheHandlers();
};

void tst_ConfigurationManager::nothingIsPublishedAtFirst()
{
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

void tst_ConfigurationManager::creatingAManagerPublishesNothing()
{
    const TestHost host;
    QCOMPARE(qmlConfigManager(), nullptr);
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
    manager->initStorage(SettingsType::CustomConfPersistent);
    manager->setValue(u"ui"_s, u"lang"_s, u"en"_s, SettingsType::CustomConfPersistent);

    ConfigurationManager::staticMetaObject.metaType().destruct(manager);
    QCOMPARE(readFile(host.filePath(SettingsType::CustomConfPersistent)), "[ui]\nlang=en\n");
}

void tst_ConfigurationManager::aNewManagerIsEmptyAndSilent()
{
    Journal journal;
    RecordingLogger logger(&journal);
    const ConfigurationManager manager(&logger);
    for (const SettingsType type : storagePriority)
        QVERIFY2(!manager.storageAvailable(type), keyOf(type));
    QCOMPARE(journal.take(), QStringList());
}

void tst_ConfigurationManager::aNewManagerReadsNoFile()
{
    // Without a path the files are those in the current directory: the only ones that could be read
    // before the host has set one.
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
        QVERIFY2(!manager.contains(u"g"_s, QLatin1StringView(keyOf(type))), keyOf(type));

    for (const SettingsType type : fileLayers) {
        manager.initStorage(type);
        QVERIFY2(manager.contains(u"g"_s, QLatin1StringView(keyOf(type))), keyOf(type));
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
    one.prepare(SettingsType::Runtime, u"g"_s, {{u"k"_s, 1}});
    QVERIFY(!other.manager.storageAvailable(SettingsType::Runtime));
    other.prepare(SettingsType::Runtime);
    QVERIFY(!other.manager.contains(u"g"_s, u"k"_s));

    other.manager.setValue(u"g"_s, u"k"_s, 2, SettingsType::Runtime);
    QCOMPARE(one.manager.value(u"g"_s, u"k"_s), QVariant(1));
    QCOMPARE(one.journal.take(), QStringList());
    QCOMPARE(other.journal.take(),
             QStringList({u"debug: Top value changed Runtime: g/k = '2'"_s,
                          u"handler: Runtime g/k = int(2)"_s}));
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
    manager.setPersistentStoragePath(u"/replaced/"_s);
    manager.setPersistentStoragePath(path);
    QCOMPARE(manager.persistentStoragePath(), path);
}

void tst_ConfigurationManager::thePersistentStoragePathIsEmptyAtFirst()
{
    const ConfigurationManager manager(nullptr);
    QCOMPARE(manager.persistentStoragePath(), QString());
}

void tst_ConfigurationManager::theAssetsPrefixIsAnotherPath()
{
    ConfigurationManager manager(nullptr);
    manager.setPersistentStoragePath(u"/data/"_s);
    manager.setAssetsPrefix(u"/assets/"_s);
    QCOMPARE(manager.persistentStoragePath(), u"/data/"_s);
    QCOMPARE(manager.startupScreenDirPath(), u"/data/startup_screen/"_s);
}

void tst_ConfigurationManager::settingThePathsIsSilentAndTouchesNoFile()
{
    TestHost host;
    host.manager.setPersistentStoragePath(host.folder.filePath(u"new/persistent/"_s));
    host.manager.setAssetsPrefix(host.folder.filePath(u"new/assets/"_s));
    QCOMPARE(host.journal.take(), QStringList());
    QVERIFY(!QDir(host.folder.filePath(u"new"_s)).exists());
}

void tst_ConfigurationManager::theStartupScreenDirectoryIsAPlainConcatenation_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("directory");
    QTest::newRow("slash at the end") << u"/data/config/"_s << u"/data/config/startup_screen/"_s;
    QTest::newRow("no slash at the end") << u"/data/config"_s << u"/data/configstartup_screen/"_s;
    QTest::newRow("two slashes at the end") << u"/data//"_s << u"/data//startup_screen/"_s;
    QTest::newRow("empty") << QString() << u"startup_screen/"_s;
}

void tst_ConfigurationManager::theStartupScreenDirectoryIsAPlainConcatenation()
{
    QFETCH(const QString, path);
    QFETCH(const QString, directory);
    ConfigurationManager manager(nullptr);
    manager.setPersistentStoragePath(path);
    QCOMPARE(manager.startupScreenDirPath(), directory);
    QCOMPARE(manager.startupScreenDirPath(), directory);
    QCOMPARE(manager.persistentStoragePath(), path);
}

void tst_ConfigurationManager::theStartupScreenDirectoryIsNotCreated()
{
    const TestHost host;
    QVERIFY(!QDir(host.manager.startupScreenDirPath()).exists());
}

void tst_ConfigurationManager::aLaterPathDoesNotMoveALayer_data()
{
    QTest::addColumn<SettingsType>("type");
    for (const SettingsType type : fileLayers)
        QTest::newRow(keyOf(type)) << type;
}

void tst_ConfigurationManager::aLaterPathDoesNotMoveALayer()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    host.manager.initStorage(type);
    host.manager.setPersistentStoragePath(host.folder.filePath(u"new/"_s));
    host.manager.setAssetsPrefix(host.folder.filePath(u"new/"_s));
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    host.manager.clearStorage(type);
    QCOMPARE(readFile(host.filePath(type)), "[ui]\nlang=en\n");
    QVERIFY(!QDir(host.folder.filePath(u"new"_s)).exists());
}

void tst_ConfigurationManager::aLaterPathServesTheNextLayer_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("file");
    QTest::newRow("CustomConfPersistent")
            << SettingsType::CustomConfPersistent << u"data/custom.conf"_s;
    QTest::newRow("SelviDb") << SettingsType::SelviDb << u"data/selvi.db"_s;
    QTest::newRow("RavonaConfDefault") << SettingsType::RavonaConfDefault << u"lib/ravona.conf"_s;
}

void tst_ConfigurationManager::aLaterPathServesTheNextLayer()
{
    QFETCH(const SettingsType, type);
    QFETCH(const QString, file);
    TestHost host;
    host.manager.setPersistentStoragePath(host.folder.filePath(u"data/"_s));
    host.manager.setAssetsPrefix(host.folder.filePath(u"lib/"_s));
    host.manager.initStorage(type);
    host.manager.setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    host.manager.clearStorage(type);
    QCOMPARE(readFile(host.folder.filePath(file)), "[ui]\nlang=en\n");
    QVERIFY(readFile(host.filePath(type)).isNull());
}

void tst_ConfigurationManager::aGroupMayHoldAHundredThousandKeys()
{
    constexpr int count = 100'000;
    QVariantMap entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QString::number(i), i);
    TestHost host;
    host.manager.initStorage(SettingsType::FeatureKeys, groupMap(u"g"_s, entries));
    QCOMPARE(host.journal.take().size(), count + 1);

    entries.insert(u"0"_s, u"changed"_s);
    entries.remove(u"1"_s);
    host.manager.initStorage(SettingsType::FeatureKeys, groupMap(u"g"_s, entries));
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: FeatureKeys reinitialized"_s,
                          u"handler: FeatureKeys g/1 = invalid"_s,
                          u"handler: FeatureKeys g/0 = QString(changed)"_s}));

    host.manager.clearStorage(SettingsType::FeatureKeys);
    QCOMPARE(host.journal.take().size(), count);
}

void tst_ConfigurationManager::destructionSaysNothing()
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
    QVERIFY(!host.journal.take().isEmpty());

    manager.reset();
    QCOMPARE(host.journal.take(), QStringList());
}

void tst_ConfigurationManager::destructionWritesChangedFiles_data()
{
    aLaterPathDoesNotMoveALayer_data();
}

void tst_ConfigurationManager::destructionWritesChangedFiles()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    auto manager = std::make_unique<ConfigurationManager>(&host.logger);
    manager->setPersistentStoragePath(host.manager.persistentStoragePath());
    manager->setAssetsPrefix(host.assetsPrefix());
    manager->initStorage(type);
    manager->setValue(u"ui"_s, u"lang"_s, u"en"_s, type);
    QVERIFY(readFile(host.filePath(type)).isNull());

    manager.reset();
    QCOMPARE(readFile(host.filePath(type)), "[ui]\nlang=en\n");
}

void tst_ConfigurationManager::destructionSparesTheLoggerAndTheHandlers()
{
    Journal journal;
    auto logger = std::make_unique<MortalLogger>(&journal);
    auto handler = std::make_unique<MortalHandler>(&journal);
    auto manager = std::make_unique<ConfigurationManager>(logger.get());
    manager->appendConfigurationHandler(handler.get());
    manager->initStorage(SettingsType::Runtime);

    manager.reset();
    QCOMPARE(journal.take(), QStringList());
    logger.reset();
    handler.reset();
    QCOMPARE(journal.take(), QStringList({u"logger dies"_s, u"handler dies"_s}));
}

QTEST_GUILESS_MAIN(tst_ConfigurationManager)
#include "tst_configurationmanager.moc"

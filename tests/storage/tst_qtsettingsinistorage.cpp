// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/qtsettingsinistorage.h"

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"
#include "storagetesting.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDate>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include <unistd.h>

// QSKIP leaves out a variable argument, which clang does not take for C++17.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): it returns from the test
#define SKIP_TEST(reason) \
    do { \
        QTest::qSkip(reason, __FILE__, __LINE__); \
        return; \
    } while (false)

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<AbstractStorage, QtSettingsIniStorage>);
static_assert(std::has_virtual_destructor_v<QtSettingsIniStorage>);
static_assert(std::is_nothrow_destructible_v<QtSettingsIniStorage>);
static_assert(!std::is_copy_constructible_v<QtSettingsIniStorage>);
static_assert(!std::is_move_constructible_v<QtSettingsIniStorage>);
static_assert(!std::is_copy_assignable_v<QtSettingsIniStorage>);
static_assert(!std::is_move_assignable_v<QtSettingsIniStorage>);

namespace {

/*! A directory of its own for each test. */
class Files
{
public:
    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }
    /*! The path of a new file with \a content. */
    [[nodiscard]] QString make(const QString &name, const QByteArray &content) const
    {
        write(path(name), content);
        return path(name);
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(m_dir.path())
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
    void letOthersIn() const { QFile::setPermissions(m_dir.path(), QFile::Permissions(0x7755)); }

    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(content), content.size());
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

private:
    QTemporaryDir m_dir;
};

/*! While it lives, root, who may do everything, is somebody else. */
class Unprivileged
{
public:
    Unprivileged() : m_dropped(geteuid() == 0 && seteuid(65534) == 0) { }
    ~Unprivileged()
    {
        if (m_dropped && seteuid(0) != 0)
            qFatal("the privileges did not come back");
    }

private:
    Q_DISABLE_COPY_MOVE(Unprivileged)

    const bool m_dropped;
};

/*! A CustomConfPersistent layer whose log and notifications end up in one journal. */
struct Layer
{
    explicit Layer(const QString &path)
        : storage(std::make_unique<QtSettingsIniStorage>(SettingsType::CustomConfPersistent,
                                                         &handler, &logger, path))
    {
    }

    Journal journal;
    RecordingHandler handler{&journal};
    RecordingLogger logger{&journal};
    std::unique_ptr<AbstractStorage> storage;
};

/*! What another process would find: a copy, since QSettings remembers the files it has seen. */
class FreshCopy
{
public:
    explicit FreshCopy(const QString &path) : m_path(path + ".copy"_L1)
    {
        if (!QFile::copy(path, m_path))
            qFatal("no copy of the file");
        m_layer = std::make_unique<Layer>(m_path);
    }
    ~FreshCopy()
    {
        m_layer.reset();
        QFile::remove(m_path);
    }
    AbstractStorage *operator->() const { return m_layer->storage.get(); }

private:
    Q_DISABLE_COPY_MOVE(FreshCopy)

    const QString m_path;
    std::unique_ptr<Layer> m_layer;
};

} // namespace

class tst_QtSettingsIniStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void itKeepsWhatItWasBuiltWith_data();
    void itKeepsWhatItWasBuiltWith();
    void aMissingFileIsAnAvailableEmptyLayer();
    void itHoldsWhatTheFileHolds();
    void namesAreCaseSensitive();

    void anEntryIsNamedByGroupAndKey_data();
    void anEntryIsNamedByGroupAndKey();
    void pairsWithTheSameFullKeyAreOneEntry();
    void aValueComesBackAsTheFileTellsIt_data();
    void aValueComesBackAsTheFileTellsIt();
    void insideTheProcessAValueKeepsItsType();

    void onlyAChangeIsReported();
    void anEqualValueIsNeitherWrittenNorReported_data();
    void anEqualValueIsNeitherWrittenNorReported();
    void aDifferentValueIsWrittenAndReported_data();
    void aDifferentValueIsWrittenAndReported();
    void anInvalidValueIsNotWrittenWhereThereIsNone();
    void anInvalidValueReplacesAnother();
    void theComparisonAsksTheVirtualValue();
    void aWriteThatSlipsInBehindTheComparisonIsReportedTwice();

    void aRemovalIsReportedAsAnInvalidValue();
    void removingWhatIsNotThereIsReportedToo_data();
    void removingWhatIsNotThereIsReportedToo();
    void aRemovalTakesTheKeysBelowWithIt_data();
    void aRemovalTakesTheKeysBelowWithIt();

    void aReadOnlyFileRefusesWritesAndRemovals();
    void aRefusedWriteIsLogged_data();
    void aRefusedWriteIsLogged();
    void aRefusedRemovalIsLogged_data();
    void aRefusedRemovalIsLogged();
    void aRefusalNamesTheFileAsQSettingsDoes();

    void keysAreTheFirstAndTheLastSegments_data();
    void keysAreTheFirstAndTheLastSegments();
    void keysKeepTheOrderOfQSettings();
    void aKeyOfManySegmentsIsNotReadBackByItsPair();
    void keysAreASnapshot();

    void availabilityIsTheStatusOfTheFile_data();
    void availabilityIsTheStatusOfTheFile();
    void aMalformedFileIsStillReadAndWritten();
    void aFileThatCannotBeReadIsUnavailable();
    void aDirectoryInPlaceOfTheFileIsUnavailable();
    void aFileThatCannotExistIsAvailableAndEmpty();

    void theFirstWriteMakesTheFileAndItsDirectories();
    void nothingReachesTheFileBeforeTheStorageDies();
    void theEventLoopBringsChangesToTheFile();
    void aLaterChangeOfTheFileIsNotSeen();
    void aFailedWriteBackIsNotReported();
    void storagesOnOneFileShareItsContent();

    void theHandlerSeesTheChangeInTheStorage();
    void theHandlerMayWriteAndRemove();
    void theHandlerRunsOnTheThreadOfTheChange();
    void anotherThreadMayWriteWhileTheHandlerRuns();
    void theHandlerMayDeleteTheStorage();
    void aThrowingHandlerLeavesTheChange();
    void destructionTellsNobody();
    void neitherHandlerNorLoggerIsNeededForAWritableFile();

    void severalThreadsMayWriteIntoOneStorage();
    void severalThreadsMayWriteIntoOneFile();
};

void tst_QtSettingsIniStorage::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_QtSettingsIniStorage::itKeepsWhatItWasBuiltWith_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("heard");
    QTest::newRow("CustomConfPersistent") << SettingsType::CustomConfPersistent
                                          << u"handler: CustomConfPersistent g/k = int(1)"_s;
    QTest::newRow("RavonaConfDefault")
            << SettingsType::RavonaConfDefault << u"handler: RavonaConfDefault g/k = int(1)"_s;
    QTest::newRow("SelviDb") << SettingsType::SelviDb << u"handler: SelviDb g/k = int(1)"_s;
}

void tst_QtSettingsIniStorage::itKeepsWhatItWasBuiltWith()
{
    QFETCH(SettingsType, type);
    QFETCH(QString, heard);
    const Files files;
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    QtSettingsIniStorage storage(type, &handler, &logger, files.path(u"x.conf"_s));
    QCOMPARE(storage.type(), type);
    QCOMPARE(storage.logger(), &logger);
    storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(journal.take(), QStringList(heard));
}

void tst_QtSettingsIniStorage::aMissingFileIsAnAvailableEmptyLayer()
{
    const Files files;
    Layer layer(files.path(u"custom.conf"_s));
    QVERIFY(layer.storage->isAvailable());
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage->value(u"g"_s, u"k"_s).isValid());
    QCOMPARE(layer.storage->keys(), KeyList());
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(files.names(), QStringList());
}

void tst_QtSettingsIniStorage::itHoldsWhatTheFileHolds()
{
    const Files files;
    const QByteArray content = "; kept\n[General]\ntop=1\n\n[%General]\ndown=2\n\n[Logging]\n"
                               "level=4\nempty=\nlist=a, b\nnone=@Invalid()\n";
    const QString path = files.make(u"ravona.conf"_s, content);
    Layer layer(path);
    const AbstractStorage &storage = *layer.storage; // reading works on a constant storage
    QVERIFY(storage.isAvailable());
    QCOMPARE(storage.keys(),
             KeyList({{u"General"_s, u"down"_s},
                      {u"Logging"_s, u"empty"_s},
                      {u"Logging"_s, u"level"_s},
                      {u"Logging"_s, u"list"_s},
                      {u"Logging"_s, u"none"_s},
                      {u"top"_s, u"top"_s}}));
    QCOMPARE(shown(storage.value(u"Logging"_s, u"level"_s)), shown(u"4"_s));
    QCOMPARE(shown(storage.value(u"Logging"_s, u"empty"_s)), shown(u""_s));
    QCOMPARE(shown(storage.value(u"Logging"_s, u"list"_s)), shown(QStringList({u"a"_s, u"b"_s})));
    QCOMPARE(shown(storage.value(u""_s, u"top"_s)), shown(u"1"_s));
    QCOMPARE(shown(storage.value(u"General"_s, u"down"_s)), shown(u"2"_s));
    QVERIFY(!storage.contains(u"General"_s, u"top"_s));
    QVERIFY(!storage.contains(u"Logging"_s, u"other"_s));
    QVERIFY(!storage.value(u"Logging"_s, u"other"_s).isValid());
    QVERIFY(!storage.contains(u"Other"_s, u"level"_s));
    QVERIFY(!storage.contains(u"Logging"_s, u""_s)); // a section is no entry

    // An invalid value is held all the same.
    QVERIFY(storage.contains(u"Logging"_s, u"none"_s));
    QCOMPARE(shown(storage.value(u"Logging"_s, u"none"_s)), shown(QVariant()));

    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(path), content);
}

void tst_QtSettingsIniStorage::namesAreCaseSensitive()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[Logging]\nLevel=upper\n");
    Layer layer(path);
    QVERIFY(!layer.storage->contains(u"Logging"_s, u"level"_s));
    QVERIFY(!layer.storage->contains(u"logging"_s, u"Level"_s));
    QVERIFY(!layer.storage->value(u"Logging"_s, u"level"_s).isValid());
    layer.storage->setValue(u"Logging"_s, u"level"_s, u"lower"_s);
    QCOMPARE(layer.storage->keys(),
             KeyList({{u"Logging"_s, u"Level"_s}, {u"Logging"_s, u"level"_s}}));
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[Logging]\nLevel=upper\nlevel=lower\n"));
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("content");
    const QString longName(300, u'n'); // longer than what a look-up keeps on the stack
    QTest::newRow("group and key")
            << u"Logging"_s << u"level"_s << QByteArray("[Logging]\nlevel=v\n");
    QTest::newRow("empty group") << u""_s << u"top"_s << QByteArray("[General]\ntop=v\n");
    QTest::newRow("null group") << QString() << u"top"_s << QByteArray("[General]\ntop=v\n");
    QTest::newRow("group General") << u"General"_s << u"k"_s << QByteArray("[%General]\nk=v\n");
    QTest::newRow("empty group, key with a slash") << u""_s << u"a/b"_s << QByteArray("[a]\nb=v\n");
    QTest::newRow("key with a slash") << u"a"_s << u"b/c"_s << QByteArray("[a]\nb\\c=v\n");
    QTest::newRow("group with a slash") << u"a/b"_s << u"c"_s << QByteArray("[a]\nb\\c=v\n");
    QTest::newRow("slashes too many") << u"/a//"_s << u"/b/"_s << QByteArray("[a]\nb=v\n");
    QTest::newRow("empty key") << u"a"_s << u""_s << QByteArray("[General]\na=v\n");
    QTest::newRow("blanks") << u"a b"_s << u"c d"_s << QByteArray("[a%20b]\nc%20d=v\n");
    QTest::newRow("signs of the format")
            << u"[;]"_s << u"=#"_s << QByteArray("[%5B%3B%5D]\n%3D%23=v\n");
    QTest::newRow("backslash") << u"a\\b"_s << u"c\\d"_s << QByteArray("[a%5Cb]\nc%5Cd=v\n");
    QTest::newRow("Latin 1") << u"\u00C4"_s << u"\u00F6"_s << QByteArray("[%C4]\n%F6=v\n");
    QTest::newRow("beyond U+FFFF")
            << u"g"_s << u"\U0001F600"_s << QByteArray("[g]\n%UD83D%UDE00=v\n");
    QTest::newRow("long") << longName << longName
                          << QByteArray('[' + longName.toLatin1() + "]\n" + longName.toLatin1()
                                        + "=v\n");
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QByteArray, content);
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(group, key, u"v"_s);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                         + " = QString(v)"_L1));
    QVERIFY(layer.storage->contains(group, key));
    QCOMPARE(shown(layer.storage->value(group, key)), shown(u"v"_s));
    layer.storage.reset();
    QCOMPARE(Files::read(path), content);

    const FreshCopy copy(path);
    QVERIFY(copy->contains(group, key));
    QCOMPARE(shown(copy->value(group, key)), shown(u"v"_s));
    copy->remove(group, key);
    QVERIFY(!copy->contains(group, key));
    QCOMPARE(copy->keys(), KeyList());
}

void tst_QtSettingsIniStorage::pairsWithTheSameFullKeyAreOneEntry()
{
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    layer.storage->setValue(u"a"_s, u"b/c"_s, 1);
    layer.storage->setValue(u"a/b"_s, u"c"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: CustomConfPersistent a/b/c = int(1)"_s));
    layer.storage->setValue(u""_s, u"a/b/c"_s, 2);
    QCOMPARE(shown(layer.storage->value(u"a"_s, u"b/c"_s)), shown(2));
    QCOMPARE(shown(layer.storage->value(u"a/b"_s, u"c"_s)), shown(2));
    QCOMPARE(layer.storage->keys(), KeyList({{u"a"_s, u"c"_s}}));
}

void tst_QtSettingsIniStorage::aValueComesBackAsTheFileTellsIt_data()
{
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVariant>("decoded");
    const QVariantMap map{{u"a"_s, 1}};
    QTest::newRow("text") << QVariant(u"en"_s) << QByteArray("en") << QVariant(u"en"_s);
    QTest::newRow("empty text") << QVariant(u""_s) << QByteArray("") << QVariant(u""_s);
    QTest::newRow("null text") << QVariant(QString()) << QByteArray("") << QVariant(u""_s);
    QTest::newRow("text beyond ASCII")
            << QVariant(u"\u00E4\u20AC\U0001F600"_s) << QByteArray("\u00E4\u20AC\U0001F600")
            << QVariant(u"\u00E4\u20AC\U0001F600"_s);
    QTest::newRow("text with signs of the format")
            << QVariant(u" a,b;\"c\"\\ "_s) << QByteArray("\" a,b;\\\"c\\\"\\\\ \"")
            << QVariant(u" a,b;\"c\"\\ "_s);
    QTest::newRow("text with an at sign")
            << QVariant(u"@Invalid()"_s) << QByteArray("@@Invalid()") << QVariant(u"@Invalid()"_s);
    QTest::newRow("text of two lines")
            << QVariant(u"a\nb"_s) << QByteArray("a\\nb") << QVariant(u"a\nb"_s);
    QTest::newRow("number") << QVariant(-5) << QByteArray("-5") << QVariant(u"-5"_s);
    QTest::newRow("large number") << QVariant(Q_INT64_C(-5'000'000'000))
                                  << QByteArray("-5000000000") << QVariant(u"-5000000000"_s);
    QTest::newRow("fraction") << QVariant(0.5) << QByteArray("0.5") << QVariant(u"0.5"_s);
    QTest::newRow("truth") << QVariant(true) << QByteArray("true") << QVariant(u"true"_s);
    QTest::newRow("list of texts") << QVariant(QStringList{u"a"_s, u"b"_s}) << QByteArray("a, b")
                                   << QVariant(QStringList{u"a"_s, u"b"_s});
    QTest::newRow("list of one text")
            << QVariant(QStringList{u"a"_s}) << QByteArray("a") << QVariant(u"a"_s);
    QTest::newRow("empty list") << QVariant(QStringList()) << QByteArray("@Invalid()")
                                << QVariant();
    QTest::newRow("mixed list") << QVariant(QVariantList{1, u"x"_s}) << QByteArray("1, x")
                                << QVariant(QStringList{u"1"_s, u"x"_s});
    QTest::newRow("bytes") << QVariant(QByteArray("x\0y", 3)) << QByteArray("@ByteArray(x\\0y)")
                           << QVariant(QByteArray("x\0y", 3));
    QTest::newRow("rectangle") << QVariant(QRect(1, 2, 3, 4)) << QByteArray("@Rect(1 2 3 4)")
                               << QVariant(QRect(1, 2, 3, 4));
    QTest::newRow("map") << QVariant(map)
                         << QByteArray("@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0\\x61"
                                       "\\0\\0\\0\\x2\\0\\0\\0\\x1)")
                         << QVariant(map);
    QTest::newRow("date") << QVariant(QDate(2024, 2, 29))
                          << QByteArray("@Variant(\\0\\0\\0\\xe\\0%\\x8a\\xd2)")
                          << QVariant(QDate(2024, 2, 29));
}

void tst_QtSettingsIniStorage::aValueComesBackAsTheFileTellsIt()
{
    QFETCH(QVariant, written);
    QFETCH(QByteArray, text);
    QFETCH(QVariant, decoded);
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    layer.storage.reset();
    QCOMPARE(Files::read(path), "[g]\nk=" + text + '\n');

    const FreshCopy copy(path);
    QVERIFY(copy->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(copy->value(u"g"_s, u"k"_s)), shown(decoded));
}

void tst_QtSettingsIniStorage::insideTheProcessAValueKeepsItsType()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer(path).storage->setValue(u"g"_s, u"k"_s, 5);
    Layer again(path);
    QCOMPARE(shown(again.storage->value(u"g"_s, u"k"_s)), shown(5));
    const FreshCopy copy(path);
    QCOMPARE(shown(copy->value(u"g"_s, u"k"_s)), shown(u"5"_s));
}

void tst_QtSettingsIniStorage::onlyAChangeIsReported()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = int(1)"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = int(2)"_s));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=2\n"));
}

void tst_QtSettingsIniStorage::anEqualValueIsNeitherWrittenNorReported_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVariant>("written");
    QTest::newRow("text") << QByteArray("en") << QVariant(u"en"_s);
    QTest::newRow("empty text") << QByteArray("") << QVariant(u""_s);
    QTest::newRow("number as text") << QByteArray("1") << QVariant(u"1"_s);
    QTest::newRow("number") << QByteArray("1") << QVariant(1);
    QTest::newRow("number as fraction") << QByteArray("1") << QVariant(1.0);
    QTest::newRow("number with a zero in front") << QByteArray("01") << QVariant(1);
    QTest::newRow("fraction") << QByteArray("1.5") << QVariant(1.5);
    QTest::newRow("truth") << QByteArray("true") << QVariant(true);
    QTest::newRow("list") << QByteArray("a, b") << QVariant(QStringList{u"a"_s, u"b"_s});
    QTest::newRow("bytes") << QByteArray("@ByteArray(x)") << QVariant(QByteArray("x"));
    QTest::newRow("invalid") << QByteArray("@Invalid()") << QVariant();
}

void tst_QtSettingsIniStorage::anEqualValueIsNeitherWrittenNorReported()
{
    QFETCH(QByteArray, text);
    QFETCH(QVariant, written);
    const Files files;
    // The comment is there as long as QSettings does not write the file.
    const QByteArray content = "; kept\n[g]\nk=" + text + '\n';
    const QString path = files.make(u"x.conf"_s, content);
    Layer layer(path);
    const QVariant before = layer.storage->value(u"g"_s, u"k"_s);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(before));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(path), content);
}

void tst_QtSettingsIniStorage::aDifferentValueIsWrittenAndReported_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QByteArray>("newText");
    QTest::newRow("other text") << QByteArray("en") << QVariant(u"ru"_s) << QByteArray("ru");
    QTest::newRow("text in another case")
            << QByteArray("en") << QVariant(u"EN"_s) << QByteArray("EN");
    QTest::newRow("other number") << QByteArray("1") << QVariant(2) << QByteArray("2");
    QTest::newRow("number as another text of it")
            << QByteArray("1") << QVariant(u"01"_s) << QByteArray("01");
    QTest::newRow("number over text that is no integer")
            << QByteArray("1.0") << QVariant(1) << QByteArray("1");
    QTest::newRow("truth over other text")
            << QByteArray("on") << QVariant(true) << QByteArray("true");
    QTest::newRow("list of variants over list of texts")
            << QByteArray("a, b") << QVariant(QVariantList{u"a"_s, u"b"_s}) << QByteArray("a, b");
    QTest::newRow("bytes over text")
            << QByteArray("x") << QVariant(QByteArray("x")) << QByteArray("@ByteArray(x)");
    QTest::newRow("text over invalid")
            << QByteArray("@Invalid()") << QVariant(u""_s) << QByteArray("");
}

void tst_QtSettingsIniStorage::aDifferentValueIsWrittenAndReported()
{
    QFETCH(QByteArray, text);
    QFETCH(QVariant, written);
    QFETCH(QByteArray, newText);
    const Files files;
    const QString path = files.make(u"x.conf"_s, "; lost\n[g]\nk=" + text + "\nother=1\n");
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    layer.storage.reset();
    QCOMPARE(Files::read(path), "[g]\nk=" + newText + "\nother=1\n");
}

void tst_QtSettingsIniStorage::anInvalidValueIsNotWrittenWhereThereIsNone()
{
    // An absent pair reads as an invalid value, so the two are equal.
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(layer.journal.take(), QStringList());
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(layer.storage->keys(), KeyList());
    layer.storage.reset();
    QCOMPARE(files.names(), QStringList());
}

void tst_QtSettingsIniStorage::anInvalidValueReplacesAnother()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\nk=1\n");
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(layer.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = invalid"_s));
    QVERIFY(layer.storage->contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage->value(u"g"_s, u"k"_s).isValid());
    layer.storage->setValue(u"g"_s, u"k"_s, QVariant());
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=@Invalid()\n"));
}

void tst_QtSettingsIniStorage::theComparisonAsksTheVirtualValue()
{
    class Answering : public QtSettingsIniStorage
    {
    public:
        using QtSettingsIniStorage::QtSettingsIniStorage;
        QVariant value(const QString &group, const QString &key) const override
        {
            asked.append(group + '/'_L1 + key);
            return u"the subclass's answer"_s;
        }
        mutable QStringList asked;
    };
    const Files files;
    const QByteArray content = "; kept\n[g]\nk=in the file\n";
    const QString path = files.make(u"x.conf"_s, content);
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    auto storage = std::make_unique<Answering>(SettingsType::CustomConfPersistent, &handler,
                                               &logger, path);

    storage->setValue(u"g"_s, u"k"_s, u"the subclass's answer"_s);
    QCOMPARE(storage->asked, QStringList(u"g/k"_s));
    QCOMPARE(journal.take(), QStringList());
    QVERIFY(storage->contains(u"g"_s, u"k"_s));
    QVERIFY(!storage->contains(u"g"_s, u"l"_s));
    QCOMPARE(storage->asked.size(), 1);
    storage.reset();
    QCOMPARE(Files::read(path), content);

    storage = std::make_unique<Answering>(SettingsType::CustomConfPersistent, &handler, &logger,
                                          path);
    storage->setValue(u"g"_s, u"k"_s, u"in the file"_s);
    QCOMPARE(journal.take(),
             QStringList(u"handler: CustomConfPersistent g/k = QString(in the file)"_s));
    storage->remove(u"g"_s, u"other"_s);
    QCOMPARE(journal.take(), QStringList(u"handler: CustomConfPersistent g/other = invalid"_s));
    QCOMPARE(storage->asked.size(), 1);

    // A refusal comes before the comparison.
    storage = std::make_unique<Answering>(SettingsType::CustomConfPersistent, &handler, &logger,
                                          path + "/below"_L1);
    storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(journal.take().size(), 1);
    QCOMPARE(storage->asked, QStringList());
}

void tst_QtSettingsIniStorage::aWriteThatSlipsInBehindTheComparisonIsReportedTwice()
{
    // Reading, comparing and writing are no unit: who writes in between reports the change as well.
    class Interrupted : public QtSettingsIniStorage
    {
    public:
        using QtSettingsIniStorage::QtSettingsIniStorage;
        QVariant value(const QString &group, const QString &key) const override
        {
            QVariant answer = QtSettingsIniStorage::value(group, key);
            if (const auto run = std::exchange(interruption, {}))
                std::thread(run).join();
            return answer;
        }
        mutable std::function<void()> interruption;
    };
    const Watchdog watchdog;
    const Files files;
    Journal journal;
    RecordingHandler handler(&journal);
    RecordingLogger logger(&journal);
    Interrupted storage(SettingsType::CustomConfPersistent, &handler, &logger,
                        files.path(u"x.conf"_s));
    storage.interruption = [&storage] { storage.setValue(u"g"_s, u"k"_s, 1); };
    storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = int(1)"_s,
                          u"handler: CustomConfPersistent g/k = int(1)"_s}));
}

void tst_QtSettingsIniStorage::aRemovalIsReportedAsAnInvalidValue()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\nk=1\nl=2\n\n[h]\nk=3\n");
    Layer layer(path);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = invalid"_s));
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QVERIFY(!layer.storage->value(u"g"_s, u"k"_s).isValid());
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"l"_s}, {u"h"_s, u"k"_s}}));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(path), QByteArray("[g]\nl=2\n\n[h]\nk=3\n"));
}

void tst_QtSettingsIniStorage::removingWhatIsNotThereIsReportedToo_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::newRow("missing group") << u"Other"_s << u"Key"_s;
    QTest::newRow("missing key") << u"Group"_s << u"Other"_s;
    QTest::newRow("key in another case") << u"Group"_s << u"key"_s;
    QTest::newRow("empty group") << u""_s << u"Key"_s;
    QTest::newRow("beginning of a key") << u"Group"_s << u"Ke"_s;
    QTest::newRow("below a key") << u"Group"_s << u"Key/below"_s;
}

void tst_QtSettingsIniStorage::removingWhatIsNotThereIsReportedToo()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[Group]\nKey=1\n");
    Layer layer(path);
    const QStringList heard("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                            + " = invalid"_L1);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), heard);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), heard);
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[Group]\nKey=1\n"));
}

void tst_QtSettingsIniStorage::aRemovalTakesTheKeysBelowWithIt_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("keys below the pair")
            << u"g"_s << u"k"_s << QByteArray("[g]\nkk=4\n\n[h]\nk=5\n");
    QTest::newRow("keys below only")
            << u"g/k"_s << u"a"_s << QByteArray("[g]\nk=1\nkk=4\n\n[h]\nk=5\n");
    QTest::newRow("all of a group, by an empty group")
            << u""_s << u"g"_s << QByteArray("[h]\nk=5\n");
    QTest::newRow("all of a group, by an empty key") << u"g"_s << u""_s << QByteArray("[h]\nk=5\n");
    QTest::newRow("all, by both empty") << u""_s << u""_s << QByteArray("");
}

void tst_QtSettingsIniStorage::aRemovalTakesTheKeysBelowWithIt()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QByteArray, left);
    const Files files;
    const QString path
            = files.make(u"x.conf"_s, "[g]\nk=1\nk\\a\\x=2\nk\\a\\y=3\nkk=4\n\n[h]\nk=5\n");
    Layer layer(path);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                         + " = invalid"_L1));
    layer.storage.reset();
    QCOMPARE(Files::read(path), left);
}

void tst_QtSettingsIniStorage::aReadOnlyFileRefusesWritesAndRemovals()
{
    const Files files;
    const QByteArray content = "; kept\n[g]\nk=1\n";
    const QString path = files.make(u"x.conf"_s, content);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    files.letOthersIn();
    {
        const Unprivileged unprivileged;
        if (!QFile(path).open(QIODevice::ReadOnly) || QFile(path).open(QIODevice::ReadWrite))
            SKIP_TEST("no user here for whom the file is read-only");
        Layer layer(path);
        const QString writeRefusal = "error: unable to write value %1 (g/k) to "_L1 + path
                + ", file is not writable"_L1;
        QVERIFY(layer.storage->isAvailable());
        layer.storage->setValue(u"g"_s, u"k"_s, 2);
        QCOMPARE(layer.journal.take(), QStringList(writeRefusal.arg(u"2"_s)));
        layer.storage->setValue(u"g"_s, u"k"_s, u"1"_s); // as in the file
        QCOMPARE(layer.journal.take(), QStringList(writeRefusal.arg(u"1"_s)));
        layer.storage->remove(u"g"_s, u"k"_s);
        QCOMPARE(layer.journal.take(),
                 QStringList("error: unable to remove value g/k from "_L1 + path));
        layer.storage->remove(u"g"_s, u"absent"_s);
        QCOMPARE(layer.journal.take(),
                 QStringList("error: unable to remove value g/absent from "_L1 + path));
        QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
        QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(u"1"_s));
        QVERIFY(layer.storage->isAvailable());
        layer.storage.reset();
        QCOMPARE(layer.journal.take(), QStringList());
    }
    QCOMPARE(Files::read(path), content);
    QCOMPARE(files.names(), QStringList(u"x.conf"_s));
}

void tst_QtSettingsIniStorage::aRefusedWriteIsLogged_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("valueText");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("directory");
    const QString dir = u"dir"_s;
    QTest::newRow("text") << QVariant(u"en"_s) << u"en"_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("empty text") << QVariant(u""_s) << u""_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("number") << QVariant(4) << u"4"_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("fraction") << QVariant(0.5) << u"0.5"_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("truth") << QVariant(true) << u"true"_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("bytes") << QVariant(QByteArray("abc")) << u"abc"_s << u"ui"_s << u"lang"_s
                           << dir;
    QTest::newRow("list of one text")
            << QVariant(QStringList(u"a"_s)) << u"a"_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("list without a text of its own")
            << QVariant(QStringList{u"a"_s, u"b"_s}) << u""_s << u"ui"_s << u"lang"_s << dir;
    // An invalid value is also what the pair reads as: the refusal comes before the comparison.
    QTest::newRow("invalid") << QVariant() << u""_s << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("empty group") << QVariant(1) << u"1"_s << u""_s << u"lang"_s << dir;
    QTest::newRow("empty key") << QVariant(1) << u"1"_s << u"ui"_s << u""_s << dir;
    QTest::newRow("no key at all") << QVariant(1) << u"1"_s << QString() << QString() << dir;
    const QString signs = u"%1 %2 %3 %4 %L1 %%1"_s;
    QTest::newRow("per cent signs in the value")
            << QVariant(signs) << signs << u"g"_s << u"k"_s << dir;
    QTest::newRow("per cent signs in the group") << QVariant(1) << u"1"_s << signs << u"k"_s << dir;
    QTest::newRow("per cent signs in the key") << QVariant(1) << u"1"_s << u"g"_s << signs << dir;
    QTest::newRow("per cent signs in the path")
            << QVariant(1) << u"1"_s << u"g"_s << u"k"_s << signs;
    QTest::newRow("per cent signs everywhere")
            << QVariant(signs) << signs << signs << signs << signs;
}

void tst_QtSettingsIniStorage::aRefusedWriteIsLogged()
{
    QFETCH(QVariant, value);
    QFETCH(QString, valueText);
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QString, directory);
    const Files files;
    // A regular file where a directory should be stops everybody, root as well.
    const QString path = files.make(directory, "not a directory") + "/custom.conf"_L1;
    Layer layer(path);
    const QStringList refusal("error: unable to write value "_L1 + valueText + " ("_L1 + group
                              + '/'_L1 + key + ") to "_L1 + path + ", file is not writable"_L1);
    layer.storage->setValue(group, key, value);
    QCOMPARE(layer.journal.take(), refusal);
    QCOMPARE(layer.storage->keys(), KeyList());
    layer.storage->setValue(group, key, value);
    QCOMPARE(layer.journal.take(), refusal);
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(files.path(directory)), QByteArray("not a directory"));
    QCOMPARE(files.names(), QStringList(directory));
}

void tst_QtSettingsIniStorage::aRefusedRemovalIsLogged_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("directory");
    const QString dir = u"dir"_s;
    const QString signs = u"%1 %2 %3 %4 %L1 %%1"_s;
    QTest::newRow("plain") << u"ui"_s << u"lang"_s << dir;
    QTest::newRow("empty group") << u""_s << u"lang"_s << dir;
    QTest::newRow("empty key") << u"ui"_s << u""_s << dir;
    QTest::newRow("no key at all") << QString() << QString() << dir;
    QTest::newRow("per cent signs in the group") << signs << u"k"_s << dir;
    QTest::newRow("per cent signs in the key") << u"g"_s << signs << dir;
    QTest::newRow("per cent signs in the path") << u"g"_s << u"k"_s << signs;
    QTest::newRow("per cent signs everywhere") << signs << signs << signs;
}

void tst_QtSettingsIniStorage::aRefusedRemovalIsLogged()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QString, directory);
    const Files files;
    const QString path = files.make(directory, "not a directory") + "/custom.conf"_L1;
    Layer layer(path);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(),
             QStringList("error: unable to remove value "_L1 + group + '/'_L1 + key + " from "_L1
                         + path));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(files.path(directory)), QByteArray("not a directory"));
}

void tst_QtSettingsIniStorage::aRefusalNamesTheFileAsQSettingsDoes()
{
    const Files files;
    const QString path = files.make(u"dir"_s, "not a directory") + "/custom.conf"_L1;
    Layer layer(files.path(u"./dir//sub/../custom.conf"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({"error: unable to write value 1 (g/k) to "_L1 + path
                                  + ", file is not writable"_L1,
                          "error: unable to remove value g/k from "_L1 + path}));
}

void tst_QtSettingsIniStorage::keysAreTheFirstAndTheLastSegments_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<KeyList>("keys");
    QTest::newRow("no entry") << QByteArray("[g]\n") << KeyList();
    QTest::newRow("two segments") << QByteArray("[a]\nb=1\n") << KeyList({{u"a"_s, u"b"_s}});
    QTest::newRow("one segment") << QByteArray("x=1\n") << KeyList({{u"x"_s, u"x"_s}});
    QTest::newRow("three segments") << QByteArray("[a]\nb\\c=1\n") << KeyList({{u"a"_s, u"c"_s}});
    QTest::newRow("section of two segments")
            << QByteArray("[a/b]\nc=1\n") << KeyList({{u"a"_s, u"c"_s}});
    QTest::newRow("five segments")
            << QByteArray("[a]\nb\\c\\d\\e=1\n") << KeyList({{u"a"_s, u"e"_s}});
    QTest::newRow("the same pair twice")
            << QByteArray("[a]\nx\\c=1\ny\\c=2\n") << KeyList({{u"a"_s, u"c"_s}, {u"a"_s, u"c"_s}});
    QTest::newRow("empty segment in the middle")
            << QByteArray("[a]\n\\c=1\n") << KeyList({{u"a"_s, u"c"_s}});
    QTest::newRow("empty segment at the end")
            << QByteArray("[a]\nf/=1\n") << KeyList({{u"a"_s, u""_s}});
    QTest::newRow("group General")
            << QByteArray("[%General]\nx=1\n") << KeyList({{u"General"_s, u"x"_s}});
}

void tst_QtSettingsIniStorage::keysAreTheFirstAndTheLastSegments()
{
    QFETCH(QByteArray, content);
    QFETCH(KeyList, keys);
    const Files files;
    Layer layer(files.make(u"x.conf"_s, content));
    QCOMPARE(layer.storage->keys(), keys);
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_QtSettingsIniStorage::keysKeepTheOrderOfQSettings()
{
    // The full keys are sorted, not the pairs, and those only added do not come last.
    const Files files;
    Layer layer(
            files.make(u"x.conf"_s, "top=1\n[b]\nk=1\n[a]\nz=1\nm\\a=1\n\\y=1\nZ=1\n[B]\nk=1\n"));
    layer.storage->setValue(u"a"_s, u"n"_s, 1);
    QCOMPARE(layer.storage->keys(),
             KeyList({{u"B"_s, u"k"_s},
                      {u"a"_s, u"y"_s},
                      {u"a"_s, u"Z"_s},
                      {u"a"_s, u"a"_s},
                      {u"a"_s, u"n"_s},
                      {u"a"_s, u"z"_s},
                      {u"b"_s, u"k"_s},
                      {u"top"_s, u"top"_s}}));
}

void tst_QtSettingsIniStorage::aKeyOfManySegmentsIsNotReadBackByItsPair()
{
    const Files files;
    Layer layer(files.make(u"x.conf"_s, "x=1\n[a]\nb\\c=2\n"));
    QCOMPARE(layer.storage->keys(), KeyList({{u"a"_s, u"c"_s}, {u"x"_s, u"x"_s}}));
    for (const auto &[group, key] : layer.storage->keys()) {
        QVERIFY(!layer.storage->contains(group, key));
        QVERIFY(!layer.storage->value(group, key).isValid());
    }
    QCOMPARE(shown(layer.storage->value(u"a"_s, u"b/c"_s)), shown(u"2"_s));
    QCOMPARE(shown(layer.storage->value(u""_s, u"x"_s)), shown(u"1"_s));
}

void tst_QtSettingsIniStorage::keysAreASnapshot()
{
    const Files files;
    Layer layer(files.make(u"x.conf"_s, "[g]\nk=1\n"));
    const KeyList before = layer.storage->keys();
    layer.storage->setValue(u"g"_s, u"a"_s, 2);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(before, KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"a"_s}}));
}

void tst_QtSettingsIniStorage::availabilityIsTheStatusOfTheFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("available");
    QTest::newRow("empty") << QByteArray("") << true;
    QTest::newRow("entries") << QByteArray("[g]\nk=1\n") << true;
    QTest::newRow("comments only") << QByteArray("; a\n# b\n") << true;
    QTest::newRow("line without a value") << QByteArray("[g]\nnonsense\n") << true;
    QTest::newRow("value that cannot be decoded") << QByteArray("[g]\nk=@Variant(x)\n") << true;
    QTest::newRow("section without its end") << QByteArray("[g\nk=1\n") << false;
    QTest::newRow("section without its end after good ones")
            << QByteArray("[a]\nk=1\n[g\nk=1\n") << false;
}

void tst_QtSettingsIniStorage::availabilityIsTheStatusOfTheFile()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, available);
    const Files files;
    const QString path = files.make(u"x.conf"_s, content);
    Layer layer(path);
    QCOMPARE(layer.storage->isAvailable(), available);
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(Files::read(path), content);
}

void tst_QtSettingsIniStorage::aMalformedFileIsStillReadAndWritten()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[a\nk=1\n[b]\nk=2\n");
    Layer layer(path);
    QVERIFY(!layer.storage->isAvailable());
    QCOMPARE(layer.storage->keys(), KeyList({{u"a"_s, u"k"_s}, {u"b"_s, u"k"_s}}));
    QVERIFY(layer.storage->contains(u"b"_s, u"k"_s));
    QCOMPARE(shown(layer.storage->value(u"b"_s, u"k"_s)), shown(u"2"_s));
    layer.storage->setValue(u"b"_s, u"k"_s, 3);
    layer.storage->remove(u"a"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: CustomConfPersistent b/k = int(3)"_s,
                          u"handler: CustomConfPersistent a/k = invalid"_s}));
    QVERIFY(!layer.storage->isAvailable());
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[b]\nk=3\n"));
}

void tst_QtSettingsIniStorage::aFileThatCannotBeReadIsUnavailable()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\nk=1\n");
    QVERIFY(QFile::setPermissions(path, {}));
    files.letOthersIn();
    {
        const Unprivileged unprivileged;
        if (!QFile::exists(path) || QFile(path).open(QIODevice::ReadOnly))
            SKIP_TEST("no user here for whom the file is unreadable");
        Layer layer(path);
        QVERIFY(!layer.storage->isAvailable());
        QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
        QVERIFY(!layer.storage->value(u"g"_s, u"k"_s).isValid());
        QCOMPARE(layer.storage->keys(), KeyList());
        layer.storage->setValue(u"g"_s, u"k"_s, 2);
        QCOMPARE(layer.journal.take(),
                 QStringList("error: unable to write value 2 (g/k) to "_L1 + path
                             + ", file is not writable"_L1));
    }
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=1\n"));
}

void tst_QtSettingsIniStorage::aDirectoryInPlaceOfTheFileIsUnavailable()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    QVERIFY(QDir().mkpath(path));
    Layer layer(path);
    QVERIFY(!layer.storage->isAvailable());
    QCOMPARE(layer.storage->keys(), KeyList());
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({"error: unable to write value 1 (g/k) to "_L1 + path
                                  + ", file is not writable"_L1,
                          "error: unable to remove value g/k from "_L1 + path}));
    layer.storage.reset();
    QVERIFY(QDir(path).isEmpty());
}

void tst_QtSettingsIniStorage::aFileThatCannotExistIsAvailableAndEmpty()
{
    // Not writable, but QSettings found no error: a missing file is none.
    const Files files;
    Layer layer(files.make(u"file"_s, "") + "/x.conf"_L1);
    QVERIFY(layer.storage->isAvailable());
    QCOMPARE(layer.storage->keys(), KeyList());
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QVERIFY(layer.storage->isAvailable());
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
}

void tst_QtSettingsIniStorage::theFirstWriteMakesTheFileAndItsDirectories()
{
    const Files files;
    const QString path = files.path(u"a/b/custom.conf"_s);
    Layer layer(path);
    QCOMPARE(files.names(), QStringList());
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=1\n"));
    QCOMPARE(QDir(files.path(u"a/b"_s)).entryList(QDir::Files | QDir::Hidden),
             QStringList(u"custom.conf"_s)); // no lock, no temporary file
}

void tst_QtSettingsIniStorage::nothingReachesTheFileBeforeTheStorageDies()
{
    const Files files;
    const QByteArray content = "; kept\n[g]\nk=1\nl=2\n";
    const QString path = files.make(u"x.conf"_s, content);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 5);
    layer.storage->remove(u"g"_s, u"l"_s);
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(5));
    QVERIFY(layer.storage->isAvailable());
    QCOMPARE(Files::read(path), content);
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=5\n"));
}

void tst_QtSettingsIniStorage::theEventLoopBringsChangesToTheFile()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 5);
    QVERIFY(!QFile::exists(path));
    QCoreApplication::processEvents();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=5\n"));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(5));
}

void tst_QtSettingsIniStorage::aLaterChangeOfTheFileIsNotSeen()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\nk=1\n");
    Layer layer(path);
    Files::write(path, "[g]\nk=changed\nother=1\n");
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(u"1"_s));
    QVERIFY(!layer.storage->contains(u"g"_s, u"other"_s));
    layer.storage->setValue(u"g"_s, u"k"_s, u"1"_s);
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_QtSettingsIniStorage::aFailedWriteBackIsNotReported()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 5);
    layer.journal.take();
    QVERIFY(QDir().mkpath(path)); // where the file would go
    QVERIFY(layer.storage->isAvailable());
    QCoreApplication::processEvents();
    QCOMPARE(layer.journal.take(), QStringList());
    QVERIFY(!layer.storage->isAvailable());
    QVERIFY(layer.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(5));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QVERIFY(QDir(path).isEmpty());
}

void tst_QtSettingsIniStorage::storagesOnOneFileShareItsContent()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer one(path);
    Layer other(path);
    one.storage->setValue(u"g"_s, u"k"_s, 5);
    QVERIFY(!QFile::exists(path));
    QVERIFY(other.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(other.storage->value(u"g"_s, u"k"_s)), shown(5));
    QCOMPARE(other.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    other.storage->setValue(u"g"_s, u"k"_s, 5);
    QCOMPARE(other.journal.take(), QStringList()); // neither of the other's write nor of its own
    other.storage->remove(u"g"_s, u"k"_s);
    QVERIFY(!one.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(one.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = int(5)"_s));
    QCOMPARE(other.journal.take(), QStringList(u"handler: CustomConfPersistent g/k = invalid"_s));
}

void tst_QtSettingsIniStorage::theHandlerSeesTheChangeInTheStorage()
{
    const Watchdog watchdog;
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    layer.handler.reaction
            = [&layer](SettingsType, const QString &group, const QString &key, const QVariant &) {
                  layer.journal.add(layer.storage->contains(group, key) ? u"held"_s : u"gone"_s);
                  layer.journal.add(shown(layer.storage->value(group, key)));
                  layer.journal.add(QString::number(layer.storage->keys().size()));
              };
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = int(1)"_s, u"held"_s, shown(1),
                          u"1"_s}));
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = int(2)"_s, u"held"_s, shown(2),
                          u"1"_s}));
    layer.storage->remove(u"g"_s, u"k"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = invalid"_s, u"gone"_s,
                          shown(QVariant()), u"0"_s}));
}

void tst_QtSettingsIniStorage::theHandlerMayWriteAndRemove()
{
    const Watchdog watchdog;
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
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
             QStringList({u"handler: CustomConfPersistent g/k = QString(first)"_s,
                          u"handler: CustomConfPersistent g/k = QString(second)"_s,
                          u"done with QString(second)"_s,
                          u"handler: CustomConfPersistent g/echo = int(9)"_s, u"done with int(9)"_s,
                          u"handler: CustomConfPersistent g/echo = invalid"_s,
                          u"done with invalid"_s, u"done with QString(first)"_s}));
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=second\n"));
}

void tst_QtSettingsIniStorage::theHandlerRunsOnTheThreadOfTheChange()
{
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    std::vector<std::thread::id> heardOn;
    layer.handler.reaction
            = [&heardOn](SettingsType, const QString &, const QString &, const QVariant &) {
                  heardOn.push_back(std::this_thread::get_id());
              };
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    std::thread other([&layer] { layer.storage->remove(u"g"_s, u"k"_s); });
    const std::thread::id otherId = other.get_id();
    other.join();
    QCOMPARE(heardOn.size(), std::size_t(2));
    QVERIFY(heardOn.front() == std::this_thread::get_id());
    QVERIFY(heardOn.back() == otherId);
}

void tst_QtSettingsIniStorage::anotherThreadMayWriteWhileTheHandlerRuns()
{
    const Watchdog watchdog;
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    layer.handler.reaction = [&layer](SettingsType, const QString &group, const QString &key,
                                      const QVariant &value) {
        if (value == QVariant(u"first"_s)) {
            std::thread([&layer, group, key] {
                layer.storage->setValue(group, key, u"slipped in"_s);
            }).join();
        }
        layer.journal.add(describe(value) + " heard, held: "_L1
                          + describe(layer.storage->value(group, key)));
    };
    layer.storage->setValue(u"g"_s, u"k"_s, u"first"_s);
    QCOMPARE(layer.journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = QString(first)"_s,
                          u"handler: CustomConfPersistent g/k = QString(slipped in)"_s,
                          u"QString(slipped in) heard, held: QString(slipped in)"_s,
                          u"QString(first) heard, held: QString(slipped in)"_s}));
}

void tst_QtSettingsIniStorage::theHandlerMayDeleteTheStorage()
{
    // Nothing of the storage may be touched after the notification; AddressSanitizer sees it.
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    for (const bool removing : {false, true}) {
        Layer layer(path);
        layer.handler.reaction = [&layer](SettingsType, const QString &, const QString &,
                                          const QVariant &) { layer.storage.reset(); };
        if (removing)
            layer.storage->remove(u"g"_s, u"k"_s);
        else
            layer.storage->setValue(u"g"_s, u"k"_s, 1);
        QVERIFY(!layer.storage);
        QCOMPARE(layer.journal.take(),
                 QStringList(removing ? u"handler: CustomConfPersistent g/k = invalid"_s
                                      : u"handler: CustomConfPersistent g/k = int(1)"_s));
        QCOMPARE(Files::read(path), QByteArray(removing ? "" : "[g]\nk=1\n"));
    }
}

void tst_QtSettingsIniStorage::aThrowingHandlerLeavesTheChange()
{
    const Watchdog watchdog;
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\ngone=1\n");
    Layer layer(path);
    layer.handler.reaction = [](SettingsType, const QString &, const QString &, const QVariant &) {
        throw std::runtime_error("handler");
    };
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, layer.storage->setValue(u"g"_s, u"k"_s, 1));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, layer.storage->remove(u"g"_s, u"gone"_s));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    layer.storage.reset();
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=1\n"));
}

void tst_QtSettingsIniStorage::destructionTellsNobody()
{
    const Files files;
    Layer layer(files.make(u"x.conf"_s, "[g]\nk=1\n"));
    layer.storage->setValue(u"g"_s, u"k"_s, 2);
    layer.journal.take();
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_QtSettingsIniStorage::neitherHandlerNorLoggerIsNeededForAWritableFile()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    {
        QtSettingsIniStorage storage(SettingsType::SelviDb, nullptr, nullptr, path);
        storage.setValue(u"g"_s, u"k"_s, 1);
        storage.setValue(u"g"_s, u"l"_s, 2);
        storage.remove(u"g"_s, u"l"_s);
    }
    QCOMPARE(Files::read(path), QByteArray("[g]\nk=1\n"));
}

void tst_QtSettingsIniStorage::severalThreadsMayWriteIntoOneStorage()
{
    const Watchdog watchdog;
    const Files files;
    const QString path = files.make(u"x.conf"_s, "");
    QStringList expected;
    KeyList expectedKeys;
    for (int thread = 0; thread < 4; ++thread) {
        for (int i = 10; i < 60; ++i) {
            expected.append(u"handler: CustomConfPersistent %1/%2 = int(%2)"_s.arg(thread).arg(i));
            expectedKeys.append({QString::number(thread), QString::number(i)});
        }
    }
    Layer layer(path);
    runTogether(4, [&layer](int thread) {
        for (int i = 10; i < 60; ++i)
            layer.storage->setValue(QString::number(thread), QString::number(i), i);
    });
    QStringList heard = layer.journal.take();
    heard.sort();
    QCOMPARE(heard, expected);
    QCOMPARE(layer.storage->keys(), expectedKeys);
    layer.storage.reset();
    const FreshCopy copy(path);
    QCOMPARE(copy->keys(), expectedKeys);
}

void tst_QtSettingsIniStorage::severalThreadsMayWriteIntoOneFile()
{
    const Watchdog watchdog;
    const Files files;
    const QString path = files.make(u"x.conf"_s, "");
    KeyList expectedKeys;
    for (int thread = 0; thread < 4; ++thread) {
        for (int i = 10; i < 30; ++i)
            expectedKeys.append({QString::number(thread), QString::number(i)});
    }
    runTogether(4, [&path](int thread) {
        QtSettingsIniStorage storage(SettingsType::CustomConfPersistent, nullptr, nullptr, path);
        for (int i = 10; i < 30; ++i)
            storage.setValue(QString::number(thread), QString::number(i), i);
    });
    const FreshCopy copy(path);
    QCOMPARE(copy->keys(), expectedKeys);
}

QTEST_GUILESS_MAIN(tst_QtSettingsIniStorage)
#include "tst_qtsettingsinistorage.moc"

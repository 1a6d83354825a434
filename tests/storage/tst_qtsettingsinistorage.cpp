// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/qtsettingsinistorage.h"

#include "files.h"
#include "skip.h"
#include "storagetesting.h"
#include "threads.h"

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

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

// A folder of its own for each test.
class Files
{
public:
    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }
    // The path of a new file.
    [[nodiscard]] QString make(const QString &name, const QByteArray &content) const
    {
        if (!writeFile(path(name), content))
            qFatal("cannot write a file");
        return path(name);
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(m_dir.path())
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
    void letOthersIn() const { QFile::setPermissions(m_dir.path(), QFile::Permissions(0x7755)); }

private:
    QTemporaryDir m_dir;
};

constexpr QChar nul(u'\0');
constexpr QChar loneSurrogate(0xd800);

using Layer = RecordedStorage<QtSettingsIniStorage, SettingsType::CustomConfPersistent>;

} // namespace

class tst_QtSettingsIniStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void itHoldsWhatTheFileHolds();

    void anEntryIsNamedByGroupAndKey_data();
    void anEntryIsNamedByGroupAndKey();
    void namesThatDifferOnlyInSlashesAreOneEntry_data();
    void namesThatDifferOnlyInSlashesAreOneEntry();
    void aGroupNamedGeneralInLowerCaseIsLostWhenTheFileIsReadAgain();
    void aValueComesBackAsTheFileTellsIt_data();
    void aValueComesBackAsTheFileTellsIt();
    void aLoneSurrogateInAValueDoesNotReachTheFile();
    void insideTheProcessAValueKeepsItsType();

    void anEqualValueIsNeitherWrittenNorNotified_data();
    void anEqualValueIsNeitherWrittenNorNotified();
    void aDifferentValueIsWrittenAndNotified_data();
    void aDifferentValueIsWrittenAndNotified();
    void anInvalidValueIsNotWrittenWhereThereIsNone();
    void anInvalidValueReplacesAnother();
    void theComparisonAsksTheVirtualValue();
    void aWriteThatSlipsInBehindTheComparisonIsNotifiedTwice();

    void aRemovalIsNotifiedAsAnInvalidValue();
    void removingWhatIsNotThereIsNotifiedToo_data();
    void removingWhatIsNotThereIsNotifiedToo();
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

    void severalThreadsMayWriteIntoOneStorage();
    void severalThreadsMayWriteIntoOneFile();
};

void tst_QtSettingsIniStorage::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
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
    QCOMPARE(readFile(path), content);
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("content");
    const QString longName(300, u'n'); // longer than what a lookup keeps on the stack
    const QString mebibyte(1 << 20, u'n');
    QTest::newRow("group and key")
            << u"Logging"_s << u"level"_s << QByteArray("[Logging]\nlevel=v\n");
    QTest::newRow("empty group") << u""_s << u"top"_s << QByteArray("[General]\ntop=v\n");
    QTest::newRow("null group") << QString() << u"top"_s << QByteArray("[General]\ntop=v\n");
    QTest::newRow("group General")
            << u"General"_s << u"General"_s << QByteArray("[%General]\nGeneral=v\n");
    QTest::newRow("empty group, key with a slash") << u""_s << u"a/b"_s << QByteArray("[a]\nb=v\n");
    QTest::newRow("key with a slash") << u"a"_s << u"b/c"_s << QByteArray("[a]\nb\\c=v\n");
    QTest::newRow("group with a slash") << u"a/b"_s << u"c"_s << QByteArray("[a]\nb\\c=v\n");
    QTest::newRow("slashes too many") << u"/a//"_s << u"/b/"_s << QByteArray("[a]\nb=v\n");
    QTest::newRow("empty key") << u"a"_s << u""_s << QByteArray("[General]\na=v\n");
    QTest::newRow("blanks") << u"a b"_s << u"c d"_s << QByteArray("[a%20b]\nc%20d=v\n");
    QTest::newRow("signs of the format")
            << u"[;]"_s << u"=#"_s << QByteArray("[%5B%3B%5D]\n%3D%23=v\n");
    QTest::newRow("both empty") << u""_s << u""_s << QByteArray("[General]\n=v\n");
    QTest::newRow("per cent signs") << u"%41"_s << u"%1"_s << QByteArray("[%2541]\n%251=v\n");
    QTest::newRow("line breaks") << u"a\r\nb"_s << u"a\nb"_s << QByteArray("[a%0D%0Ab]\na%0Ab=v\n");
    QTest::newRow("NUL") << QString(nul) << u"x"_s + nul << QByteArray("[%00]\nx%00=v\n");
    QTest::newRow("lone surrogate") << QString(loneSurrogate) << QString(loneSurrogate)
                                    << QByteArray("[%UD800]\n%UD800=v\n");
    QTest::newRow("blanks at the ends")
            << u" g "_s << u" k "_s << QByteArray("[%20g%20]\n%20k%20=v\n");
    QTest::newRow("beyond Latin 1")
            << u"\u043A"_s << u"\u044E"_s << QByteArray("[%U043A]\n%U044E=v\n");
    QTest::newRow("backslash") << u"a\\b"_s << u"c\\d"_s << QByteArray("[a%5Cb]\nc%5Cd=v\n");
    QTest::newRow("Latin 1") << u"\u00C4"_s << u"\u00F6"_s << QByteArray("[%C4]\n%F6=v\n");
    QTest::newRow("beyond U+FFFF")
            << u"g"_s << u"\U0001F600"_s << QByteArray("[g]\n%UD83D%UDE00=v\n");
    QTest::newRow("a mebibyte") << u"g"_s << mebibyte
                                << QByteArray("[g]\n" + mebibyte.toLatin1() + "=v\n");
    QTest::newRow("long") << longName << longName
                          << QByteArray('[' + longName.toLatin1() + "]\n" + longName.toLatin1()
                                        + "=v\n");
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QByteArray, content);
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
    QCOMPARE(readFile(path), content);

    const Layer copy(freshCopy(path));
    QVERIFY(copy.storage->contains(group, key));
    QCOMPARE(shown(copy.storage->value(group, key)), shown(u"v"_s));
    copy.storage->remove(group, key);
    QVERIFY(!copy.storage->contains(group, key));
    QCOMPARE(copy.storage->keys(), KeyList());
}

void tst_QtSettingsIniStorage::namesThatDifferOnlyInSlashesAreOneEntry_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::newRow("slash moved") << u"a/b"_s << u"c"_s;
    QTest::newRow("slash in front") << u"/a"_s << u"b/c"_s;
    QTest::newRow("slash behind") << u"a"_s << u"b/c/"_s;
    QTest::newRow("slash doubled") << u"a/"_s << u"/b//c"_s;
    QTest::newRow("empty group") << u""_s << u"a/b/c"_s;
    QTest::newRow("empty key") << u"a/b/c"_s << u""_s;
}

void tst_QtSettingsIniStorage::namesThatDifferOnlyInSlashesAreOneEntry()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    const Files files;
    Layer layer(files.path(u"x.conf"_s));
    layer.storage->setValue(u"a"_s, u"b/c"_s, 1);
    layer.journal.take();
    layer.storage->setValue(group, key, 1);
    QCOMPARE(layer.journal.take(), QStringList());
    layer.storage->setValue(group, key, 2);
    QCOMPARE(shown(layer.storage->value(u"a"_s, u"b/c"_s)), shown(2));
    QCOMPARE(layer.storage->keys(), KeyList({{u"a"_s, u"c"_s}}));
}

void tst_QtSettingsIniStorage::aGroupNamedGeneralInLowerCaseIsLostWhenTheFileIsReadAgain()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"general"_s, u"k"_s, u"v"_s);
    QCOMPARE(layer.storage->value(u"general"_s, u"k"_s), QVariant(u"v"_s));
    layer.storage.reset();

    // QSettings keeps "general" in any case apart from its own section, but with one spelling only.
    QCOMPARE(readFile(path), "[%General]\nk=v\n");
    const Layer copy(freshCopy(path));
    QVERIFY(!copy.storage->contains(u"general"_s, u"k"_s));
    QCOMPARE(copy.storage->value(u"General"_s, u"k"_s), QVariant(u"v"_s));
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
    QTest::newRow("a mebibyte") << QVariant(QString(1 << 20, u'v')) << QByteArray(1 << 20, 'v')
                                << QVariant(QString(1 << 20, u'v'));
    QTest::newRow("text beyond ASCII")
            << QVariant(u"\u00E4\u20AC\U0001F600"_s) << QByteArray("\u00E4\u20AC\U0001F600")
            << QVariant(u"\u00E4\u20AC\U0001F600"_s);
    QTest::newRow("text with signs of the format")
            << QVariant(u" a,b;\"c\"\\ "_s) << QByteArray("\" a,b;\\\"c\\\"\\\\ \"")
            << QVariant(u" a,b;\"c\"\\ "_s);
    QTest::newRow("text with an at sign")
            << QVariant(u"@Invalid()"_s) << QByteArray("@@Invalid()") << QVariant(u"@Invalid()"_s);
    QTest::newRow("text of two lines")
            << QVariant(u"a\r\nb"_s) << QByteArray("a\\r\\nb") << QVariant(u"a\r\nb"_s);
    QTest::newRow("text with per cent signs")
            << QVariant(u"%1 %41 %"_s) << QByteArray("%1 %41 %") << QVariant(u"%1 %41 %"_s);
    QTest::newRow("text that ends in NUL")
            << QVariant(u"a"_s + nul) << QByteArray("@String(a\\0)") << QVariant(u"a"_s + nul);
    QTest::newRow("texts with signs of the format")
            << QVariant(QStringList{u"a"_s, u"b,c"_s}) << QByteArray("a, \"b,c\"")
            << QVariant(QStringList{u"a"_s, u"b,c"_s});
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
    QFETCH(const QVariant, written);
    QFETCH(const QByteArray, text);
    QFETCH(const QVariant, decoded);
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    layer.storage.reset();
    QCOMPARE(readFile(path), "[g]\nk=" + text + '\n');

    const Layer copy(freshCopy(path));
    QVERIFY(copy.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(copy.storage->value(u"g"_s, u"k"_s)), shown(decoded));
}

void tst_QtSettingsIniStorage::aLoneSurrogateInAValueDoesNotReachTheFile()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    const QString inside = u"a"_s + loneSurrogate + u"b"_s;
    const QString atTheEnd = u"a"_s + loneSurrogate;
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"inside"_s, inside);
    layer.storage->setValue(u"g"_s, u"end"_s, atTheEnd);
    QCOMPARE(layer.storage->value(u"g"_s, u"inside"_s), QVariant(inside));
    QCOMPARE(layer.storage->value(u"g"_s, u"end"_s), QVariant(atTheEnd));
    layer.storage.reset();
    const Layer copy(freshCopy(path));
    QCOMPARE(copy.storage->value(u"g"_s, u"inside"_s), QVariant(u"a\ufffdb"_s));
    QCOMPARE(copy.storage->value(u"g"_s, u"end"_s), QVariant(u"a"_s));
}

void tst_QtSettingsIniStorage::insideTheProcessAValueKeepsItsType()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer(path).storage->setValue(u"g"_s, u"k"_s, 5);
    Layer again(path);
    QCOMPARE(shown(again.storage->value(u"g"_s, u"k"_s)), shown(5));
    const Layer copy(freshCopy(path));
    QCOMPARE(shown(copy.storage->value(u"g"_s, u"k"_s)), shown(u"5"_s));
}

void tst_QtSettingsIniStorage::anEqualValueIsNeitherWrittenNorNotified_data()
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

void tst_QtSettingsIniStorage::anEqualValueIsNeitherWrittenNorNotified()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QVariant, written);
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
    QCOMPARE(readFile(path), content);
}

void tst_QtSettingsIniStorage::aDifferentValueIsWrittenAndNotified_data()
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

void tst_QtSettingsIniStorage::aDifferentValueIsWrittenAndNotified()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QVariant, written);
    QFETCH(const QByteArray, newText);
    const Files files;
    const QString path = files.make(u"x.conf"_s, "; lost\n[g]\nk=" + text + "\nother=1\n");
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    layer.storage.reset();
    QCOMPARE(readFile(path), "[g]\nk=" + newText + "\nother=1\n");
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
    QCOMPARE(readFile(path), QByteArray("[g]\nk=@Invalid()\n"));
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
    QCOMPARE(readFile(path), content);

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

void tst_QtSettingsIniStorage::aWriteThatSlipsInBehindTheComparisonIsNotifiedTwice()
{
    // Reading, comparing and writing are no unit: a write in between is notified as well.
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

void tst_QtSettingsIniStorage::aRemovalIsNotifiedAsAnInvalidValue()
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
    QCOMPARE(readFile(path), QByteArray("[g]\nl=2\n\n[h]\nk=3\n"));
}

void tst_QtSettingsIniStorage::removingWhatIsNotThereIsNotifiedToo_data()
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

void tst_QtSettingsIniStorage::removingWhatIsNotThereIsNotifiedToo()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[Group]\nKey=1\n");
    Layer layer(path);
    const QStringList notified("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                               + " = invalid"_L1);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), notified);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(), notified);
    layer.storage.reset();
    QCOMPARE(readFile(path), QByteArray("[Group]\nKey=1\n"));
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
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QByteArray, left);
    const Files files;
    const QString path
            = files.make(u"x.conf"_s, "[g]\nk=1\nk\\a\\x=2\nk\\a\\y=3\nkk=4\n\n[h]\nk=5\n");
    Layer layer(path);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                         + " = invalid"_L1));
    layer.storage.reset();
    QCOMPARE(readFile(path), left);
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
    QCOMPARE(readFile(path), content);
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
    QFETCH(const QVariant, value);
    QFETCH(const QString, valueText);
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QString, directory);
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
    QCOMPARE(readFile(files.path(directory)), QByteArray("not a directory"));
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
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QString, directory);
    const Files files;
    const QString path = files.make(directory, "not a directory") + "/custom.conf"_L1;
    Layer layer(path);
    layer.storage->remove(group, key);
    QCOMPARE(layer.journal.take(),
             QStringList("error: unable to remove value "_L1 + group + '/'_L1 + key + " from "_L1
                         + path));
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(readFile(files.path(directory)), QByteArray("not a directory"));
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
    QFETCH(const QByteArray, content);
    QFETCH(const KeyList, keys);
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
    QFETCH(const QByteArray, content);
    QFETCH(const bool, available);
    const Files files;
    const QString path = files.make(u"x.conf"_s, content);
    Layer layer(path);
    QCOMPARE(layer.storage->isAvailable(), available);
    layer.storage.reset();
    QCOMPARE(layer.journal.take(), QStringList());
    QCOMPARE(readFile(path), content);
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
    QCOMPARE(readFile(path), QByteArray("[b]\nk=3\n"));
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
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));
    QCOMPARE(readFile(path), QByteArray("[g]\nk=1\n"));
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
    QCOMPARE(readFile(path), QByteArray("[g]\nk=1\n"));
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
    QCOMPARE(readFile(path), content);
    layer.storage.reset();
    QCOMPARE(readFile(path), QByteArray("[g]\nk=5\n"));
}

void tst_QtSettingsIniStorage::theEventLoopBringsChangesToTheFile()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Layer layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 5);
    QVERIFY(!QFile::exists(path));
    QCoreApplication::processEvents();
    QCOMPARE(readFile(path), QByteArray("[g]\nk=5\n"));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(5));
}

void tst_QtSettingsIniStorage::aLaterChangeOfTheFileIsNotSeen()
{
    const Files files;
    const QString path = files.make(u"x.conf"_s, "[g]\nk=1\n");
    Layer layer(path);
    QVERIFY(writeFile(path, "[g]\nk=changed\nother=1\n"));
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
    QStringList notified = layer.journal.take();
    notified.sort();
    QCOMPARE(notified, expected);
    QCOMPARE(layer.storage->keys(), expectedKeys);
    layer.storage.reset();
    const Layer copy(freshCopy(path));
    QCOMPARE(copy.storage->keys(), expectedKeys);
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
    const Layer copy(freshCopy(path));
    QCOMPARE(copy.storage->keys(), expectedKeys);
}

QTEST_GUILESS_MAIN(tst_QtSettingsIniStorage)
#include "tst_qtsettingsinistorage.moc"

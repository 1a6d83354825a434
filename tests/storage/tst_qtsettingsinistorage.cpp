// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/qtsettingsinistorage.h"

#include "comparejournal.h"
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
#include <optional>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

// A new folder for each test.
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

// The storage that the steps of a row work on.
class Scene
{
public:
    Scene() = default;
    explicit Scene(const QString &where) { open(where); }
    void open(const QString &where)
    {
        storage.reset();
        path = where;
        storage = std::make_unique<QtSettingsIniStorage>(CustomConfPersistent, &handler, &logger,
                                                         path);
    }

    const Files files{};
    QString path = files.path(u"x.conf"_s);
    Journal journal;
    RecordingHandler handler{&journal};
    RecordingLogger logger{&journal};
    std::unique_ptr<AbstractStorage> storage;
};

using Step = std::function<void(Scene &)>;
using Steps = QList<Step>;

const QString g = u"g"_s; // the group where none is given

Step set(const QString &key, const QVariant &value, const QString &group = g)
{
    return [=](Scene &scene) { scene.storage->setValue(group, key, value); };
}

Step remove(const QString &key, const QString &group = g)
{
    return [=](Scene &scene) { scene.storage->remove(group, key); };
}

// Steps that write the present state into the journal.

Step read(const QString &key, const QString &group = g) // "g/k: QVariant(int, 1)", or "missing"
{
    return [=](Scene &scene) {
        const AbstractStorage &storage = *scene.storage; // reading works on a constant storage
        const QVariant value = storage.value(group, key);
        const bool isHeld = storage.contains(group, key);
        QVERIFY(isHeld || !value.isValid());
        scene.journal.add(group + u'/' + key + ": "_L1 + (isHeld ? shown(value) : u"missing"_s));
    };
}

Step keys() // "keys: a/b c/d"
{
    return [](Scene &scene) {
        QString line = u"keys:"_s;
        const KeyList list = scene.storage->keys();
        for (const auto &[group, key] : list)
            line += u' ' + group + u'/' + key;
        scene.journal.add(line);
    };
}

Step available()
{
    return [](Scene &scene) {
        scene.journal.add(scene.storage->isAvailable() ? u"available"_s : u"unavailable"_s);
    };
}

Step file() // "file: [g]|k=1|", or "no file"
{
    return [](Scene &scene) {
        const QByteArray contents = readFile(scene.path).replace('\n', '|');
        scene.journal.add(contents.isNull() ? u"no file"_s
                                            : "file: "_L1 + QString::fromUtf8(contents));
    };
}

// Steps around the storage.

Step reopen() // on the same file, of which QSettings remembers the contents
{
    return [](Scene &scene) { scene.open(scene.path); };
}

Step reopenAsAnotherProcess()
{
    return [](Scene &scene) {
        scene.storage.reset();
        scene.open(freshCopy(scene.path));
    };
}

// Adds a row: the file before (null if there is none), the steps, the expected journal, and the
// file after the storage has been destroyed.
void row(const QByteArray &name, const QByteArray &before, const Steps &steps, QStringView journal,
         const QByteArray &after)
{
    QTest::newRow(name.constData()) << before << steps << journal.toString() << after;
}

} // namespace
Q_DECLARE_METATYPE(Steps)

class tst_QtSettingsIniStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void reading_data();
    void reading() { runRow(); }
    void writing_data();
    void writing() { runRow(); }
    void removing_data();
    void removing() { runRow(); }
    void theFile_data();
    void theFile() { runRow(); }

    void anEntryIsNamedByGroupAndKey_data();
    void anEntryIsNamedByGroupAndKey();
    void aValueComesBackAsTheFileTellsIt_data();
    void aValueComesBackAsTheFileTellsIt();
    void theComparisonAsksTheVirtualValue();
    void aWriteThatSlipsInBehindTheComparisonIsNotifiedTwice();

    void aRefusalIsLogged_data();
    void aRefusalIsLogged();
    void aFileOutOfReachRefusesChanges_data();
    void aFileOutOfReachRefusesChanges();

    void theFirstWriteMakesTheFileAndItsDirectories();
    void theTargetOfASymbolicLinkIsOverwritten();
    void storagesOnOneFileShareItsContent();
    void severalThreadsMayWrite_data();
    void severalThreadsMayWrite();

private:
    static void addColumns();
    static void runRow();
};

void tst_QtSettingsIniStorage::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_QtSettingsIniStorage::addColumns()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<QString>("journal");
    QTest::addColumn<QByteArray>("after");
}

void tst_QtSettingsIniStorage::runRow()
{
    QFETCH(const QByteArray, before);
    QFETCH(const Steps, steps);
    QFETCH(const QString, journal);
    QFETCH(const QByteArray, after);
    Scene scene;
    if (!before.isNull())
        QVERIFY(writeFile(scene.path, before));
    scene.open(scene.path);
    for (const Step &step : steps)
        step(scene);
    scene.storage.reset();
    COMPARE_JOURNAL(scene.journal, journal, CustomConfPersistent);
    QCOMPARE(readFile(scene.path), after);
    QCOMPARE(QFile::exists(scene.path), !after.isNull());
}

void tst_QtSettingsIniStorage::reading_data()
{
    addColumns();

    const auto unchanged
            = [](const QByteArray &name, const QByteArray &contents, const Steps &steps,
                 QStringView journal) { row(name, contents, steps, journal, contents); };
    unchanged("what the file holds",
              "; kept\n[General]\ntop=1\n\n[%General]\ndown=2\n\n[Logging]\nlevel=4\nempty=\n"
              "list=a, b\nnone=@Invalid()\n",
              {available(), keys(), read(u"level"_s, u"Logging"_s), read(u"empty"_s, u"Logging"_s),
               read(u"list"_s, u"Logging"_s), read(u"none"_s, u"Logging"_s), read(u"top"_s, u""_s),
               read(u"down"_s, u"General"_s), read(u"top"_s, u"General"_s),
               read(u"other"_s, u"Logging"_s), read(u"level"_s, u"Other"_s),
               read(u""_s, u"Logging"_s)},
              uR"(
        available
        keys: General/down Logging/empty Logging/level Logging/list Logging/none top/top
        Logging/level: QVariant(QString, "4")
        Logging/empty: QVariant(QString, "")
        Logging/list: %1
        Logging/none: QVariant(Invalid)
        /top: QVariant(QString, "1")
        General/down: QVariant(QString, "2")
        General/top: missing
        Logging/other: missing
        Other/level: missing
        Logging/: missing )"_s.arg(shown(QStringList{u"a"_s, u"b"_s})));

    // Keys are the first and the last segments.
    unchanged("no entry", "[g]\n", {keys()}, u"keys:");
    unchanged("two segments", "[a]\nb=1\n", {keys()}, u"keys: a/b");
    unchanged("three segments", "[a]\nb\\c=1\n", {keys()}, u"keys: a/c");
    unchanged("section of two segments", "[a/b]\nc=1\n", {keys()}, u"keys: a/c");
    unchanged("five segments", "[a]\nb\\c\\d\\e=1\n", {keys()}, u"keys: a/e");
    unchanged("the same key twice", "[a]\nx\\c=1\ny\\c=2\n", {keys()}, u"keys: a/c a/c");
    unchanged("empty segment in the middle", "[a]\n\\c=1\n", {keys()}, u"keys: a/c");
    unchanged("empty segment at the end", "[a]\nf/=1\n", {keys()}, u"keys: a/");
    unchanged("a key of another number of segments is not read by what is listed",
              "x=1\n[a]\nb\\c=2\n",
              {keys(), read(u"c"_s, u"a"_s), read(u"x"_s, u"x"_s), read(u"b/c"_s, u"a"_s),
               read(u"x"_s, u""_s)},
              uR"(
        keys: a/c x/x
        a/c: missing
        x/x: missing
        a/b/c: QVariant(QString, "2")
        /x: QVariant(QString, "1") )");
    // Sorted by full key, not by group and key; new keys do not come last.
    row("keys keep the order of QSettings",
        "top=1\n[b]\nk=1\n[a]\nz=1\nm\\a=1\n\\y=1\nZ=1\n[B]\nk=1\n",
        {set(u"n"_s, 1, u"a"_s), keys()}, uR"(
        handler: SELF a/n = int(1)
        keys: B/k a/y a/Z a/a a/n a/z b/k top/top )",
        "[General]\ntop=1\n\n[B]\nk=1\n\n[a]\n\\y=1\nZ=1\nm\\a=1\nn=1\nz=1\n\n[b]\nk=1\n");

    // Availability is the status of the file.
    unchanged("empty file", "", {available()}, u"available");
    unchanged("entries", "[g]\nk=1\n", {available()}, u"available");
    unchanged("comments only", "; a\n; b\n", {keys(), available()}, uR"(
        keys:
        available )");
    unchanged("a number sign starts no comment", "[g]\n#k=1\n", {keys(), read(u"#k"_s)}, uR"(
        keys: g/#k
        g/#k: QVariant(QString, "1") )");
    unchanged("line without a value", "[g]\nnonsense\n", {available()}, u"available");
    unchanged("value that cannot be decoded", "[g]\nk=@Variant(x)\n", {available()}, u"available");
    unchanged("section without its end", "[g\nk=1\n", {available()}, u"unavailable");
    unchanged("section without its end after good ones", "[a]\nk=1\n[g\nk=1\n", {available()},
              u"unavailable");
    row("a malformed file is read and written", "[a\nk=1\n[b]\nk=2\n",
        {keys(), read(u"k"_s, u"b"_s), set(u"k"_s, 3, u"b"_s), remove(u"k"_s, u"a"_s), available()},
        uR"(
        keys: a/k b/k
        b/k: QVariant(QString, "2")
        handler: SELF b/k = int(3)
        handler: SELF a/k = invalid
        unavailable )",
        "[b]\nk=3\n");
}

void tst_QtSettingsIniStorage::writing_data()
{
    addColumns();

    // The comment stays as long as QSettings does not write the file.
    const auto equal = [](const char *name, const QByteArray &text, const QVariant &value) {
        const QByteArray contents = "; kept\n[g]\nk=" + text + '\n';
        row(QByteArray("equal: ") + name, contents, {set(u"k"_s, value)}, {}, contents);
    };
    equal("text", "en", u"en"_s);
    equal("empty text", "", u""_s);
    equal("number as text", "1", u"1"_s);
    equal("number", "1", 1);
    equal("number as fraction", "1", 1.0);
    equal("number with a zero in front", "01", 1);
    equal("fraction", "1.5", 1.5);
    equal("truth", "true", true);
    equal("list", "a, b", QStringList{u"a"_s, u"b"_s});
    equal("bytes", "@ByteArray(x)", "x"_ba);
    equal("invalid", "@Invalid()", QVariant());

    const auto different = [](const char *name, const QByteArray &text, const QVariant &value,
                              const QByteArray &newText) {
        row(QByteArray("different: ") + name, "; lost\n[g]\nk=" + text + "\nother=1\n",
            {set(u"k"_s, value), read(u"k"_s)},
            QString("handler: SELF g/k = "_L1 + describe(value) + "\ng/k: "_L1 + shown(value)),
            "[g]\nk=" + newText + "\nother=1\n");
    };
    different("other text", "en", u"ru"_s, "ru");
    different("text in another case", "en", u"EN"_s, "EN");
    different("other number", "1", 2, "2");
    different("number as another text of it", "1", u"01"_s, "01");
    different("number over text that is no integer", "1.0", 1, "1");
    different("truth over other text", "on", true, "true");
    different("list of variants over list of texts", "a, b", QVariantList{u"a"_s, u"b"_s}, "a, b");
    different("bytes over text", "x", "x"_ba, "@ByteArray(x)");
    different("text over invalid", "@Invalid()", u""_s, "");
    different("invalid over text", "1", QVariant(), "@Invalid()");

    // An absent key reads as an invalid value, so the two are equal.
    row("an invalid value where there is none", {},
        {set(u"k"_s, QVariant()), read(u"k"_s), keys(), file()}, uR"(
        g/k: missing
        keys:
        no file )",
        {});

    for (const auto &[group, key] : KeyList{{u"a/b"_s, u"c"_s},
                                            {u"/a"_s, u"b/c"_s},
                                            {u"a"_s, u"b/c/"_s},
                                            {u"a/"_s, u"/b//c"_s},
                                            {u""_s, u"a/b/c"_s},
                                            {u"a/b/c"_s, u""_s}}) {
        const QString name = group + u'/' + key;
        row("names that differ only in slashes are one entry: " + (group + u'|' + key).toUtf8(),
            "[a]\nb\\c=1\n",
            {set(key, 1, group), set(key, 2, group), read(u"b/c"_s, u"a"_s), keys()},
            QString("handler: SELF "_L1 + name
                    + " = int(2)\na/b/c: QVariant(int, 2)\nkeys: a/c"_L1),
            "[a]\nb\\c=2\n");
    }
    // QSettings keeps "general" in any case apart from its own section, but with one spelling only.
    row("a group named general in lower case is another in the file", {},
        {set(u"k"_s, u"v"_s, u"general"_s), read(u"k"_s, u"general"_s), reopenAsAnotherProcess(),
         read(u"k"_s, u"general"_s), read(u"k"_s, u"General"_s)},
        uR"(
        handler: SELF general/k = QString(v)
        general/k: QVariant(QString, "v")
        general/k: missing
        General/k: QVariant(QString, "v") )",
        "[%General]\nk=v\n");
    row("inside the process a value keeps its type", {},
        {set(u"k"_s, 5), reopen(), read(u"k"_s), reopenAsAnotherProcess(), read(u"k"_s)}, uR"(
        handler: SELF g/k = int(5)
        g/k: QVariant(int, 5)
        g/k: QVariant(QString, "5") )",
        "[g]\nk=5\n");
}

void tst_QtSettingsIniStorage::removing_data()
{
    addColumns();

    row("a removal is notified as an invalid value", "[g]\nk=1\nl=2\n\n[h]\nk=3\n",
        {remove(u"k"_s), read(u"k"_s), keys()}, uR"(
        handler: SELF g/k = invalid
        g/k: missing
        keys: g/l h/k )",
        "[g]\nl=2\n\n[h]\nk=3\n");
    // Intentional: each removal is notified, though it changes nothing.
    for (const auto &[group, key] : KeyList{{u"Other"_s, u"Key"_s},
                                            {u"Group"_s, u"Other"_s},
                                            {u"Group"_s, u"key"_s},
                                            {u""_s, u"Key"_s},
                                            {u"Group"_s, u"Ke"_s},
                                            {u"Group"_s, u"Key/below"_s}}) {
        const QString notified = "handler: SELF "_L1 + group + u'/' + key + " = invalid\n"_L1;
        row("an absent key: " + (group + u'/' + key).toUtf8(), "[Group]\nKey=1\n",
            {remove(key, group), remove(key, group)}, notified.repeated(2), "[Group]\nKey=1\n");
    }
    const auto below = [](const char *name, const QString &group, const QString &key,
                          const QByteArray &left) {
        row(name, "[g]\nk=1\nk\\a\\x=2\nk\\a\\y=3\nkk=4\n\n[h]\nk=5\n", {remove(key, group)},
            QString("handler: SELF "_L1 + group + u'/' + key + " = invalid"_L1), left);
    };
    below("keys below the key as well", u"g"_s, u"k"_s, "[g]\nkk=4\n\n[h]\nk=5\n");
    below("keys below only", u"g/k"_s, u"a"_s, "[g]\nk=1\nkk=4\n\n[h]\nk=5\n");
    below("all of a group, by an empty group", u""_s, u"g"_s, "[h]\nk=5\n");
    below("all of a group, by an empty key", u"g"_s, u""_s, "[h]\nk=5\n");
    below("all, by both empty", u""_s, u""_s, "");
}

void tst_QtSettingsIniStorage::theFile_data()
{
    addColumns();

    row("is written when the storage dies", "; kept\n[g]\nk=1\nl=2\n",
        {set(u"k"_s, 5), remove(u"l"_s), keys(), read(u"k"_s), available(), file()}, uR"(
        handler: SELF g/k = int(5)
        handler: SELF g/l = invalid
        keys: g/k
        g/k: QVariant(int, 5)
        available
        file: ; kept|[g]|k=1|l=2| )",
        "[g]\nk=5\n");
    row("is written by the event loop", {},
        {set(u"k"_s, 5), file(), [](Scene &) { QCoreApplication::processEvents(); }, file(),
         read(u"k"_s)},
        uR"(
        handler: SELF g/k = int(5)
        no file
        file: [g]|k=5|
        g/k: QVariant(int, 5) )",
        "[g]\nk=5\n");
    row("may change later, which is not seen", "[g]\nk=1\n",
        {[](Scene &scene) { QVERIFY(writeFile(scene.path, "[g]\nk=changed\nother=1\n")); },
         read(u"k"_s), read(u"other"_s), set(u"k"_s, u"1"_s), keys()},
        uR"(
        g/k: QVariant(QString, "1")
        g/other: missing
        keys: g/k )",
        "[g]\nk=changed\nother=1\n");
    // Not writable, but QSettings reports no error, because a missing file is not one.
    row("may be one that cannot exist", {},
        {[](Scene &scene) { scene.open(scene.files.make(u"file"_s, "") + "/x.conf"_L1); },
         available(), keys(), set(u"k"_s, 1), available(), read(u"k"_s),
         [](Scene &scene) {
             const QStringList lines = scene.journal.take();
             for (QString line : lines)
                 scene.journal.add(line.replace(scene.files.path({}), "DIR"_L1));
         }},
        uR"(
        available
        keys:
        error: unable to write value 1 (g/k) to DIR/file/x.conf, file is not writable
        available
        g/k: missing )",
        {});
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("content");
    const auto named
            = [](const char *name, const QString &group, const QString &key,
                 const QByteArray &content) { QTest::newRow(name) << group << key << content; };
    const QString longName(300, u'n'); // longer than a lookup's buffer on the stack
    const QString mebibyte(1 << 20, u'n');
    named("group and key", u"Logging"_s, u"level"_s, "[Logging]\nlevel=v\n");
    named("empty group", u""_s, u"top"_s, "[General]\ntop=v\n");
    named("null group", QString(), u"top"_s, "[General]\ntop=v\n");
    named("group General", u"General"_s, u"General"_s, "[%General]\nGeneral=v\n");
    named("empty group, key with a slash", u""_s, u"a/b"_s, "[a]\nb=v\n");
    named("key with a slash", u"a"_s, u"b/c"_s, "[a]\nb\\c=v\n");
    named("group with a slash", u"a/b"_s, u"c"_s, "[a]\nb\\c=v\n");
    named("slashes too many", u"/a//"_s, u"/b/"_s, "[a]\nb=v\n");
    named("empty key", u"a"_s, u""_s, "[General]\na=v\n");
    named("blanks", u"a b"_s, u"c d"_s, "[a%20b]\nc%20d=v\n");
    named("signs of the format", u"[;]"_s, u"=#"_s, "[%5B%3B%5D]\n%3D%23=v\n");
    named("both empty", u""_s, u""_s, "[General]\n=v\n");
    named("per cent signs", u"%41"_s, u"%1"_s, "[%2541]\n%251=v\n");
    named("line breaks", u"a\r\nb"_s, u"a\nb"_s, "[a%0D%0Ab]\na%0Ab=v\n");
    named("NUL", QString(nul), u"x"_s + nul, "[%00]\nx%00=v\n");
    named("lone surrogate", QString(loneSurrogate), QString(loneSurrogate), "[%UD800]\n%UD800=v\n");
    named("blanks at the ends", u" g "_s, u" k "_s, "[%20g%20]\n%20k%20=v\n");
    named("beyond Latin 1", u"\u043A"_s, u"\u044E"_s, "[%U043A]\n%U044E=v\n");
    named("backslash", u"a\\b"_s, u"c\\d"_s, "[a%5Cb]\nc%5Cd=v\n");
    named("Latin 1", u"\u00C4"_s, u"\u00F6"_s, "[%C4]\n%F6=v\n");
    named("beyond U+FFFF", u"g"_s, u"\U0001F600"_s, "[g]\n%UD83D%UDE00=v\n");
    named("a mebibyte", u"g"_s, mebibyte, "[g]\n" + mebibyte.toLatin1() + "=v\n");
    named("long", longName, longName,
          '[' + longName.toLatin1() + "]\n" + longName.toLatin1() + "=v\n");
}

void tst_QtSettingsIniStorage::anEntryIsNamedByGroupAndKey()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QByteArray, content);
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Scene layer(path);
    layer.storage->setValue(group, key, u"v"_s);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent "_L1 + group + '/'_L1 + key
                         + " = QString(v)"_L1));
    QVERIFY(layer.storage->contains(group, key));
    QCOMPARE(shown(layer.storage->value(group, key)), shown(u"v"_s));
    layer.storage.reset();
    QCOMPARE(readFile(path), content);

    const Scene copy(freshCopy(path));
    QVERIFY(copy.storage->contains(group, key));
    QCOMPARE(shown(copy.storage->value(group, key)), shown(u"v"_s));
    copy.storage->remove(group, key);
    QVERIFY(!copy.storage->contains(group, key));
    QCOMPARE(copy.storage->keys(), KeyList());
}

void tst_QtSettingsIniStorage::aValueComesBackAsTheFileTellsIt_data()
{
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVariant>("decoded");
    const auto as
            = [](const char *name, const QVariant &written, const QByteArray &text,
                 const QVariant &decoded) { QTest::newRow(name) << written << text << decoded; };
    const auto same = [&as](const char *name, const QVariant &written, const QByteArray &text) {
        as(name, written, text, written);
    };
    const QVariantMap map{{u"a"_s, 1}};
    same("text", u"en"_s, "en");
    same("empty text", u""_s, "");
    as("null text", QString(), "", u""_s);
    same("a mebibyte", QString(1 << 20, u'v'), QByteArray(1 << 20, 'v'));
    same("text beyond ASCII", u"\u00E4\u20AC\U0001F600"_s, "\u00E4\u20AC\U0001F600");
    same("text with signs of the format", u" a,b;\"c\"\\ "_s, "\" a,b;\\\"c\\\"\\\\ \"");
    same("text with an at sign", u"@Invalid()"_s, "@@Invalid()");
    same("text of two lines", u"a\r\nb"_s, "a\\r\\nb");
    same("text with per cent signs", u"%1 %41 %"_s, "%1 %41 %");
    same("text that ends in NUL", QString(u"a"_s + nul), "@String(a\\0)");
    as("text with a lone surrogate", QString(u"a"_s + loneSurrogate + u"b"_s), "a\ufffdb",
       u"a\ufffdb"_s);
    as("text that ends in a lone surrogate", QString(u"a"_s + loneSurrogate), "a", u"a"_s);
    same("texts with signs of the format", QStringList{u"a"_s, u"b,c"_s}, "a, \"b,c\"");
    as("number", -5, "-5", u"-5"_s);
    as("large number", Q_INT64_C(-5'000'000'000), "-5000000000", u"-5000000000"_s);
    as("fraction", 0.5, "0.5", u"0.5"_s);
    as("truth", true, "true", u"true"_s);
    same("list of texts", QStringList{u"a"_s, u"b"_s}, "a, b");
    as("list of one text", QStringList{u"a"_s}, "a", u"a"_s);
    as("empty list", QStringList(), "@Invalid()", QVariant());
    as("mixed list", QVariantList{1, u"x"_s}, "1, x", QStringList{u"1"_s, u"x"_s});
    same("bytes", QByteArray("x\0y", 3), "@ByteArray(x\\0y)");
    same("rectangle", QRect(1, 2, 3, 4), "@Rect(1 2 3 4)");
    same("map", map,
         "@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0\\x61"
         "\\0\\0\\0\\x2\\0\\0\\0\\x1)");
    same("date", QDate(2024, 2, 29), "@Variant(\\0\\0\\0\\xe\\0%\\x8a\\xd2)");
}

void tst_QtSettingsIniStorage::aValueComesBackAsTheFileTellsIt()
{
    QFETCH(const QVariant, written);
    QFETCH(const QByteArray, text);
    QFETCH(const QVariant, decoded);
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Scene layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, written);
    QCOMPARE(layer.journal.take(),
             QStringList("handler: CustomConfPersistent g/k = "_L1 + describe(written)));
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(written));
    layer.storage.reset();
    QCOMPARE(readFile(path), "[g]\nk=" + text + '\n');

    const Scene copy(freshCopy(path));
    QVERIFY(copy.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(shown(copy.storage->value(u"g"_s, u"k"_s)), shown(decoded));
}

void tst_QtSettingsIniStorage::theComparisonAsksTheVirtualValue()
{
    class Answering : public QtSettingsIniStorage
    {
    public:
        Answering(Scene *scene, const QString &path)
            : QtSettingsIniStorage(CustomConfPersistent, &scene->handler, &scene->logger, path),
              m_journal(&scene->journal)
        {
        }
        QVariant value(const QString &group, const QString &key) const override
        {
            m_journal->add("asked for "_L1 + group + u'/' + key);
            return u"the subclass's answer"_s;
        }

    private:
        Journal *const m_journal;
    };
    Scene scene;
    QVERIFY(writeFile(scene.path, "; kept\n[g]\nk=in the file\n"));
    {
        Answering storage(&scene, scene.path);
        storage.setValue(u"g"_s, u"k"_s, u"the subclass's answer"_s);
        QVERIFY(storage.contains(u"g"_s, u"k"_s));
        QVERIFY(!storage.contains(u"g"_s, u"l"_s));
    }
    QCOMPARE(readFile(scene.path), "; kept\n[g]\nk=in the file\n");
    Answering storage(&scene, scene.path);
    storage.setValue(u"g"_s, u"k"_s, u"in the file"_s);
    storage.remove(u"g"_s, u"other"_s);
    // A refusal comes before the comparison.
    Answering(&scene, scene.path + "/below"_L1).setValue(u"g"_s, u"k"_s, 1);
    COMPARE_JOURNAL(scene.journal,
                    QString(uR"(
        asked for g/k
        asked for g/k
        handler: CustomConfPersistent g/k = QString(in the file)
        handler: CustomConfPersistent g/other = invalid
        error: unable to write value 1 (g/k) to %1/below, file is not writable )"_s.arg(
                            scene.path)));
}

void tst_QtSettingsIniStorage::aWriteThatSlipsInBehindTheComparisonIsNotifiedTwice()
{
    // Reading, comparing and writing are not one step: a write in between is notified too.
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
    Scene scene;
    Interrupted storage(CustomConfPersistent, &scene.handler, &scene.logger, scene.path);
    storage.interruption = [&storage] { storage.setValue(u"g"_s, u"k"_s, 1); };
    storage.setValue(u"g"_s, u"k"_s, 1);
    QCOMPARE(scene.journal.take(),
             QStringList({u"handler: CustomConfPersistent g/k = int(1)"_s,
                          u"handler: CustomConfPersistent g/k = int(1)"_s}));
}

void tst_QtSettingsIniStorage::aRefusalIsLogged_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("valueText");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("directory");
    const QString ui = u"ui"_s;
    const QString lang = u"lang"_s;
    const QString signs = u"%1 %2 %3 %4 %L1 %%1"_s;
    const auto refused
            = [](const char *name, const QVariant &value, const QString &valueText,
                 const QString &group, const QString &key, const QString &directory = u"dir"_s) {
                  QTest::newRow(name) << value << valueText << group << key << directory;
              };
    refused("text", u"en"_s, u"en"_s, ui, lang);
    refused("empty text", u""_s, u""_s, ui, lang);
    refused("number", 4, u"4"_s, ui, lang);
    refused("fraction", 0.5, u"0.5"_s, ui, lang);
    refused("truth", true, u"true"_s, ui, lang);
    refused("bytes", "abc"_ba, u"abc"_s, ui, lang);
    refused("list of one text", QStringList(u"a"_s), u"a"_s, ui, lang);
    refused("list without a text of its own", QStringList{u"a"_s, u"b"_s}, u""_s, ui, lang);
    // The key also reads as an invalid value, but the refusal comes before the comparison.
    refused("invalid", QVariant(), u""_s, ui, lang);
    refused("empty group", 1, u"1"_s, u""_s, lang);
    refused("empty key", 1, u"1"_s, ui, u""_s);
    refused("no key at all", 1, u"1"_s, QString(), QString());
    refused("per cent signs in the value", signs, signs, ui, lang);
    refused("per cent signs in the group", 1, u"1"_s, signs, lang);
    refused("per cent signs in the key", 1, u"1"_s, ui, signs);
    refused("per cent signs in the path", 1, u"1"_s, ui, lang, signs);
    refused("per cent signs everywhere", signs, signs, signs, signs, signs);
    refused("the path as QSettings writes it", 1, u"1"_s, ui, lang, u"./dir//sub/.."_s);
}

void tst_QtSettingsIniStorage::aRefusalIsLogged()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, valueText);
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QString, directory);
    const Files files;
    // A regular file in place of a directory stops every user, even root.
    const QString name = directory.startsWith(u'.') ? u"dir"_s : directory;
    const QString path = files.make(name, "not a directory") + "/custom.conf"_L1;
    Scene layer(files.path(directory + "/custom.conf"_L1));
    const QString refusal = "error: unable to write value "_L1 + valueText + " ("_L1 + group
            + '/'_L1 + key + ") to "_L1 + path + ", file is not writable"_L1;
    layer.storage->setValue(group, key, value);
    QCOMPARE(layer.storage->keys(), KeyList());
    layer.storage->setValue(group, key, value);
    layer.storage->remove(group, key);
    layer.storage.reset();
    QCOMPARE(layer.journal.take(),
             QStringList({refusal, refusal,
                          "error: unable to remove value "_L1 + group + '/'_L1 + key + " from "_L1
                                  + path}));
    QCOMPARE(readFile(files.path(name)), QByteArray("not a directory"));
    QCOMPARE(files.names(), QStringList(name));
}

void tst_QtSettingsIniStorage::aFileOutOfReachRefusesChanges_data()
{
    QTest::addColumn<QFile::Permissions>("permissions");
    QTest::addColumn<QString>("journal");
    const auto refused = uR"(
        %1
        error: unable to write value 2 (g/k) to PATH, file is not writable
        error: unable to write value 1 (g/k) to PATH, file is not writable
        error: unable to remove value g/k from PATH
        error: unable to remove value g/absent from PATH
        %2
        %1 )"_s;
    QTest::newRow("read-only") << QFile::Permissions(
            0x4444) << refused.arg(u"available"_s, u"keys: g/k\ng/k: QVariant(QString, \"1\")"_s);
    QTest::newRow("unreadable") << QFile::Permissions()
                                << refused.arg(u"unavailable"_s, u"keys:\ng/k: missing"_s);
    QTest::newRow("a directory") << QFile::Permissions(0x7755)
                                 << refused.arg(u"unavailable"_s, u"keys:\ng/k: missing"_s);
}

void tst_QtSettingsIniStorage::aFileOutOfReachRefusesChanges()
{
    QFETCH(const QFile::Permissions, permissions);
    QFETCH(QString, journal);
    Scene scene;
    const QByteArray content = "; kept\n[g]\nk=1\n";
    const bool isFile = qstrcmp(QTest::currentDataTag(), "a directory") != 0;
    QVERIFY(isFile ? writeFile(scene.path, content) : QDir().mkdir(scene.path));
    QVERIFY(QFile::setPermissions(scene.path, permissions));
    scene.files.letOthersIn();
    {
        const Unprivileged unprivileged;
        if (isFile
            && (!QFile::exists(scene.path) || QFile(scene.path).open(QIODevice::ReadWrite)
                || QFile(scene.path).open(QIODevice::ReadOnly) != bool(permissions)))
            SKIP_TEST("no user here for whom the file is out of reach");
        scene.open(scene.path);
        for (const Step &step : {available(), set(u"k"_s, 2), set(u"k"_s, u"1"_s), remove(u"k"_s),
                                 remove(u"absent"_s), keys(), read(u"k"_s), available()})
            step(scene);
        scene.storage.reset();
    }
    COMPARE_JOURNAL(scene.journal, journal.replace("PATH"_L1, scene.path));
    QVERIFY(QFile::setPermissions(scene.path, QFile::Permissions(0x7755)));
    QCOMPARE(readFile(scene.path), isFile ? content : QByteArray());
    QVERIFY(isFile || QDir(scene.path).isEmpty());
    QCOMPARE(scene.files.names(), QStringList(u"x.conf"_s));
}

void tst_QtSettingsIniStorage::theFirstWriteMakesTheFileAndItsDirectories()
{
    const Files files;
    const QString path = files.path(u"a/b/custom.conf"_s);
    Scene layer(path);
    QCOMPARE(files.names(), QStringList());
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage.reset();
    QCOMPARE(readFile(path), QByteArray("[g]\nk=1\n"));
    QCOMPARE(QDir(files.path(u"a/b"_s)).entryList(QDir::Files | QDir::Hidden),
             QStringList(u"custom.conf"_s)); // no lock, no temporary file
}

void tst_QtSettingsIniStorage::theTargetOfASymbolicLinkIsOverwritten()
{
    const Files files;
    const QString target = files.path(u"target"_s);
    QVERIFY(writeFile(target, "[g]\nk=0\nl=2\n"));
    const QString path = files.path(u"x.conf"_s);
    QVERIFY(QFile::link(target, path));
    Scene layer(path);
    layer.storage->setValue(u"g"_s, u"k"_s, 1);
    layer.storage.reset();
    QCOMPARE(readFile(target), QByteArray("[g]\nk=1\nl=2\n"));
    QCOMPARE(QFile::symLinkTarget(path), target);
}

void tst_QtSettingsIniStorage::storagesOnOneFileShareItsContent()
{
    const Files files;
    const QString path = files.path(u"x.conf"_s);
    Scene one(path);
    Scene other(path);
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

void tst_QtSettingsIniStorage::severalThreadsMayWrite_data()
{
    QTest::addColumn<bool>("together");
    QTest::newRow("into one storage") << true;
    QTest::newRow("into one file") << false;
}

void tst_QtSettingsIniStorage::severalThreadsMayWrite()
{
    QFETCH(const bool, together);
    const Watchdog watchdog;
    QStringList expected;
    KeyList expectedKeys;
    for (int thread = 0; thread < 4; ++thread) {
        for (int i = 10; i < 50; ++i) {
            expected.append(u"handler: CustomConfPersistent %1/%2 = int(%2)"_s.arg(thread).arg(i));
            expectedKeys.append({QString::number(thread), QString::number(i)});
        }
    }
    Scene scene;
    QVERIFY(writeFile(scene.path, ""));
    scene.open(scene.path);
    runTogether(4, [&scene, together](int thread) {
        std::optional<QtSettingsIniStorage> own;
        if (!together)
            own.emplace(CustomConfPersistent, &scene.handler, nullptr, scene.path);
        for (int i = 10; i < 50; ++i) {
            AbstractStorage &storage = own ? *own : *scene.storage;
            storage.setValue(QString::number(thread), QString::number(i), i);
        }
    });
    QStringList notified = scene.journal.take();
    notified.sort();
    QCOMPARE(notified, expected);
    QCOMPARE(scene.storage->keys(), expectedKeys);
    scene.storage.reset();
    QCOMPARE(Scene(freshCopy(scene.path)).storage->keys(), expectedKeys);
}

QTEST_GUILESS_MAIN(tst_QtSettingsIniStorage)
#include "tst_qtsettingsinistorage.moc"

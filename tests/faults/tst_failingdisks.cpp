// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The file of a layer can no longer be written, or no longer exists. These tests record how
// QSettings behaves then, so that a change in Qt is noticed.

#include "childprocess.h"
#include "journalrows.h"
#include "skip.h"
#include "tinydisk.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <cerrno>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr auto self = CustomConfPersistent;
constexpr int pages = 16; // of a disk
constexpr int fileLimit = 20; // files on a disk with a limit

// While it lives, the files of hosts are on the disk: QTemporaryDir reads the variable each time.
class WorkOn
{
public:
    explicit WorkOn(const TinyDisk &disk) { qputenv("TMPDIR", QFile::encodeName(disk.path())); }
    ~WorkOn() { qputenv("TMPDIR", m_before); }

private:
    Q_DISABLE_COPY_MOVE(WorkOn)

    const QByteArray m_before = qgetenv("TMPDIR");
};

// Whether QSaveFile, with which QSettings writes, sees that size bytes do not fit.
bool noticesFullDisk(const TinyDisk &disk, qsizetype size)
{
    const QString path = disk.path() + u"/probe"_s;
    QSaveFile file(path);
    const bool isSaved = file.open(QFile::WriteOnly) && file.write(QByteArray(size, 'x')) == size
            && file.commit();
    return !isSaved || !QFile::remove(path);
}

TinyDisk *rowDisk = nullptr; // of the current row

// Steps of a host whose file is custom.conf.

const Step old = init(self, {{u"k"_s, u"old"_s}});
const Step change = set(self, u"k"_s, u"new"_s);
const Step justBefore = set(self, u"just before"_s, u"yes"_s);

// QSettings writes the file here.
const Step eventLoop = [](Scene &) { QCoreApplication::processEvents(); };

const Step fillDisk = [](Scene &) { QVERIFY(rowDisk->fill(0)); };
const Step emptyDisk = [](Scene &) { QVERIFY(rowDisk->empty()); };
const Step noMoreFiles = [](Scene &) {
    int i = 0;
    while (i < fileLimit && writeFile(rowDisk->path() + u"/empty %1"_s.arg(i), {}))
        ++i;
    QVERIFY(i < fileLimit);
};
Step readOnlyDisk(bool on)
{
    return [on](Scene &) { QVERIFY(rowDisk->setReadOnly(on)); };
}

} // namespace

#define SKIP_WITHOUT(disk) \
    do { \
        if (!(disk).isMounted()) { \
            const QString reason = u"cannot mount a file system here: "_s + (disk).error(); \
            SKIP_TEST(qPrintable(reason)); \
        } \
    } while (false)

class tst_FailingDisks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDiskThatIsNotMountedSaysSoEachTime();
    void aDiskThatIsNoLongerMountedIsNotFilled();
    void noMoreIsFilledThanTheDiskHas();
    void aFullDiskKeepsTheOldFile_data();
    void aFullDiskKeepsTheOldFile();
    void disksThatFail_data();
    void disksThatFail();
    void pathsThatChange_data();
    void pathsThatChange() { runRow(); }
    void aFifoBlocksWhoCreatesTheLayer();
};

// The first three protect the machine from this program: without the checks that they test, it
// could fill the machine's disk.

void tst_FailingDisks::aDiskThatIsNotMountedSaysSoEachTime()
{
    for (int round = 0; round < 3; ++round) {
        errno = 0; // clears that of an earlier failure
        TinyDisk disk(-1); // an impossible size

        QVERIFY(!disk.isMounted());
        QVERIFY(!disk.error().isEmpty());
        QVERIFY(!disk.fill(0));
        QVERIFY(QDir(disk.path()).isEmpty());
    }
}

void tst_FailingDisks::aDiskThatIsNoLongerMountedIsNotFilled()
{
    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    QVERIFY(disk.fill(0));
    QCOMPARE(umount2(qPrintable(disk.path()), MNT_DETACH), 0);

    QVERIFY(!disk.fill(0));
    QVERIFY(QDir(disk.path()).isEmpty());
}

void tst_FailingDisks::noMoreIsFilledThanTheDiskHas()
{
    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    const QByteArray larger = "size=" + QByteArray::number(64 * TinyDisk::pageSize());
    QCOMPARE(mount("tmpfs", qPrintable(disk.path()), "tmpfs", MS_REMOUNT, larger.constData()), 0);

    QVERIFY(!disk.fill(0));
    QVERIFY(QDir(disk.path()).isEmpty());
}

void tst_FailingDisks::aFullDiskKeepsTheOldFile_data()
{
    QTest::addColumn<int>("freePages");

    QTest::newRow("nothing is free") << 0;
    QTest::newRow("room for the lock file") << 1;
    QTest::newRow("room for the lock file and a third") << 2;
}

void tst_FailingDisks::aFullDiskKeepsTheOldFile()
{
    QFETCH(const int, freePages);

    TinyDisk tinyDisk(pages);
    SKIP_WITHOUT(tinyDisk);
    const WorkOn here(tinyDisk);
    TestHost host;
    const QString path = host.filePath(self);
    const qsizetype size = 3 * TinyDisk::pageSize() - 10;
    const QByteArray before = "[g]\nk=old\nlong=" + QByteArray(size - 16, 'x') + '\n';
    QVERIFY(writeFile(path, before));
    host.manager.initStorage(self);
    host.journal.take();
    QVERIFY(tinyDisk.fill(2));
    const bool isNoticed = noticesFullDisk(tinyDisk, size);
    QVERIFY(tinyDisk.empty());
    QVERIFY(tinyDisk.fill(freePages));

    host.manager.setValue(u"g"_s, u"k"_s, u"new"_s, self);
    QCoreApplication::processEvents();

    COMPARE_JOURNAL(host.journal, uR"(
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new) )",
                    self);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(u"new"_s));
    if (freePages > 0 && !isNoticed)
        QEXPECT_FAIL("", "QSaveFile of this Qt puts the part that was written in place", Abort);
    QCOMPARE(readFile(path), before);
    QVERIFY(!host.manager.storageAvailable(self));
    QCOMPARE(QFileInfo(path).dir().entryList(QDir::Files),
             QStringList(u"custom.conf"_s)); // nothing else is left
}

void tst_FailingDisks::disksThatFail_data()
{
    Rows row;
    row("full, written with the next change", self, {old},
        {fillDisk, change, eventLoop, emptyDisk, eventLoop, files(),
         set(self, u"later"_s, u"yes"_s), eventLoop, files(), available()},
        uR"(
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new)
        file first/persistent/custom.conf: [g] k=old
        log: Top value changed SELF: g/later = 'yes'
        handler: SELF g/later = QString(yes)
        file first/persistent/custom.conf: [g] k=new later=yes
        available: none )"); // it stays unavailable
    row("full, written when the layer is replaced", self, {old},
        {fillDisk, change, eventLoop, available(), emptyDisk, init(self), files(), available()},
        uR"(
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new)
        available: none
        info: Storage: SELF reinitialized
        file first/persistent/custom.conf: [g] k=new
        available: SELF )");
    // The missing file could be read as an empty one: the layer stays available.
    row("full, without a file", self, {init(self)},
        {noMoreFiles, change, eventLoop, read(u"k"_s), available(), files()}, uR"(
        error: unable to write value new (g/k) to FILE, file is not writable
        read g/k: missing
        available: SELF
        no file )");
    row("read-only for a while", self, {old, justBefore},
        {readOnlyDisk(true), change, remove(self, u"k"_s), available(), eventLoop, files(),
         read(u"k"_s), read(u"just before"_s), available(), readOnlyDisk(false), change, eventLoop,
         files()},
        uR"(
        error: unable to write value new (g/k) to FILE, file is not writable
        error: unable to remove value g/k from FILE
        available: SELF
        file first/persistent/custom.conf: [g] k=old
        read g/k: QString(old)
        read g/just before: QString(yes)
        available: none
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new)
        file first/persistent/custom.conf: [g] just%20before=yes k=new )");
}

void tst_FailingDisks::disksThatFail()
{
    TinyDisk tinyDisk(pages, fileLimit);
    SKIP_WITHOUT(tinyDisk);
    const WorkOn here(tinyDisk);
    rowDisk = &tinyDisk;
    runRow();
    rowDisk = nullptr;
}

void tst_FailingDisks::pathsThatChange_data()
{
    const auto pathOf = [](const Scene &scene) { return scene.host.filePath(self); };
    const auto folderOf = [pathOf](const Scene &scene) { return QFileInfo(pathOf(scene)).path(); };
    const Step removeFile = [=](Scene &scene) { QVERIFY(QFile::remove(pathOf(scene))); };
    const Step removeFolder
            = [=](Scene &scene) { QVERIFY(QDir(folderOf(scene)).removeRecursively()); };
    const auto link = [=](const QString &target) {
        return [=](Scene &scene) {
            QVERIFY(QFile::link(scene.host.folder.filePath(target), pathOf(scene)));
        };
    };

    Rows row;
    // QSettings reads a file again before it writes it: the contents of the old one are gone, and
    // no handler is called.
    row("the folder vanishes", self, {old},
        {removeFolder, eventLoop, read(u"k"_s), available(), set(self, u"other"_s, u"value"_s),
         read(u"k"_s), eventLoop, files(), read(u"k"_s), available()},
        uR"(
        read g/k: QString(old)
        available: SELF
        log: Top value changed SELF: g/other = 'value'
        handler: SELF g/other = QString(value)
        read g/k: QString(old)
        file first/persistent/custom.conf: [g] other=value
        read g/k: missing
        available: SELF )");
    row("the folder becomes a file", self, {old, justBefore},
        {removeFolder, [=](Scene &scene) { QVERIFY(writeFile(folderOf(scene), "a file")); }, change,
         remove(self, u"k"_s), eventLoop, read(u"k"_s), read(u"just before"_s), available(),
         files()},
        uR"(
        error: unable to write value new (g/k) to FILE, file is not writable
        error: unable to remove value g/k from FILE
        read g/k: QString(old)
        read g/just before: QString(yes)
        available: none
        file first/persistent: a file )");
    // A failed write-back is not logged.
    row("the file becomes a folder", self, {old, justBefore},
        {removeFile,
         [=](Scene &scene) {
             QVERIFY(QDir().mkdir(pathOf(scene)));
             QVERIFY(writeFile(pathOf(scene) + u"/inside"_s, "a file"));
         },
         change, remove(self, u"k"_s), available(), eventLoop, read(u"k"_s), read(u"just before"_s),
         available(), files()},
        uR"(
        error: unable to write value new (g/k) to FILE, file is not writable
        error: unable to remove value g/k from FILE
        available: SELF
        read g/k: QString(old)
        read g/just before: QString(yes)
        available: none
        file first/persistent/custom.conf/inside: a file )");
    row("the file becomes a dangling link", self, {old},
        {removeFile, link(u"target.conf"_s), change, eventLoop, files(), available(),
         [=](Scene &scene) { QVERIFY(QFileInfo(pathOf(scene)).isSymLink()); }},
        uR"(
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new)
        file first/persistent/custom.conf: [g] k=new
        file target.conf: [g] k=new
        available: SELF )");
    // Only the last line shows that the change is not written.
    row("the file becomes a link into a missing folder", self, {old},
        {removeFile, link(u"missing/target.conf"_s), change, available(), eventLoop, read(u"k"_s),
         files(), available()},
        uR"(
        log: Top value changed SELF: g/k = 'new'
        handler: SELF g/k = QString(new)
        available: SELF
        read g/k: QString(new)
        no file
        available: none )");
}

void tst_FailingDisks::aFifoBlocksWhoCreatesTheLayer()
{
    const QTemporaryDir folder;
    const auto create = [&folder] {
        RecordingLogger logger;
        ConfigurationManager manager(&logger);
        manager.setPersistentStoragePath(folder.path() + u'/');
        manager.initStorage(self);
        return QByteArray("created");
    };
    QCOMPARE(inChild(create).report, "created");
    QCOMPARE(mkfifo(qPrintable(folder.filePath(u"custom.conf"_s)), 0600), 0);

    const ChildResult result = inChild(create, 1);

    QCOMPARE(result.report, "");
    QCOMPARE(result.end, "signal 14");
}

QTEST_GUILESS_MAIN(tst_FailingDisks)
#include "tst_failingdisks.moc"

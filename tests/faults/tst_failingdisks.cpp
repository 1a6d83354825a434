// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The file of a layer cannot be written any more, or is no longer there. What QSettings makes of that
// is written down here, so that a change of Qt does not go unnoticed.

#include "childprocess.h"
#include "files.h"
#include "layers.h"
#include "recording.h"
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

constexpr auto layer = CustomConfPersistent;

// A host whose custom.conf holds g/k = old, and more where it has to be size bytes long.
class FileHost
{
public:
    explicit FileHost(const QString &folderPath, qsizetype size = 0)
        : folder(folderPath), path(folderPath + u"/custom.conf"_s), manager(&m_logger)
    {
        QByteArray contents = "[g]\nk=old\n";
        if (contents.size() < size)
            contents += "long=" + QByteArray(size - contents.size() - 6, 'x') + '\n';
        QDir().mkpath(folder);
        if (!writeFile(path, contents))
            qFatal("cannot write %s", qPrintable(path));
        manager.setPersistentStoragePath(folderPath + u'/');
        manager.appendConfigurationHandler(&m_handler);
        manager.initStorage(layer);
        journal.take();
    }

    void write(const QString &key, const QString &value)
    {
        manager.setValue(u"g"_s, key, value, layer);
    }

    void remove(const QString &key) { manager.removeValue(u"g"_s, key, layer); }

    QString read(const QString &key) const { return manager.value(u"g"_s, key).toString(); }

    // QSettings writes the file here.
    static void runEventLoop() { QCoreApplication::processEvents(); }

    QByteArray contents() const { return readFile(path); }

    QStringList files() const { return QDir(folder).entryList(QDir::Files); }

    const QString folder;
    const QString path;
    Journal journal;

private:
    RecordingLogger m_logger{&journal};
    RecordingHandler m_handler{&journal};

public:
    ConfigurationManager manager;
};

// What is logged and notified of a write that was accepted.
const QStringList accepted{u"debug: Top value changed CustomConfPersistent: g/k = 'new'"_s,
                           u"handler: CustomConfPersistent g/k = QString(new)"_s};

// What is logged where a write of g/k, and where then its removal is refused.
QStringList refused(const QString &path)
{
    return {u"error: unable to write value new (g/k) to %1, file is not writable"_s.arg(path),
            u"error: unable to remove value g/k from %1"_s.arg(path)};
}

// Whether QSaveFile, with which QSettings writes, sees that size bytes do not fit.
bool noticesFullDisk(const TinyDisk &disk, qsizetype size)
{
    const QString path = disk.path() + u"/probe"_s;
    QSaveFile file(path);
    const bool isSaved = file.open(QFile::WriteOnly) && file.write(QByteArray(size, 'x')) == size
            && file.commit();
    return !isSaved || !QFile::remove(path);
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
    void whatAFullDiskDidNotTakeIsWrittenWithTheNextChange();
    void whatAFullDiskDidNotTakeIsWrittenWhenTheLayerIsReplaced();
    void aFullDiskRefusesTheFirstWrite();
    void aDiskThatTurnsReadOnlyRefusesWrites();
    void aFolderThatVanishesIsMadeAgainForTheNextWrite();
    void aFolderThatBecomesAFileRefusesWrites();
    void aFileThatBecomesAFolderRefusesWrites();
    void aFifoBlocksWhoCreatesTheLayer();
    void aDanglingLinkIsFollowed();
    void aLinkIntoAMissingFolderTakesWritesThatNeverArrive();
};

// The first three protect the machine from this program: what they refuse would fill its own disk.

void tst_FailingDisks::aDiskThatIsNotMountedSaysSoEachTime()
{
    for (int round = 0; round < 3; ++round) {
        errno = 0; // what is left of an earlier failure
        TinyDisk disk(-1); // of no possible size

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

    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    const qsizetype size = 3 * TinyDisk::pageSize() - 10;
    FileHost host(disk.path(), size);
    const QByteArray before = host.contents();
    QVERIFY(disk.fill(2));
    const bool isNoticed = noticesFullDisk(disk, size);
    QVERIFY(disk.empty());
    QVERIFY(disk.fill(freePages));

    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();

    QCOMPARE(host.journal.take(), accepted);
    QCOMPARE(host.read(u"k"_s), u"new"_s);
    if (freePages > 0 && !isNoticed)
        QEXPECT_FAIL("", "QSaveFile of this Qt puts the part that was written in place", Abort);
    QCOMPARE(host.contents(), before);
    QVERIFY(!host.manager.storageAvailable(layer));
    QCOMPARE(host.files(), QStringList({u"custom.conf"_s, u"filler"_s})); // no litter
}

void tst_FailingDisks::whatAFullDiskDidNotTakeIsWrittenWithTheNextChange()
{
    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    FileHost host(disk.path());
    const QByteArray before = host.contents();
    QVERIFY(disk.fill(0));
    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();
    QVERIFY(disk.empty());

    FileHost::runEventLoop();
    QCOMPARE(host.contents(), before);
    host.write(u"later"_s, u"yes"_s);
    FileHost::runEventLoop();

    QCOMPARE(host.contents(), "[g]\nk=new\nlater=yes\n");
    QVERIFY(!host.manager.storageAvailable(layer)); // once is for good
}

void tst_FailingDisks::whatAFullDiskDidNotTakeIsWrittenWhenTheLayerIsReplaced()
{
    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    FileHost host(disk.path());
    QVERIFY(disk.fill(0));
    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();
    QVERIFY(!host.manager.storageAvailable(layer));
    QVERIFY(disk.empty());
    host.journal.take();

    host.manager.initStorage(layer);

    QCOMPARE(host.contents(), "[g]\nk=new\n");
    QVERIFY(host.manager.storageAvailable(layer));
    QCOMPARE(host.journal.take(),
             QStringList(u"info: Storage: CustomConfPersistent reinitialized"_s));
}

void tst_FailingDisks::aFullDiskRefusesTheFirstWrite()
{
    TinyDisk disk(16, 1);
    SKIP_WITHOUT(disk);
    FileHost host(disk.path());
    host.manager.clearStorage(layer);
    QVERIFY(QFile::remove(host.path));
    QVERIFY(disk.fill(0)); // takes the only file that the disk has room for
    host.manager.initStorage(layer);
    host.journal.take();

    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();

    QCOMPARE(host.journal.take(), refused(host.path).mid(0, 1));
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    QVERIFY(host.manager.storageAvailable(layer)); // the missing file could be read as an empty one
    QCOMPARE(host.files(), QStringList(u"filler"_s));
}

void tst_FailingDisks::aDiskThatTurnsReadOnlyRefusesWrites()
{
    TinyDisk disk(16);
    SKIP_WITHOUT(disk);
    FileHost host(disk.path());
    const QByteArray before = host.contents();
    host.write(u"just before"_s, u"yes"_s);
    host.journal.take();
    QVERIFY(disk.setReadOnly(true));

    host.write(u"k"_s, u"new"_s);
    host.remove(u"k"_s);
    QCOMPARE(host.journal.take(), refused(host.path));
    QVERIFY(host.manager.storageAvailable(layer));
    FileHost::runEventLoop();

    QCOMPARE(host.contents(), before);
    QCOMPARE(host.read(u"k"_s), u"old"_s);
    QCOMPARE(host.read(u"just before"_s), u"yes"_s);
    QVERIFY(!host.manager.storageAvailable(layer));

    QVERIFY(disk.setReadOnly(false));
    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();
    QCOMPARE(host.journal.take(), accepted);
    QCOMPARE(host.contents(), "[g]\njust%20before=yes\nk=new\n");
}

void tst_FailingDisks::aFolderThatVanishesIsMadeAgainForTheNextWrite()
{
    const QTemporaryDir folder;
    FileHost host(folder.filePath(u"settings"_s));
    QVERIFY(QDir(host.folder).removeRecursively());

    FileHost::runEventLoop();
    QCOMPARE(host.read(u"k"_s), u"old"_s);
    QVERIFY(host.manager.storageAvailable(layer));
    host.write(u"other"_s, u"value"_s);
    QCOMPARE(host.read(u"k"_s), u"old"_s);
    host.journal.take();
    FileHost::runEventLoop();

    // QSettings reads a file again before it writes it: what was in the old one is gone.
    QCOMPARE(host.contents(), "[g]\nother=value\n");
    QVERIFY(!host.manager.contains(u"g"_s, u"k"_s));
    QCOMPARE(host.journal.take(), QStringList()); // no handler is called
    QVERIFY(host.manager.storageAvailable(layer));
}

void tst_FailingDisks::aFolderThatBecomesAFileRefusesWrites()
{
    const QTemporaryDir folder;
    FileHost host(folder.filePath(u"settings"_s));
    host.write(u"just before"_s, u"yes"_s);
    host.journal.take();
    QVERIFY(QDir(host.folder).removeRecursively());
    QVERIFY(QFile(host.folder).open(QFile::WriteOnly));

    host.write(u"k"_s, u"new"_s);
    host.remove(u"k"_s);
    QCOMPARE(host.journal.take(), refused(host.path));
    FileHost::runEventLoop();

    QCOMPARE(host.read(u"k"_s), u"old"_s);
    QCOMPARE(host.read(u"just before"_s), u"yes"_s);
    QVERIFY(!host.manager.storageAvailable(layer));
    QVERIFY(QFileInfo(host.folder).isFile());
}

void tst_FailingDisks::aFileThatBecomesAFolderRefusesWrites()
{
    const QTemporaryDir folder;
    FileHost host(folder.filePath(u"settings"_s));
    host.write(u"just before"_s, u"yes"_s);
    host.journal.take();
    QVERIFY(QFile::remove(host.path));
    QVERIFY(QDir().mkdir(host.path));

    host.write(u"k"_s, u"new"_s);
    host.remove(u"k"_s);
    QCOMPARE(host.journal.take(), refused(host.path));
    QVERIFY(host.manager.storageAvailable(layer));
    FileHost::runEventLoop();
    QCOMPARE(host.journal.take(), QStringList()); // a failed write-back is not logged

    QCOMPARE(host.read(u"k"_s), u"old"_s);
    QCOMPARE(host.read(u"just before"_s), u"yes"_s);
    QVERIFY(!host.manager.storageAvailable(layer));
    QCOMPARE(host.files(), QStringList());
    QVERIFY(QFileInfo(host.path).isDir());
}

void tst_FailingDisks::aFifoBlocksWhoCreatesTheLayer()
{
    const QTemporaryDir folder;
    const auto create = [&folder] {
        RecordingLogger logger;
        ConfigurationManager manager(&logger);
        manager.setPersistentStoragePath(folder.path() + u'/');
        manager.initStorage(layer);
        return QByteArray("created");
    };
    QCOMPARE(inChild(create).report, "created");
    QCOMPARE(mkfifo(qPrintable(folder.filePath(u"custom.conf"_s)), 0600), 0);

    const ChildResult result = inChild(create, 1);

    QCOMPARE(result.report, "");
    QCOMPARE(result.end, "signal 14");
}

void tst_FailingDisks::aDanglingLinkIsFollowed()
{
    const QTemporaryDir folder;
    FileHost host(folder.filePath(u"settings"_s));
    const QString target = folder.filePath(u"target.conf"_s);
    QVERIFY(QFile::remove(host.path));
    QVERIFY(QFile::link(target, host.path));

    host.write(u"k"_s, u"new"_s);
    FileHost::runEventLoop();

    QCOMPARE(host.journal.take(), accepted);
    QVERIFY(QFileInfo(target).isFile());
    QCOMPARE(QFileInfo(host.path).symLinkTarget(), target);
    QCOMPARE(host.contents(), "[g]\nk=new\n");
    QVERIFY(host.manager.storageAvailable(layer));
}

void tst_FailingDisks::aLinkIntoAMissingFolderTakesWritesThatNeverArrive()
{
    const QTemporaryDir folder;
    FileHost host(folder.filePath(u"settings"_s));
    QVERIFY(QFile::remove(host.path));
    QVERIFY(QFile::link(folder.filePath(u"missing/target.conf"_s), host.path));

    host.write(u"k"_s, u"new"_s);
    QVERIFY(host.manager.storageAvailable(layer));
    FileHost::runEventLoop();

    QCOMPARE(host.journal.take(), accepted);
    QCOMPARE(host.read(u"k"_s), u"new"_s);
    QVERIFY(!QFileInfo::exists(folder.filePath(u"missing"_s)));
    QVERIFY(!host.manager.storageAvailable(layer)); // the only sign of it
}

QTEST_GUILESS_MAIN(tst_FailingDisks)
#include "tst_failingdisks.moc"

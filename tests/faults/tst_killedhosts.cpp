// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A host that writes settings all the time is killed at random moments.

#include "faultrun.h"
#include "program.h"
#include "writing.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <chrono>
#include <thread>

using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

// The entries of the file after the writer's first `number` writes.
QMap<QByteArray, QByteArray> entriesAfter(int number)
{
    QMap<QByteArray, QByteArray> entries;
    for (int i = qMax(1, number - writing::keyCount + 1); i <= number; ++i)
        entries.insert(writing::keyOf(i).toLatin1(), writing::valueOf(i).toLatin1());
    return entries;
}

// The number of the last write in the file; 0 without a file, -1 if the file is damaged.
int lastNumber(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return 0;
    if (!file.open(QFile::ReadOnly))
        return -1;
    QByteArrayList lines = file.readAll().split('\n');
    const bool isFramed
            = lines.takeFirst() == "[numbers]" && !lines.isEmpty() && lines.takeLast().isEmpty();
    QMap<QByteArray, QByteArray> entries;
    int last = 0;
    for (const QByteArray &line : std::as_const(lines)) {
        const qsizetype sign = line.indexOf('=');
        entries.insert(line.left(sign), line.mid(sign + 1));
        last = qMax(last, QByteArray(line.mid(sign + 1)).replace('x', "").toInt());
    }
    return isFramed && entries.size() == lines.size() && entries == entriesAfter(last) ? last : -1;
}

} // namespace

class tst_KilledHosts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFileHoldsAllThatWasWrittenAndNothingElse();
};

void tst_KilledHosts::theFileHoldsAllThatWasWrittenAndNothingElse()
{
    QRandomGenerator random(seed());
    const QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString path = folder.filePath(u"custom.conf"_s);
    const QString lockPath = path + u".lock"_s;

    int emptyLocks = 0;
    int last = 0;
    const int roundCount = rounds(10, 300);
    for (int round = 0; round < roundCount; ++round) {
        const int writes = random.bounded(5); // 0: killed while it starts, or reads the file
        const int microseconds = random.bounded(10'000);

        QProcess host;
        startProgram(&host, QStringLiteral(WRITINGHOST), {folder.path() + u'/', u"endlessly"_s});
        QVERIFY2(host.waitForStarted(patience), qPrintable(host.errorString()));
        if (writes > 0) {
            QVERIFY(host.waitForReadyRead(patience));
            QCOMPARE(host.readLine().trimmed(), QByteArray::number(last)); // the host read the file
            QVERIFY(QTest::qWaitFor([&] { return lastNumber(path) >= last + writes; }, patience));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
        const int onDisk = lastNumber(path);
        host.kill();
        QVERIFY(host.waitForFinished(patience));
        QCOMPARE(host.exitStatus(), QProcess::CrashExit);

        last = lastNumber(path);
        QVERIFY2(onDisk >= 0 && last >= onDisk,
                 qPrintable(u"round %1: %2 before the kill, %3 after it"_s.arg(
                         QString::number(round), QString::number(onDisk), QString::number(last))));
        // An empty lock file does not name its owner, so QLockFile would wait for 30 s.
        const QFileInfo lock(lockPath);
        if (lock.exists() && lock.size() == 0) {
            ++emptyLocks;
            QVERIFY(QFile::remove(lockPath));
        }
    }
    const auto litter
            = QDir(folder.path()).entryList({u"custom.conf.??????"_s}, QDir::Files).size();
    qInfo("%d hosts killed, %d writes; left behind: %d empty lock files, %lld temporary files",
          roundCount, last, emptyLocks, static_cast<long long>(litter));
}

QTEST_GUILESS_MAIN(tst_KilledHosts)
#include "tst_killedhosts.moc"

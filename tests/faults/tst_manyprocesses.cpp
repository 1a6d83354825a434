// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Several hosts write into one file at the same time.

#include "faultrun.h"
#include "program.h"
#include "writing.h"

#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <array>

using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_ManyProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noKeyOfAnyIsLost();
};

void tst_ManyProcesses::noKeyOfAnyIsLost()
{
    const int keys = rounds(25, 500);
    const QTemporaryDir folder;
    QVERIFY(folder.isValid());

    std::array<QProcess, 4> hosts;
    const auto nameOf = [&](const QProcess &host) { return u"host%1"_s.arg(&host - hosts.data()); };
    for (QProcess &host : hosts) {
        startProgram(&host, QStringLiteral(WRITINGHOST),
                     {folder.path() + u'/', nameOf(host), QString::number(keys)});
    }
    // QSettings reads a new layer's file without its lock. If another process writes at that moment,
    // QSettings may take the old contents for the new ones, and its first write undoes the other's.
    for (QProcess &host : hosts)
        QVERIFY(host.waitForReadyRead(patience));
    for (QProcess &host : hosts)
        host.closeWriteChannel();
    for (QProcess &host : hosts) {
        QVERIFY(host.waitForFinished(5 * patience));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
    }

    const QSettings file(folder.filePath(u"custom.conf"_s), QSettings::IniFormat);
    QCOMPARE(file.status(), QSettings::NoError);
    QCOMPARE(file.allKeys().size(), qsizetype(hosts.size()) * keys);
    for (const QProcess &host : hosts) {
        for (int number = 1; number <= keys; ++number) {
            QCOMPARE(file.value(nameOf(host) + u'/' + QString::number(number)).toString(),
                     writing::valueOf(number));
        }
    }
}

QTEST_GUILESS_MAIN(tst_ManyProcesses)
#include "tst_manyprocesses.moc"

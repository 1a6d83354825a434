// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// What a flush does to the disk, call by call, and what a power cut can leave of it.

#include "faultrun.h"
#include "program.h"
#include "recordedcalls.h"
#include "testhost.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtTest/QTest>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <thread>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(tamsel::tests::UnnamedFiles)

namespace {

constexpr auto layer = CustomConfPersistent;
constexpr char fileName[] = "custom.conf";
constexpr char oldContents[] = "[g]\na=1\nb=before\n";
constexpr char newContents[] = "[g]\na=2\nb=behind it\nc=3\n";

// A host with the given files, in a folder with a space in its name.
class Host : public TestHost
{
public:
    explicit Host(const FolderState &state)
    {
        moveTo(u"power cut"_s);
        for (auto file = state.cbegin(); file != state.cend(); ++file)
            writeFile(path() + u'/' + QString::fromUtf8(file.key()), file.value());
    }

    void start() { manager.initStorage(layer); }

    void change()
    {
        manager.setValue(u"g"_s, u"a"_s, 2, layer);
        manager.setValue(u"g"_s, u"b"_s, u"behind it"_s, layer);
        manager.setValue(u"g"_s, u"c"_s, 3, layer);
    }

    QString path() const { return QFileInfo(filePath(layer)).path(); }
    FolderState state() const { return stateOf(path()); }

    // The file as the manager reads it.
    QByteArray contents() const
    {
        QByteArray result;
        for (const QString &key : {u"a"_s, u"b"_s, u"c"_s}) {
            if (manager.contains(u"g"_s, key))
                result += key.toUtf8() + '=' + manager.value(u"g"_s, key).toByteArray() + '\n';
        }
        return result.isEmpty() ? result : "[g]\n" + result;
    }
};

Calls callsOfAFlush(const FolderState &before, UnnamedFiles unnamed)
{
    Host host(before);
    host.start();
    host.change();
    Calls calls = recordCalls(host.path(), unnamed, [] { QCoreApplication::sendPostedEvents(); });
    // Checks that all calls that change the folder were recorded.
    if (host.state() != stateAfter(before, calls)
        || host.state() != FolderState{{fileName, newContents}})
        return {};
    return calls;
}

// The commands to run when the box starts, from the document that recommends them.
QString recipe()
{
    const QString document = QStringLiteral(TREE) + "/docs/operating-a-box.md"_L1;
    const QString text = QString::fromUtf8(readFile(document));
    const QString opening = u"<!-- checked by tst_powercuts -->\n```sh\n"_s;
    const qsizetype start = text.indexOf(opening) + opening.size();
    return text.contains(opening) ? text.mid(start, text.indexOf("```"_L1, start) - start)
                                  : QString();
}

// Runs the recipe on the given folder instead of the one that it names.
ProgramResult sweep(const QString &folder)
{
    QString commands = recipe();
    commands.replace("/var/lib/host"_L1, u'"' + folder + u'"');
    ProgramSurroundings surroundings;
    surroundings.isOfThisMachine = true;
    return runProgram(u"/bin/sh"_s, {u"-euc"_s, commands}, surroundings);
}

} // namespace

class tst_PowerCuts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Must be first: under the thread sanitizer no thread can start after the others have run
    // programs.
    void everyReaderWaitsForABlockedFlush();
    void aFlushMakesTheseCalls_data();
    void aFlushMakesTheseCalls();
    void changesOfOneTurnAreOneFlushAndEqualValuesNone();
    void theFileIsTheOldOrTheNewOne_data();
    void theFileIsTheOldOrTheNewOne();
    void withoutSynchronisationItWouldNotBe();
    void theRecipeRemovesWhatQtLeavesAndNothingElse();
};

void tst_PowerCuts::everyReaderWaitsForABlockedFlush()
{
    // Qt treats an empty lock file as stale once it is 30 s old.
    const int age = rounds(29, 0); // seconds
    Host host({{fileName, oldContents}, {"custom.conf.lock", ""}});
    host.start();
    host.manager.initStorage(Runtime);
    host.manager.setValue(u"g"_s, u"r"_s, 1, Runtime);
    QFile lock(host.path() + u"/custom.conf.lock"_s);
    QVERIFY(lock.open(QFile::ReadWrite));
    QVERIFY(lock.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-age),
                             QFile::FileModificationTime));
    lock.close();
    host.change();

    QElapsedTimer timer;
    timer.start();
    qint64 fileRead = 0;
    qint64 memoryRead = 0;
    const auto read = [&](int delay, const QString &key, qint64 *end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        static_cast<void>(host.manager.value(u"g"_s, key));
        *end = timer.elapsed();
    };
    std::thread fileReader([&] { read(100, u"a"_s, &fileRead); });
    std::thread memoryReader([&] { read(200, u"r"_s, &memoryRead); });
    QCoreApplication::sendPostedEvents();
    const qint64 flush = timer.elapsed();
    fileReader.join();
    memoryReader.join();

    qInfo("a lock file %d s old: the event loop stood still for %lld ms, a reader of the file for "
          "%lld ms, a reader of Runtime for %lld ms",
          age, static_cast<long long>(flush), static_cast<long long>(fileRead - 100),
          static_cast<long long>(memoryRead - 200));
    QVERIFY(flush >= (30 - age) * 1000 - 1000);
    QVERIFY(flush >= 500);
    QVERIFY(fileRead >= flush - 100);
    QVERIFY(memoryRead >= flush - 100);
    const FolderState written{{fileName, newContents}};
    QCOMPARE(host.state(), written);
}

void tst_PowerCuts::aFlushMakesTheseCalls_data()
{
    QTest::addColumn<FolderState>("before");
    QTest::addColumn<UnnamedFiles>("unnamedFiles");
    QTest::addColumn<QList<QByteArray>>("expected");

    const QList<QByteArray> locking{"create custom.conf.lock", "write custom.conf.lock",
                                    "synchronise custom.conf.lock"};
    const QList<QByteArray> writing{"write custom.conf: 24", "synchronise custom.conf"};
    const QByteArray unnamed = "create without a name";
    const QByteArray rename = "rename custom.conf.XXXXXX to custom.conf";
    const QByteArray unlocking = "remove custom.conf.lock";
    const FolderState file{{fileName, oldContents}};

    QTest::newRow("of a file") << file << UnnamedFiles::Allowed
                               << QList<QByteArray>(locking + QList<QByteArray>{unnamed} + writing
                                                    + QList<QByteArray>{"link custom.conf.XXXXXX",
                                                                        rename, unlocking});
    QTest::newRow("of a file, where files have names")
            << file << UnnamedFiles::Refused
            << QList<QByteArray>(locking + QList<QByteArray>{"create custom.conf.XXXXXX"} + writing
                                 + QList<QByteArray>{rename, unlocking});
    QTest::newRow("the first") << FolderState() << UnnamedFiles::Allowed
                               << QList<QByteArray>(
                                          QList<QByteArray>{unnamed} // may one be made?
                                          + locking + QList<QByteArray>{unnamed} + writing
                                          + QList<QByteArray>{"link custom.conf", unlocking});
}

void tst_PowerCuts::aFlushMakesTheseCalls()
{
    QFETCH(const FolderState, before);
    QFETCH(const UnnamedFiles, unnamedFiles);
    QFETCH(const QList<QByteArray>, expected);
    QCOMPARE(describe(callsOfAFlush(before, unnamedFiles)), expected);
}

void tst_PowerCuts::changesOfOneTurnAreOneFlushAndEqualValuesNone()
{
    Host host({{fileName, oldContents}});
    host.start();
    const auto record = [&host](const QString &text) {
        return recordCalls(host.path(), UnnamedFiles::Allowed, [&host, &text] {
            for (int i = 0; i < 100; ++i)
                host.manager.setValue(u"g"_s, QString::number(i), text, layer);
            QCoreApplication::sendPostedEvents();
        });
    };
    const Calls changed = record(u"text"_s);
    QCOMPARE(std::count_if(changed.cbegin(), changed.cend(),
                           [](const Call &call) { return call.kind == Call::Sync; }),
             2);
    QCOMPARE(changed.size(), 9);
    const QByteArray contents = host.state().value(fileName);
    QCOMPARE(contents.count("=text\n"), 100);
    const auto bytes = std::accumulate(
            changed.cbegin(), changed.cend(), qsizetype(0), [](qsizetype sum, const Call &call) {
                return sum + (call.kind == Call::Write ? call.data.size() : 0);
            });
    QVERIFY2(bytes < contents.size() + 400, qPrintable(QString::number(bytes - contents.size())));
    QCOMPARE(record(u"text"_s).size(), 0);
}

void tst_PowerCuts::theFileIsTheOldOrTheNewOne_data()
{
    QTest::addColumn<FolderState>("before");
    QTest::addColumn<UnnamedFiles>("unnamedFiles");
    const FolderState file{{fileName, oldContents}};
    QTest::newRow("a file") << file << UnnamedFiles::Allowed;
    QTest::newRow("a file, where files have names") << file << UnnamedFiles::Refused;
    QTest::newRow("the first") << FolderState() << UnnamedFiles::Allowed;
}

void tst_PowerCuts::theFileIsTheOldOrTheNewOne()
{
    QFETCH(const FolderState, before);
    QFETCH(const UnnamedFiles, unnamedFiles);
    const Calls calls = callsOfAFlush(before, unnamedFiles);
    QVERIFY(!calls.isEmpty());
    const QList<FolderState> states = statesAfterPowerCut(before, calls);
    const int step = rounds(37, 1); // many states differ only in the length of the lock file

    int oldFiles = 0;
    int newFiles = 0;
    for (qsizetype i = 0; i < states.size(); ++i) {
        const FolderState &state = states.at(i);
        if (i % step != 0 && state.value(fileName) == before.value(fileName))
            continue;
        Host host(state);
        host.start();
        QVERIFY(host.manager.storageAvailable(layer));
        const QByteArray contents = host.contents();
        QVERIFY2(contents == before.value(fileName) || contents == newContents,
                 qPrintable(u"%1: %2"_s.arg(QString::number(i), QString::fromUtf8(contents))));
        ++(contents == newContents ? newFiles : oldFiles);

        host.manager.clearStorage(layer);
        QCOMPARE(sweep(host.path()).end, u"exit 0"_s);
        FolderState swept = host.state();
        swept.remove(fileName);
        QVERIFY(swept.isEmpty());
        host.start();
        host.change();
        host.manager.clearStorage(layer);
        const FolderState written{{fileName, newContents}};
        QCOMPARE(host.state(), written);
    }
    qInfo("%lld states, looked at %d with the old and %d with the new file",
          static_cast<long long>(states.size()), oldFiles, newFiles);
    QVERIFY(oldFiles > 0 && newFiles > 0);
}

void tst_PowerCuts::withoutSynchronisationItWouldNotBe()
{
    const FolderState before{{fileName, oldContents}};
    Calls calls = callsOfAFlush(before, UnnamedFiles::Allowed);
    calls.removeIf([](const Call &call) { return call.kind == Call::Sync; });
    QSet<QByteArray> contents;
    for (const FolderState &state : statesAfterPowerCut(before, calls))
        contents.insert(state.value(fileName));
    QVERIFY(contents.contains(oldContents));
    QVERIFY(contents.contains(newContents));
    QVERIFY(contents.contains("")); // among others
}

void tst_PowerCuts::theRecipeRemovesWhatQtLeavesAndNothingElse()
{
    QVERIFY(!recipe().isEmpty());
    FolderState kept;
    for (const char *name :
         {"custom.conf", "selvi.db", "custom.conf.bak", "custom.conf.1", "custom.conf.orig2",
          "custom.conf.old_one", "door.lock", "locked", "custom.config.lock", "a custom.conf.lock",
          "custom.conf.ABCDE", "custom.conf.ABCDEFG", "custom.conf.ABC123", "ravona.conf"})
        kept.insert(name, name);
    FolderState state = kept;
    for (const char *name :
         {"custom.conf.lock", "custom.conf.lock.rmlock", "custom.conf.lock.rmlock.rmlock",
          "custom.conf.ThpXRZ", "custom.conf.mwebxZ", "selvi.db.lock", "selvi.db.lock.rmlock",
          "selvi.db.AAAAAA", "selvi.db.zzzzzz"})
        state.insert(name, name);
    const Host host(state);
    for (int run = 0; run < 2; ++run) { // the second has nothing to do
        const ProgramResult result = sweep(host.path());
        QCOMPARE(result.errors, QString());
        QCOMPARE(result.output, QString());
        QCOMPARE(result.end, u"exit 0"_s);
        QCOMPARE(host.state(), kept);
    }
}

QTEST_GUILESS_MAIN(tst_PowerCuts)
#include "tst_powercuts.moc"

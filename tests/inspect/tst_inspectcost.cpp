// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "files.h"
#include "program.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/testing/recordinglogger.h>

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <algorithm>
#include <functional>
#include <limits>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;

namespace {

constexpr int groupCount = 100;
constexpr int keysPerGroup = 100;
constexpr int loadingRuns = 5;
constexpr double mostAllowed = 20;

QString groupName(int number)
{
    return u"group%1"_s.arg(number);
}

QString keyName(int number)
{
    return u"key%1"_s.arg(number);
}

QString valueOf(const QString &layer, int group, int key)
{
    return u"%1's value %2 of %3"_s.arg(layer, QString::number(key), QString::number(group));
}

QByteArray iniFile(const QString &layer, const QString &prefix = {})
{
    QString text;
    for (int group = 0; group < groupCount; ++group) {
        text += u'[' + prefix + groupName(group) + "]\n"_L1;
        for (int key = 0; key < keysPerGroup; ++key)
            text += keyName(key) + u'=' + valueOf(layer, group, key) + u'\n';
    }
    return text.toUtf8();
}

QByteArray jsonFile(const QString &layer)
{
    QJsonObject groups;
    for (int group = 0; group < groupCount; ++group) {
        QJsonObject entries;
        for (int key = 0; key < keysPerGroup; ++key)
            entries.insert(keyName(key), valueOf(layer, group, key));
        groups.insert(groupName(group), entries);
    }
    return QJsonDocument(groups).toJson();
}

QStringList assignments(const QString &layer)
{
    QStringList result;
    for (int group = 0; group < groupCount; ++group) {
        for (int key = 0; key < keysPerGroup; ++key)
            result += {u"--set"_s, u"%1:%2/%3=%1"_s.arg(layer, groupName(group), keyName(key))};
    }
    return result;
}

// The processor time of this process, or of its children that have ended, in microseconds.
qint64 processorTime(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * Q_INT64_C(1'000'000)
            + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
}

// The least processor time of several numbered runs: other load on the machine only adds to it.
qint64 leastTime(int who, int runs, const std::function<void(int run)> &work)
{
    qint64 least = std::numeric_limits<qint64>::max();
    for (int run = 0; run < runs; ++run) {
        const qint64 start = processorTime(who);
        work(run);
        least = std::min(least, processorTime(who) - start);
    }
    return least;
}

} // namespace

class tst_InspectCost : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tenThousandSettingsCostUnderTwentyTimesTheirLoading();
    void aHundredThousandSettingsCostUnderTwiceAHost();
    void jsonOfTwoHundredThousandSettingsTakesUnderTwoHundredMegabytes();
};

// Every setting is in all eight layers. The loading is measured alone. The tool's time includes its
// start and its output.
void tst_InspectCost::tenThousandSettingsCostUnderTwentyTimesTheirLoading()
{
    const QTemporaryDir directory;
    const auto write = [&directory](const QString &name, const QByteArray &contents) {
        QVERIFY(writeFile(directory.filePath(name), contents));
    };
    const QStringList iniFiles{u"custom.conf"_s, u"selvi.db"_s, u"ravona.conf"_s};
    for (const QString &name : iniFiles) {
        write(name, iniFile(name));
        for (int run = 0; run < loadingRuns; ++run) // QSettings remembers a file's contents
            write(name + QString::number(run), iniFile(name));
    }
    for (const QString &name : {u"rdm.json"_s, u"features.json"_s})
        write(name, jsonFile(name));

    const qint64 loading = leastTime(RUSAGE_SELF, loadingRuns, [&](int run) {
        for (const QString &name : iniFiles) {
            const QSettings settings(directory.filePath(name + QString::number(run)),
                                     QSettings::IniFormat);
            // QSettings parses a section when it is first needed.
            QCOMPARE(settings.allKeys().size(), groupCount * keysPerGroup);
        }
    });

    QStringList arguments
            = QStringList{u"--storage"_s, u"."_s,        u"--assets"_s,       u"."_s,
                          u"--rdm"_s,     u"rdm.json"_s, u"--feature-keys"_s, u"features.json"_s};
    for (const QString &layer : {u"Runtime"_s, u"SystemProperties"_s, u"CommandLineArgs"_s})
        arguments += assignments(layer);
    ProgramSurroundings surroundings;
    surroundings.directory = directory.path();
    const qint64 inspecting = leastTime(RUSAGE_CHILDREN, 3, [&](int) {
        const ProgramResult result
                = runProgram(QStringLiteral(TAMSEL_INSPECT), arguments, surroundings);
        QCOMPARE(result.errors, QString());
        QCOMPARE(result.end, u"exit 0"_s);
        QCOMPARE(result.output.count(u'\n'), 1 + groupCount * keysPerGroup);
    });

    const double ratio = double(inspecting) / double(loading);
    qInfo("QSettings alone: %.1f ms, tamsel-inspect: %.1f ms, %.1f times as much",
          double(loading) / 1000, double(inspecting) / 1000, ratio);
    QVERIFY(loading > 0);
    QVERIFY2(ratio < mostAllowed, qUtf8Printable(QString::number(ratio)));
}

// The table of one file, compared with a host that loads it and can take a snapshot. Other load on
// the machine only adds to a time, so there are more runs while the ratio is too high.
void tst_InspectCost::aHundredThousandSettingsCostUnderTwiceAHost()
{
    constexpr int mostRuns = 20;
    const QTemporaryDir directory;
    QByteArray contents;
    for (int part = 0; part < 100'000 / groupCount / keysPerGroup; ++part)
        contents += iniFile(u"part%1"_s.arg(part), u"part%1"_s.arg(part));
    qint64 loading = std::numeric_limits<qint64>::max();
    qint64 inspecting = loading;
    double ratio = 0;
    for (int run = 0; run < loadingRuns || (ratio >= 2 && run < mostRuns); ++run) {
        const QString assets = directory.filePath(u"%1/"_s.arg(run));
        QVERIFY(QDir().mkpath(assets));
        QVERIFY(writeFile(assets + u"ravona.conf"_s, contents));

        const auto load = [&](int) {
            tamsel::testing::RecordingLogger logger;
            tamsel::ConfigurationManager settings(&logger);
            const tamsel::host::SettingsCatalogue catalogue(&settings);
            settings.setAssetsPrefix(assets);
            settings.initStorage(tamsel::SettingsType::RavonaConfDefault);
            QCOMPARE(catalogue.changeCount(), quint64(100'000));
        };
        const auto inspect = [&](int) {
            ProgramSurroundings surroundings;
            surroundings.directory = directory.path();
            const ProgramResult result
                    = runProgram(QStringLiteral(TAMSEL_INSPECT),
                                 {u"--storage=."_s, u"--assets"_s, assets}, surroundings);
            QCOMPARE(result.end, u"exit 0"_s);
            QCOMPARE(result.output.count(u'\n'), 1 + 100'000);
        };
        loading = std::min(loading, leastTime(RUSAGE_SELF, 1, load));
        inspecting = std::min(inspecting, leastTime(RUSAGE_CHILDREN, 1, inspect));
        ratio = double(inspecting) / double(loading);
    }
    qInfo("a host: %.1f ms, tamsel-inspect: %.1f ms, %.2f times as much", double(loading) / 1000,
          double(inspecting) / 1000, ratio);
    QVERIFY2(ratio < 2, qUtf8Printable(QString::number(ratio)));
}

void tst_InspectCost::jsonOfTwoHundredThousandSettingsTakesUnderTwoHundredMegabytes()
{
    const QTemporaryDir directory;
    QByteArray contents;
    for (int part = 0; part < 200'000 / groupCount / keysPerGroup; ++part)
        contents += iniFile(u"part%1"_s.arg(part), u"part%1"_s.arg(part));
    QVERIFY(writeFile(directory.filePath(u"ravona.conf"_s), contents));

    ProgramSurroundings surroundings;
    surroundings.directory = directory.path();
    surroundings.outputFile = directory.filePath(u"output"_s);
    const ProgramResult result
            = runProgram(QStringLiteral(TAMSEL_INSPECT),
                         {u"--storage=."_s, u"--assets=."_s, u"--json"_s}, surroundings);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, u"exit 0"_s);
    QCOMPARE(readFile(surroundings.outputFile).count('\n'), 200'000 + 2);

    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage); // ru_maxrss is that of the largest child
    qInfo("tamsel-inspect --json: %.1f MB", double(usage.ru_maxrss) / 1000);
    QVERIFY2(usage.ru_maxrss < 200'000, qUtf8Printable(QString::number(usage.ru_maxrss)));
}

QTEST_GUILESS_MAIN(tst_InspectCost)
#include "tst_inspectcost.moc"

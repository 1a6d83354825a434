// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "program.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using tamsel::tests::ProgramResult;
using tamsel::tests::ProgramSurroundings;

namespace {

// Of a first run; what the later ones print too stands in pieces of its own.
const QString changesOfFirstRun = uR"(Changes while the layers arrive
  RavonaConfDefault: Logging/jsonLengthLimit = '1024'
  RavonaConfDefault: Logging/level = 'info'
  RavonaConfDefault: Service/audio = 'en'
  RavonaConfDefault: Service/subs = 'off'
  RavonaConfDefault: features/recording = 'false'
  RavonaConfDefault: features/timeshift = 'false'
  RavonaConfDefault: network/timeout = '30'
  RavonaConfDefault: ui/lang = 'en'
  RavonaConfDefault: ui/theme = 'light'
  FeatureKeys: features/multiroom = 'true'
  FeatureKeys: features/recording = 'true'
  Rdm: network/server = 'north'
  Rdm: network/timeout = '20'
  Rdm: ui/theme = 'operator'
  SelviDb: profile/name = 'family'
  SelviDb: ui/lang = 'de'
  SystemProperties: system/memory = '512'
  SystemProperties: system/model = 'SB-100'
  Runtime: player/state = 'standby'
  Runtime: Logging/jsonLengthLimit = '200'
)"_s;

const QString tableOfFirstRun = uR"(
Effective settings
  group     key              value     origin             overridden
  Logging   jsonLengthLimit  200       Runtime            RavonaConfDefault
  Logging   level            info      RavonaConfDefault  -
  Service   audio            en        RavonaConfDefault  -
  Service   subs             off       RavonaConfDefault  -
  features  multiroom        true      FeatureKeys        -
  features  recording        true      FeatureKeys        RavonaConfDefault
  features  timeshift        false     RavonaConfDefault  -
  network   server           north     Rdm                -
  network   timeout          20        Rdm                RavonaConfDefault
  player    state            standby   Runtime            -
  profile   name             family    SelviDb            -
  system    memory           512       SystemProperties   -
  system    model            SB-100    SystemProperties   -
  ui        lang             de        SelviDb            RavonaConfDefault
  ui        theme            operator  Rdm                RavonaConfDefault
)"_s;

const QString changesOfSecondRun = uR"(Changes while the layers arrive
  CustomConfPersistent: ui/lang = 'tr'
  SelviDb: profile/name = 'family'
  RavonaConfDefault: Logging/jsonLengthLimit = '1024'
  RavonaConfDefault: Logging/level = 'info'
  RavonaConfDefault: Service/audio = 'en'
  RavonaConfDefault: Service/subs = 'off'
  RavonaConfDefault: features/recording = 'false'
  RavonaConfDefault: features/timeshift = 'false'
  RavonaConfDefault: network/timeout = '30'
  RavonaConfDefault: ui/theme = 'light'
  FeatureKeys: features/multiroom = 'true'
  FeatureKeys: features/recording = 'true'
  Rdm: network/server = 'north'
  Rdm: network/timeout = '20'
  Rdm: ui/theme = 'operator'
  SystemProperties: system/memory = '512'
  SystemProperties: system/model = 'SB-100'
  Runtime: player/state = 'standby'
  Runtime: Logging/jsonLengthLimit = '200'
)"_s;

const QString tableOfSecondRun = uR"(
Effective settings
  group     key              value     origin                overridden
  Logging   jsonLengthLimit  200       Runtime               RavonaConfDefault
  Logging   level            info      RavonaConfDefault     -
  Service   audio            en        RavonaConfDefault     -
  Service   subs             off       RavonaConfDefault     -
  features  multiroom        true      FeatureKeys           -
  features  recording        true      FeatureKeys           RavonaConfDefault
  features  timeshift        false     RavonaConfDefault     -
  network   server           north     Rdm                   -
  network   timeout          20        Rdm                   RavonaConfDefault
  player    state            standby   Runtime               -
  profile   name             family    SelviDb               -
  system    memory           512       SystemProperties      -
  system    model            SB-100    SystemProperties      -
  ui        lang             tr        CustomConfPersistent  SelviDb, RavonaConfDefault
  ui        theme            operator  Rdm                   RavonaConfDefault
)"_s;

const QString changesAtRunTime = uR"(
Changes at run time
> write ui/lang into Runtime: the top value changes
  Runtime: ui/lang = 'fr'
> write ui/lang into CustomConfPersistent: overridden by Runtime
  (no handler is called)
> remove ui/lang from Runtime: uncovers the layer below
  CustomConfPersistent: ui/lang = 'tr'
> remove player/state from Runtime: no other layer holds it
  Runtime: player/state is gone
> replace Rdm: one value lost, two changed at once
  RavonaConfDefault: ui/theme = 'light'
  Rdm: network/server = 'south'
  Rdm: network/timeout = '15'
> clear FeatureKeys: each of its values is lost
  FeatureKeys: features/multiroom is gone
  RavonaConfDefault: features/recording = 'false'
> clear FeatureKeys again: a warning, there is no such layer
  (no handler is called)
> write network/timeout into Rdm: an error, it is read-only
  (no handler is called)
)"_s;

QString keptIn(const QString &storage)
{
    return u"\nKept for the next run: ui/lang = 'tr' in %1custom.conf\n"_s.arg(storage);
}

// The log of a first run with level on the command line, if everything is shown.
QString wholeLog(int level)
{
    return uR"([info] Storage: CommandLineArgs initialized
[debug] Top value changed CommandLineArgs: Logging/level = '%1'
[info] Storage: CustomConfPersistent initialized
[info] Storage: SelviDb initialized
[info] Storage: RavonaConfDefault initialized
[info] Storage: FeatureKeys initialized
[info] Storage: Rdm initialized
[info] Top values changed: Rdm: { network/server = 'north', network/timeout = '20', ui/theme = 'operator' }
[info] Storage: SystemProperties initialized
[info] Storage: Runtime initialized
[debug] Top value changed SelviDb: profile/name = 'family'
[debug] Top value changed SelviDb: ui/lang = 'de'
[info] Top value changed SystemProperties: system/memory = '512'
[info] Top value changed SystemProperties: system/model = 'SB-100'
[debug] Top value changed Runtime: player/state = 'standby'
[debug] Top value changed Runtime: Logging/jsonLengthLimit = '200'
[debug] Top value changed Runtime: ui/lang = 'fr'
[debug] Top value changed CustomConfPersistent: ui/lang = 'tr'
[debug] Parameter removed from all storages: player:state
[info] Storage: Rdm reinitialized
[info] Top value changed RavonaConfDefault: ui/theme = 'light'
[info] Top values changed: Rdm: { network/server = 'south', network/timeout = '15' }
[info] Storage: FeatureKeys cleared
[warning] Unable to remove storage FeatureKeys. Storage does not exist
[error] The storage doesn't support writing!
)"_s.arg(level);
}

// The lines of log that begin with one of names in brackets.
QString linesOf(const QString &log, const QStringList &names)
{
    QString result;
    for (const QString &line : log.split(u'\n', Qt::SkipEmptyParts)) {
        if (names.contains(line.section(u']', 0, 0).mid(1)))
            result += line + u'\n';
    }
    return result;
}

void write(const QString &fileName, const QByteArray &contents)
{
    QFile file(fileName);
    QVERIFY2(file.open(QIODevice::WriteOnly), qUtf8Printable(file.errorString()));
    QCOMPARE(file.write(contents), contents.size());
}

QByteArray contentsOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll()
                                          : "cannot be read: "_ba + fileName.toUtf8();
}

QStringList filesIn(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

class tst_Settop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aSecondRunShowsTheKeptValue();
    void theReadmeShowsWhatIsPrinted();
    void otherContentOfTheStorageSurvives();
    void theCommandLineIsALayer();
    void onlyTheHostsSettingsAreShown();
    void theLogFollowsTheCommandLine_data();
    void theLogFollowsTheCommandLine();
    void theLogFollowsTheFiles_data();
    void theLogFollowsTheFiles();
    void theDefaultsAreThoseOfTheCheckout();
    void directoriesMayStandAnywhere_data();
    void directoriesMayStandAnywhere();
    void otherAssetsMayBeGiven();
    void missingDefaultsAreMentioned();
    void damagedFilesAreMentioned_data();
    void damagedFilesAreMentioned();
    void anUnusableStorageIsOneErrorLine_data();
    void anUnusableStorageIsOneErrorLine();
    void aSettingThatCannotBeKeptIsAnError();
    void badArgumentsEndItBeforeAnythingIsMade_data();
    void badArgumentsEndItBeforeAnythingIsMade();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    // Runs settop in the directory of the test.
    ProgramResult run(const QStringList &arguments) const;

    std::unique_ptr<QTemporaryDir> m_directory;
};

void tst_Settop::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY2(m_directory->isValid(), qUtf8Printable(m_directory->errorString()));
}

ProgramResult tst_Settop::run(const QStringList &arguments) const
{
    ProgramSurroundings surroundings;
    surroundings.directory = m_directory->path();
    return tamsel::tests::runProgram(QStringLiteral(SETTOP), arguments, surroundings);
}

void tst_Settop::aSecondRunShowsTheKeptValue()
{
    const QString storage = path(u"made/on the way/"_s);

    const ProgramResult first = run({storage});
    QCOMPARE(first.output,
             changesOfFirstRun + tableOfFirstRun + changesAtRunTime + keptIn(storage));
    QCOMPARE(first.errors, linesOf(wholeLog(3), {u"error"_s, u"warning"_s, u"info"_s}));
    QCOMPARE(first.end, u"exit 0"_s);
    QCOMPARE(filesIn(storage), QStringList({u"custom.conf"_s, u"selvi.db"_s}));
    QCOMPARE(contentsOf(storage + u"custom.conf"_s), "[ui]\nlang=tr\n"_ba);
    QCOMPARE(contentsOf(storage + u"selvi.db"_s), "[profile]\nname=family\n\n[ui]\nlang=de\n"_ba);

    const ProgramResult second = run({storage});
    QCOMPARE(second.output,
             changesOfSecondRun + tableOfSecondRun + changesAtRunTime + keptIn(storage));
    QCOMPARE(second.end, u"exit 0"_s);
    QCOMPARE(filesIn(storage), QStringList({u"custom.conf"_s, u"selvi.db"_s}));
    QCOMPARE(contentsOf(storage + u"custom.conf"_s), "[ui]\nlang=tr\n"_ba);
    QCOMPARE(contentsOf(storage + u"selvi.db"_s), "[profile]\nname=family\n\n[ui]\nlang=de\n"_ba);

    QCOMPARE(run({storage}).output, second.output);
}

void tst_Settop::theReadmeShowsWhatIsPrinted()
{
    const QString readme = QString::fromUtf8(contentsOf(QStringLiteral(SETTOP_README)));
    const ProgramResult first = run({u"--subs"_s, u"de"_s});
    QVERIFY2(readme.contains("```\n"_L1 + first.output + "```\n"_L1), qUtf8Printable(first.output));

    const ProgramResult second = run({u"--log-level"_s, u"4"_s});
    const QString endOfLog = second.errors.section(u'\n', -10);
    QVERIFY2(readme.contains("```\n"_L1 + endOfLog + "```\n"_L1), qUtf8Printable(endOfLog));
    const QStringList table = second.output.section(u"\n\n"_s, 1, 1).split(u'\n');
    const QString rows = table.at(1) + u'\n' + table.mid(table.size() - 2).join(u'\n') + u'\n';
    QVERIFY2(readme.contains("```\n"_L1 + rows + "```\n"_L1), qUtf8Printable(rows));
}

void tst_Settop::otherContentOfTheStorageSurvives()
{
    const QString storage = path(u"storage/"_s);
    QVERIFY(QDir().mkpath(storage + u"startup_screen"_s));
    write(storage + u"custom.conf"_s, "[ui]\nlang=pl\nzoom=2\n\n[user]\nname=Zo\xc3\xab\n");
    write(storage + u"selvi.db"_s, "[channels]\nlast=7\n\n[profile]\nname=guest\n");
    write(storage + u"startup_screen/logo"_s, "a picture");

    QCOMPARE(run({storage}).end, u"exit 0"_s);
    QCOMPARE(run({storage}).end, u"exit 0"_s);

    QCOMPARE(filesIn(storage), QStringList({u"custom.conf"_s, u"selvi.db"_s, u"startup_screen"_s}));
    const QSettings custom(storage + u"custom.conf"_s, QSettings::IniFormat);
    QCOMPARE(custom.allKeys(), QStringList({u"ui/lang"_s, u"ui/zoom"_s, u"user/name"_s}));
    QCOMPARE(custom.value("ui/lang"_L1), QVariant(u"tr"_s));
    QCOMPARE(custom.value("ui/zoom"_L1), QVariant(u"2"_s));
    QCOMPARE(custom.value("user/name"_L1), QVariant(u"Zo\u00eb"_s));
    const QSettings database(storage + u"selvi.db"_s, QSettings::IniFormat);
    QCOMPARE(database.allKeys(), QStringList({u"channels/last"_s, u"profile/name"_s}));
    QCOMPARE(database.value("channels/last"_L1), QVariant(u"7"_s));
    QCOMPARE(database.value("profile/name"_L1), QVariant(u"guest"_s));
    QCOMPARE(contentsOf(storage + u"startup_screen/logo"_s), "a picture"_ba);
}

void tst_Settop::theCommandLineIsALayer()
{
    const ProgramResult result = run({u"--audio=pl"_s, u"--subs"_s, u"pl"_s, u"-pu://x"_s,
                                      u"--pos=30"_s, u"--ott_drm"_s, u"--spy"_s, u"u://spy"_s,
                                      u"--log-level"_s, u"1"_s, path(u"storage"_s)});
    const QString table = uR"(
  group     key              value     origin             overridden
  Logging   jsonLengthLimit  200       Runtime            RavonaConfDefault
  Logging   level            1         CommandLineArgs    RavonaConfDefault
  Service   audio            pl        CommandLineArgs    RavonaConfDefault
  Service   ott_drm          true      CommandLineArgs    -
  Service   playUrl          u://x     CommandLineArgs    -
  Service   pos              30        CommandLineArgs    -
  Service   subs             pl        CommandLineArgs    RavonaConfDefault
  Service   testSpyUrl       u://spy   CommandLineArgs    -
  features  multiroom        true      FeatureKeys        -
)"_s;
    QVERIFY2(result.output.contains(table), qUtf8Printable(result.output));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Settop::onlyTheHostsSettingsAreShown()
{
    const QString storage = path(u"storage/"_s);
    QVERIFY(QDir().mkpath(storage));
    write(storage + u"custom.conf"_s,
          "[Service]\naudio=en, \"tlh, old\"\n\n[network]\nserver=mine\n\n[zoo]\na/b=1\nkey=\n");

    const ProgramResult result = run({storage});
    // The host does not know the group zoo.
    const QString table = uR"(
Effective settings
  group     key              value         origin                overridden
  Logging   jsonLengthLimit  200           Runtime               RavonaConfDefault
  Logging   level            info          RavonaConfDefault     -
  Service   audio            en, tlh, old  CustomConfPersistent  RavonaConfDefault
  Service   subs             off           RavonaConfDefault     -
  features  multiroom        true          FeatureKeys           -
  features  recording        true          FeatureKeys           RavonaConfDefault
  features  timeshift        false         RavonaConfDefault     -
  network   server           north         Rdm                   CustomConfPersistent
  network   timeout          20            Rdm                   RavonaConfDefault
  player    state            standby       Runtime               -
  profile   name             family        SelviDb               -
  system    memory           512           SystemProperties      -
  system    model            SB-100        SystemProperties      -
  ui        lang             de            SelviDb               RavonaConfDefault
  ui        theme            operator      Rdm                   RavonaConfDefault

)"_s;
    QVERIFY2(result.output.contains(table), qUtf8Printable(result.output));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Settop::theLogFollowsTheCommandLine_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QStringList>("shown");

    const QStringList names{u"error"_s, u"warning"_s, u"info"_s, u"debug"_s};
    QTest::newRow("critical") << 0 << QStringList();
    QTest::newRow("error") << 1 << names.mid(0, 1);
    QTest::newRow("warning") << 2 << names.mid(0, 2);
    QTest::newRow("info") << 3 << names.mid(0, 3);
    QTest::newRow("debug") << 4 << names;
    QTest::newRow("trace") << 5 << names;
    QTest::newRow("no level above trace") << 6 << names.mid(0, 3);
}

void tst_Settop::theLogFollowsTheCommandLine()
{
    QFETCH(const int, level);
    QFETCH(const QStringList, shown);

    const ProgramResult result
            = run({u"--log-level"_s, QString::number(level), path(u"storage"_s)});
    QCOMPARE(result.errors, linesOf(wholeLog(level), shown));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Settop::theLogFollowsTheFiles_data()
{
    QTest::addColumn<QString>("fileName");

    QTest::newRow("custom.conf") << u"custom.conf"_s;
    QTest::newRow("selvi.db") << u"selvi.db"_s;
}

void tst_Settop::theLogFollowsTheFiles()
{
    QFETCH(const QString, fileName);

    const QString storage = path(u"storage/"_s);
    QVERIFY(QDir().mkpath(storage));
    write(storage + fileName, "[Logging]\nlevel=error\n");
    const ProgramResult result = run({storage});
    // Until the file is read, "info" holds.
    const QString expected = fileName == "custom.conf"_L1
            ? u"[info] Storage: CommandLineArgs initialized\n"
              u"[error] The storage doesn't support writing!\n"_s
            : u"[info] Storage: CommandLineArgs initialized\n"
              u"[info] Storage: CustomConfPersistent initialized\n"
              u"[error] The storage doesn't support writing!\n"_s;
    QCOMPARE(result.errors, expected);
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Settop::theDefaultsAreThoseOfTheCheckout()
{
    const ProgramResult result = run({});
    QCOMPARE(result.output,
             changesOfFirstRun + tableOfFirstRun + changesAtRunTime + keptIn(u"settop-storage/"_s));
    QCOMPARE(result.end, u"exit 0"_s);
    QCOMPARE(filesIn(m_directory->path()), QStringList(u"settop-storage"_s));
    QCOMPARE(filesIn(path(u"settop-storage"_s)), QStringList({u"custom.conf"_s, u"selvi.db"_s}));
}

void tst_Settop::directoriesMayStandAnywhere_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("storage");

    const QString here = u"here"_s;
    QTest::newRow("alone") << QStringList{here} << here;
    QTest::newRow("with a slash") << QStringList{u"here/"_s} << here;
    QTest::newRow("deep") << QStringList{u"deep/er"_s} << u"deep"_s;
    QTest::newRow("behind an option and its value")
            << QStringList{u"--audio"_s, u"en"_s, here} << here;
    QTest::newRow("behind a value with an equals sign")
            << QStringList{u"--audio=en"_s, here} << here;
    QTest::newRow("behind an empty value") << QStringList{u"--audio="_s, here} << here;
    QTest::newRow("behind an empty value of its own")
            << QStringList{u"--audio"_s, QString(), here} << here;
    QTest::newRow("behind the switch") << QStringList{u"--ott_drm"_s, here} << here;
    QTest::newRow("behind -p") << QStringList{u"-p"_s, u"url"_s, here} << here;
    QTest::newRow("behind -p with its value attached") << QStringList{u"-purl"_s, here} << here;
    QTest::newRow("behind -p=") << QStringList{u"-p=url"_s, here} << here;
    QTest::newRow("behind a value that looks like an option")
            << QStringList{u"--audio"_s, u"--subs"_s, here} << here;
    QTest::newRow("behind a value that looks like the end of options")
            << QStringList{u"--audio"_s, u"--"_s, here, u"--subs"_s, u"de"_s} << here;
    QTest::newRow("in front of options")
            << QStringList{here, u"--log-level"_s, u"1"_s, u"--ott_drm"_s} << here;
    QTest::newRow("between options")
            << QStringList{u"--ott_drm"_s, here, u"--log-level"_s, u"1"_s} << here;
    QTest::newRow("behind the end of options") << QStringList{u"--"_s, u"--here"_s} << u"--here"_s;
    QTest::newRow("a dash") << QStringList{u"-"_s} << u"-"_s;
    QTest::newRow("both, apart") << QStringList{here, u"--pos"_s, u"1"_s,
                                                QStringLiteral(SETTOP_ASSETS_DIR)}
                                 << here;
}

void tst_Settop::directoriesMayStandAnywhere()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, storage);

    const ProgramResult result = run(arguments);
    QCOMPARE(result.end, u"exit 0"_s);
    QVERIFY2(result.output.contains("RavonaConfDefault: ui/theme = 'light'"_L1),
             qUtf8Printable(result.output));
    QCOMPARE(filesIn(m_directory->path()), QStringList(storage));
}

void tst_Settop::otherAssetsMayBeGiven()
{
    const QByteArray defaults = "; kept as it is\n[ui]\ntheme=dark\nlang=it\n";
    QVERIFY(QDir().mkpath(path(u"assets"_s)));
    write(path(u"assets/ravona.conf"_s), defaults);

    const ProgramResult result = run({u"storage"_s, u"assets"_s});
    const QString table = uR"(
Effective settings
  group     key              value     origin            overridden
  Logging   jsonLengthLimit  200       Runtime           -
  features  multiroom        true      FeatureKeys       -
  features  recording        true      FeatureKeys       -
  network   server           north     Rdm               -
  network   timeout          20        Rdm               -
  player    state            standby   Runtime           -
  profile   name             family    SelviDb           -
  system    memory           512       SystemProperties  -
  system    model            SB-100    SystemProperties  -
  ui        lang             de        SelviDb           RavonaConfDefault
  ui        theme            operator  Rdm               RavonaConfDefault
)"_s;
    QVERIFY2(result.output.contains(table), qUtf8Printable(result.output));
    QVERIFY2(result.output.contains("  RavonaConfDefault: ui/theme = 'dark'\n  Rdm: network"_L1),
             qUtf8Printable(result.output));
    QCOMPARE(result.end, u"exit 0"_s);
    QCOMPARE(contentsOf(path(u"assets/ravona.conf"_s)), defaults);
    QCOMPARE(filesIn(path(u"assets"_s)), QStringList(u"ravona.conf"_s));
}

void tst_Settop::missingDefaultsAreMentioned()
{
    const ProgramResult result = run({u"storage"_s, u"nowhere"_s, u"--log-level"_s, u"2"_s});
    QCOMPARE(result.errors,
             u"[warning] There is no file nowhere/ravona.conf\n"
             u"[warning] Unable to remove storage FeatureKeys. Storage does not exist\n"
             u"[error] The storage doesn't support writing!\n"_s);
    QCOMPARE(result.end, u"exit 0"_s);
    QCOMPARE(filesIn(m_directory->path()), QStringList(u"storage"_s));
}

void tst_Settop::damagedFilesAreMentioned_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("layer");

    QTest::newRow("custom.conf") << u"storage/custom.conf"_s << u"CustomConfPersistent"_s;
    QTest::newRow("selvi.db") << u"storage/selvi.db"_s << u"SelviDb"_s;
    QTest::newRow("ravona.conf") << u"assets/ravona.conf"_s << u"RavonaConfDefault"_s;
}

void tst_Settop::damagedFilesAreMentioned()
{
    QFETCH(const QString, fileName);
    QFETCH(const QString, layer);

    QVERIFY(QDir().mkpath(path(u"storage"_s)));
    QVERIFY(QDir().mkpath(path(u"assets"_s)));
    write(path(u"assets/ravona.conf"_s), "");
    write(path(fileName), "[ui\n");
    const ProgramResult result = run({u"storage"_s, u"assets"_s, u"--log-level"_s, u"2"_s});
    QCOMPARE(result.errors,
             u"[warning] The file of %1 cannot be read\n"
             u"[warning] Unable to remove storage FeatureKeys. Storage does not exist\n"
             u"[error] The storage doesn't support writing!\n"_s.arg(layer));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Settop::anUnusableStorageIsOneErrorLine_data()
{
    QTest::addColumn<QString>("storage");
    QTest::addColumn<QString>("message");

    const QString message = u"settop: cannot create the storage directory '%1'\n"_s;
    for (const QString &storage : {u"file"_s, u"file/"_s, u"file/below"_s, u"file/far/below/"_s})
        QTest::addRow("%s", qUtf8Printable(storage)) << storage << message.arg(storage);
    QTest::newRow("empty name") << QString() << u"settop: the name of a directory is empty\n"_s;
}

void tst_Settop::anUnusableStorageIsOneErrorLine()
{
    QFETCH(const QString, storage);
    QFETCH(const QString, message);

    write(path(u"file"_s), "contents");
    const ProgramResult result = run({storage, u"--log-level=0"_s});
    QCOMPARE(result.errors, message);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.end, u"exit 1"_s);
    QCOMPARE(filesIn(m_directory->path()), QStringList(u"file"_s));
    QCOMPARE(contentsOf(path(u"file"_s)), "contents"_ba);
}

void tst_Settop::aSettingThatCannotBeKeptIsAnError()
{
    QVERIFY(QDir().mkpath(path(u"storage/custom.conf"_s))); // a directory is in the way
    const ProgramResult result = run({u"storage"_s, u"--log-level=0"_s});
    QCOMPARE(result.errors, u"settop: the language could not be kept in storage/custom.conf\n"_s);
    QVERIFY2(!result.output.contains("Kept"_L1), qUtf8Printable(result.output));
    QCOMPARE(result.end, u"exit 1"_s);
}

void tst_Settop::badArgumentsEndItBeforeAnythingIsMade_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");

    const QString nothing;
    const QString bad = u"exit 1"_s;
    QTest::newRow("unknown option") << QStringList{u"--unknown"_s, u"storage"_s} << bad << nothing
                                    << u"settop: Unknown option 'unknown'.\n"_s;
    QTest::newRow("missing value") << QStringList{u"storage"_s, u"--audio"_s} << bad << nothing
                                   << u"settop: Missing value after '--audio'.\n"_s;
    QTest::newRow("surplus value") << QStringList{u"storage"_s, u"--ott_drm=yes"_s} << bad
                                   << nothing << u"settop: Unexpected value after '--ott_drm'.\n"_s;
    QTest::newRow("bad number") << QStringList{u"storage"_s, u"--log-level=debug"_s}
                                << u"signal 6"_s << nothing
                                << u"error: argument --log-level: invalid value: 'debug'\n"_s;
    QTest::newRow("three directories")
            << QStringList{u"storage"_s, u"assets"_s, u"more"_s} << bad << nothing
            << u"settop: too many arguments: at most STORAGE_DIR and ASSETS_DIR are expected\n"_s;
    QTest::newRow("empty assets") << QStringList{u"storage"_s, QString()} << bad << nothing
                                  << u"settop: the name of a directory is empty\n"_s;
    QTest::newRow("version") << QStringList{u"storage"_s, u"--version"_s} << u"exit 0"_s
                             << u"settop 0.1.0\n"_s << nothing;
}

void tst_Settop::badArgumentsEndItBeforeAnythingIsMade()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, end);
    QFETCH(const QString, output);
    QFETCH(const QString, errors);

    const ProgramResult result = run(arguments);
    QCOMPARE(result.errors, errors);
    QCOMPARE(result.output, output);
    QCOMPARE(result.end, end);
    QCOMPARE(filesIn(m_directory->path()), QStringList());
}

QTEST_GUILESS_MAIN(tst_Settop)
#include "tst_settop.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "files.h"
#include "inifile.h"
#include "skip.h"
#include "testhost.h"
#include "transcripts.h"

#include <tamsel/host/settingscatalogue.h>
#include <tamsel/host/snapshot.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtTest/QTest>

#include <limits>
#include <optional>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;

namespace {

// Every file and directory below the directory, with its contents and its time of modification.
QStringList inventoryOf(const QString &directory)
{
    QStringList result;
    QDirIterator files(directory, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QFileInfo info(file);
        const QString contents
                = info.isFile() ? QString::fromLatin1(readFile(file).toHex()) : QString();
        result.append(u"%1 %2 %3"_s.arg(
                file, info.lastModified().toUTC().toString(Qt::ISODateWithMs), contents));
    }
    result.sort();
    return result;
}

} // namespace

class tst_Inspect : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();

    void transcripts_data();
    void transcripts();
    void theDocumentsShowRealOutput_data();
    void theDocumentsShowRealOutput();

    void aTerminalGetsColours_data();
    void aTerminalGetsColours();
    void aDirectoryThatMayNotBeEnteredIsTrouble();
    void outputThatIsLostIsTrouble_data();
    void outputThatIsLostIsTrouble();
    void filesStayAsTheyAre_data();
    void filesStayAsTheyAre();
    void helpVersionAndManual();
    void completion_data();
    void completion();

    void aSnapshotIsShownAsItWasWritten();
    void noModeShowsASecret_data();
    void noModeShowsASecret();

    void linesAreSplitAsQSettingsDoes();
    void deeplyNestedValuesAreTrouble_data();
    void deeplyNestedValuesAreTrouble();
    void aLargeTextNeedsNoLargeStack();

private:
    QString path(const QString &name) const { return m_shell->path(name); }
    void write(const QString &name, const QByteArray &contents) const
    {
        m_shell->write(name, contents);
    }
    QString run(const QString &command, const QProcessEnvironment &changes = {},
                std::optional<ushort> columns = {}) const
    {
        return m_shell->run(command, changes, columns);
    }

    std::optional<TestShell> m_shell;
};

// Each test has its own directory, where commands find the tool, the box and its assets by default.
void tst_Inspect::init()
{
    m_shell.emplace(u"tamsel-inspect"_s, QByteArrayLiteral(TAMSEL_INSPECT));
    m_shell->environment.remove(u"COLUMNS"_s);
    m_shell->environment.insert(u"TERM"_s, u"xterm"_s);
    m_shell->environment.insert(u"NO_COLOR"_s, u"1"_s);
    m_shell->environment.insert(u"TAMSEL_STORAGE"_s, u"box"_s);
    m_shell->environment.insert(u"TAMSEL_ASSETS"_s, u"assets"_s);
    write(u"box/custom.conf"_s, "[ui]\nlang=en\n");
    write(u"box/selvi.db"_s, "[ui]\nlang=de\n[profile]\nname=family\n");
    write(u"assets/ravona.conf"_s, "[ui]\nlang=ru\ntheme=light\n");
}

void tst_Inspect::transcripts_data()
{
    addTranscriptRows(QStringLiteral(TAMSEL_TREE "/tests/inspect/transcripts"));
}

void tst_Inspect::transcripts()
{
    QFETCH(const QString, transcript);

    static const QRegularExpression onTerminal(u"^\\d+\\$ "_s, QRegularExpression::MultilineOption);
    if (transcript.contains(onTerminal) && Terminal(80).name().isEmpty())
        SKIP_TEST("there are no terminals here");
    QVERIFY(m_shell->check(transcript) > 0);
}

void tst_Inspect::theDocumentsShowRealOutput_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<int>("commands");

    QTest::newRow("README.md") << QStringLiteral(TAMSEL_TREE "/README.md") << 2;
    QTest::newRow("docs/inspect.md") << QStringLiteral(TAMSEL_TREE "/docs/inspect.md") << 10;
}

void tst_Inspect::theDocumentsShowRealOutput()
{
    QFETCH(const QString, document);
    QFETCH(const int, commands);

    QVERIFY(QDir().mkpath(path(u"fresh"_s)));
    write(u"image/ravona.conf"_s, "[ui]\nlang=ru\ntheme=dark\n");
    write(u"settings.json"_s, R"json({"snapshot":1,"layers":[],"settings":[
{"group":"player","key":"state","value":"live","type":"QString","redacted":null,"origin":"Runtime","file":null,"overridden":[]},
{"group":"ui","key":"lang","value":"fr","type":"QString","redacted":null,"origin":"Runtime","file":null,"overridden":[{"layer":"CustomConfPersistent","file":null},{"layer":"RavonaConfDefault","file":null}]},
{"group":"wifi","key":"pin","value":"(redacted)","type":"int","redacted":"not empty","origin":"CustomConfPersistent","file":null,"overridden":[]}
],"changes":[
{"number":1,"time":"2026-11-21T20:14:58.310Z","group":"ui","key":"lang","value":"en","type":"QString","redacted":null,"origin":"CustomConfPersistent"},
{"number":2,"time":"2026-11-21T20:14:59.001Z","group":"ui","key":"lang","value":"fr","type":"QString","redacted":null,"origin":"Runtime"}]})json");
    const QString text = QString::fromUtf8(readFile(document));
    static const QRegularExpression block(u"<!-- checked by tst_inspect -->\n```\n(.*?)```\n"_s,
                                          QRegularExpression::DotMatchesEverythingOption);
    int found = 0;
    auto blocks = block.globalMatch(text);
    while (blocks.hasNext())
        found += m_shell->check(blocks.next().captured(1));
    QCOMPARE(found, commands);
}

void tst_Inspect::aTerminalGetsColours_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("option");
    QTest::addColumn<bool>("colours");

    QTest::newRow("by default") << u"TERM"_s << u"xterm"_s << QString() << true;
    QTest::newRow("option") << u"TERM"_s << u"xterm"_s << u" --no-color"_s << false;
    QTest::newRow("NO_COLOR") << u"NO_COLOR"_s << u"1"_s << QString() << false;
    QTest::newRow("dumb terminal") << u"TERM"_s << u"dumb"_s << QString() << false;
    QTest::newRow("no terminal known") << u"TERM"_s << QString() << QString() << false;
}

void tst_Inspect::aTerminalGetsColours()
{
    QFETCH(const QString, variable);
    QFETCH(const QString, value);
    QFETCH(const QString, option);
    QFETCH(const bool, colours);

    if (Terminal(80).name().isEmpty())
        SKIP_TEST("there are no terminals here");
    write(u"box/custom.conf"_s, "[ui]\na\\x=1\nlang=en\n");
    QProcessEnvironment environment;
    environment.insert(u"NO_COLOR"_s, QString());
    environment.insert(variable, value);
    QString shown = run("tamsel-inspect 'ui/[xl]*'"_L1 + option, environment, ushort{120});
    QCOMPARE(shown.contains(u'\x1b'), colours);
    if (!colours)
        return;
    // Replaces escape sequences with letters: F faint, B bold, R red, 0 reset.
    shown.replace("\x1b[2m"_L1, "F"_L1)
            .replace("\x1b[1m"_L1, "B"_L1)
            .replace("\x1b[31m"_L1, "R"_L1)
            .replace("\x1b[0m"_L1, "0"_L1);
    QCOMPARE(u'\n' + shown, uR"(
F┌───────┬──────┬───────┬─────────┬──────────────────────┬──────────────────────────────────────┐0
F│0 Bgroup0 F│0 Bkey 0 F│0 Bvalue0 F│0 Btype   0 F│0 Borigin              0 F│0 Boverridden                          0 F│0
F├───────┼──────┼───────┼─────────┼──────────────────────┼──────────────────────────────────────┤0
F│0 ui    F│0 lang F│0 'en'  F│0 QString F│0 CustomConfPersistent F│0 SelviDb 'de', RavonaConfDefault 'ru' F│0
F│0 Rui   0 F│0 Rx   0 F│0 R-    0 F│0 R-      0 F│0 R! none              0 F│0 RCustomConfPersistent '1' as 'ui/a/x'0 F│0
F└───────┴──────┴───────┴─────────┴──────────────────────┴──────────────────────────────────────┘0
)"_s);
}

void tst_Inspect::aDirectoryThatMayNotBeEnteredIsTrouble()
{
    if (geteuid() == 0)
        SKIP_TEST("root may enter every directory");
    QVERIFY(QFile::setPermissions(path(u"box"_s), QFile::ReadOwner | QFile::WriteOwner));
    const QString shown = run(u"tamsel-inspect"_s);
    QVERIFY(QFile::setPermissions(path(u"box"_s),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCOMPARE(shown, u"! tamsel-inspect: cannot enter box/: permission denied\n[2]\n"_s);
}

void tst_Inspect::outputThatIsLostIsTrouble_data()
{
    QTest::addColumn<QString>("options");

    for (const char *options :
         {"", "--snapshot=s.json --changes", "--explain=ui/lang", "--diff=assets", "--json",
          "--get=ui/lang", "--get=ui/logo", "--help", "--version"})
        QTest::newRow(options) << QString::fromLatin1(options);
}

void tst_Inspect::outputThatIsLostIsTrouble()
{
    QFETCH(const QString, options);

    if (!QFile::exists(u"/dev/full"_s))
        SKIP_TEST("there is no device that is always full");
    write(u"box/custom.conf"_s, "[ui]\nlogo=" + QByteArray(100'000, 'x') + '\n'); // not buffered
    write(u"s.json"_s,
          R"({"snapshot":1,"layers":[],"settings":[],"changes":[{"number":1,"time":"",)"
          R"("group":"","key":"","type":null,"redacted":null,"origin":"Rdm"}]})");
    QCOMPARE(
            run(u"tamsel-inspect %1 > /dev/full"_s.arg(options)),
            u"! tamsel-inspect: cannot write to standard output: No space left on device\n[2]\n"_s);
}

void tst_Inspect::filesStayAsTheyAre_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("end");

    QTest::newRow("table") << QString() << QString();
    QTest::newRow("values set") << u"--set=Runtime:ui/lang=x --set=Rdm:a/b=c"
                                   " --set=SystemProperties:ui/lang=y"_s
                                << QString();
    QTest::newRow("explanation") << u"--explain=ui/lang"_s << QString();
    QTest::newRow("difference") << u"--diff=other"_s << u"[1]\n"_s;
    QTest::newRow("snapshot") << u"--snapshot=s.json --diff=box"_s << u"[1]\n"_s;
    QTest::newRow("JSON") << u"--json --rdm=rdm.json"_s << QString();
    QTest::newRow("value") << u"--get=ui/lang"_s << QString();
    QTest::newRow("trouble") << u"--rdm=none"_s << u"[2]\n"_s;
}

void tst_Inspect::filesStayAsTheyAre()
{
    QFETCH(const QString, options);
    QFETCH(const QString, end);

    // Contents that QSettings would never write.
    write(u"box/custom.conf"_s, "; a comment\r\n[ui]\r\nlang = en\nlang=fr\n\n[empty]\n[ui]\nz=1");
    write(u"rdm.json"_s, "{ }");
    write(u"s.json"_s, R"({"snapshot":1,"layers":[],"settings":[],"changes":[]})");
    QVERIFY(QDir().mkpath(path(u"other"_s))); // without files: none may appear
    QFile custom(path(u"box/custom.conf"_s));
    QVERIFY(custom.open(QIODevice::ReadWrite));
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1'000'000'000);
    QVERIFY(custom.setFileTime(longAgo, QFileDevice::FileModificationTime));
    custom.close();

    const QStringList before = inventoryOf(path({}));
    QCOMPARE(before.size(), 8);
    QCOMPARE(run(u"tamsel-inspect %1 > /dev/null 2>&1"_s.arg(options)), end);
    QCOMPARE(inventoryOf(path({})), before);
}

// The manual describes the options that the help lists, and no other.
void tst_Inspect::helpVersionAndManual()
{
    QCOMPARE(run(u"tamsel-inspect --version"_s), u"tamsel-inspect " TAMSEL_VERSION "\n"_s);

    const auto optionsIn = [](const QString &text, const QString &pattern) {
        QStringList result;
        auto matches = QRegularExpression(pattern, QRegularExpression::MultilineOption)
                               .globalMatch(text);
        while (matches.hasNext())
            result.append(matches.next().captured(1));
        result.sort();
        return result;
    };
    const QString help = run(u"tamsel-inspect --help"_s);
    const QString manual = QString::fromUtf8(
            readFile(QStringLiteral(TAMSEL_TREE "/tools/inspect/tamsel-inspect.1")));
    QStringList options = optionsIn(help, u"^  (?:-., )?--([a-z-]+)"_s);
    options.removeOne(u"help-all"_s); // added by Qt, and the same as --help here
    QVERIFY(options.size() > 10);
    QCOMPARE(optionsIn(QString(manual).replace(R"(\-)"_L1, "-"_L1),
                       u"^\\.TP\n\\.BI?R? (?:-. \", \" )?--([a-z-]+)"_s),
             options);
    // The completion knows the same options.
    const QString script = QString::fromUtf8(
            readFile(QStringLiteral(TAMSEL_TREE "/tools/inspect/tamsel-inspect.bash")));
    const QString list = script.section(u"local options=\""_s, 1).section(u'"', 0, 0);
    QCOMPARE(optionsIn(list.simplified().replace(u' ', u'\n'), u"^--([a-z-]+)"_s), options);
    static const QRegularExpression title(
            uR"(^\.TH TAMSEL-INSPECT 1 "\d{4}-\d\d-\d\d" "libtamsel %1")"_s.arg(
                    QString::fromLatin1(TAMSEL_VERSION)),
            QRegularExpression::MultilineOption);
    QVERIFY(title.match(manual).hasMatch());
}

void tst_Inspect::completion_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("completed");

    QTest::newRow("an option") << u"--diff"_s << u"--diff|--diff-assets|"_s;
    QTest::newRow("nothing") << u""_s << u""_s;
    QTest::newRow("a directory") << u"--storage b"_s << u"box|b x|"_s;
    QTest::newRow("a directory, behind =") << u"--assets = a"_s << u"assets|"_s;
    QTest::newRow("any directory, behind =") << u"--assets ="_s << u"assets|b x|box|"_s;
    QTest::newRow("a file") << u"--snapshot b"_s << u"b x|box|box.json|"_s;
    QTest::newRow("a layer") << u"--layer S"_s << u"SystemProperties|SelviDb|"_s;
    QTest::newRow("a layer without a file") << u"--set S"_s << u"SystemProperties:|"_s;
    QTest::newRow("a setting") << u"--get b"_s << u""_s;
}

void tst_Inspect::completion()
{
    QFETCH(const QString, words);
    QFETCH(const QString, completed);

    if (run(u"bash -c true"_s) != QString())
        SKIP_TEST("there is no bash");
    write(u"b x/file"_s, "");
    write(u"box.json"_s, "");
    const QString shown
            = run(u"bash -c '. \""_s + QStringLiteral(TAMSEL_TREE)
                  + "/tools/inspect/tamsel-inspect.bash\"; COMP_WORDS=(tamsel-inspect "_L1 + words
                  + (words.isEmpty() ? "\"\""_L1 : ""_L1)
                  + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tamsel_inspect x "
                    "\"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD-1]}\"; "
                    "printf \"%s|\" \"${COMPREPLY[@]}\"'"_L1);
    QStringList found = (shown == "|"_L1 ? QString() : shown).split(u'|');
    QStringList expected = completed.split(u'|');
    found.sort();
    expected.sort();
    QCOMPARE(found, expected);
}

// Each line of the tool is one of the snapshot, without the members that only snapshots have.
void tst_Inspect::aSnapshotIsShownAsItWasWritten()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    const tamsel::host::SettingsCatalogue catalogue(&host.manager);
    host.init(tamsel::SettingsType::RavonaConfDefault, {{u"text"_s, u"low"_s}});
    host.init(tamsel::SettingsType::Rdm,
              {{u"bytes"_s, "\xff\\'"_ba},
               {u"double"_s, 0.1},
               {u"whole"_s, 5.0},
               {u"float"_s, 0.1F},
               {u"huge"_s, 1e300},
               {u"nan"_s, qQNaN()},
               {u"least"_s, std::numeric_limits<qint64>::min()},
               {u"list"_s, QVariantList{1, u"x"_s, true, QVariant()}},
               {u"map"_s, QVariantMap{{u"a"_s, 1}, {u"pin"_s, 1}}},
               {u"pin"_s, 1234},
               {u"invalid"_s, QVariant()},
               {u"text"_s, u"\"\\\n\u202e\u00e9'"_s},
               {u"texts"_s, QStringList{u"a"_s, u"b"_s}},
               {u"date"_s, QDate(2026, 11, 21)}});
    QFile file(path(u"s.json"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(tamsel::host::Snapshot::take(host.manager, catalogue).write(&file));
    file.close();
    QString text = QString::fromUtf8(readFile(file.fileName()));
    text.remove(QRegularExpression(uR"(,"changes":\d+,"settled":true)"_s));
    const auto section = [&text](const QString &name) {
        const QString start = u"\""_s + name + u"\":["_s;
        return text.mid(text.indexOf(start)).section(u"\n]"_s, 0, 0);
    };
    QCOMPARE(section(u"settings"_s).count(u'\n'), 14);
    QCOMPARE(run(u"tamsel-inspect --snapshot s.json --json"_s),
             u'{' + section(u"settings"_s) + u"\n],\"warnings\":[]}\n"_s);
    QVERIFY(section(u"changes"_s).count(u'\n') > 14);
    QCOMPARE(run(u"tamsel-inspect --snapshot s.json --json --changes"_s),
             u'{' + section(u"changes"_s) + u"\n],\"warnings\":[]}\n"_s);
}

void tst_Inspect::noModeShowsASecret_data()
{
    QTest::addColumn<QString>("options");

    const QStringList sources{u""_s, u"--rdm=rdm.json"_s, u"--set=Rdm:wifi/password=hunter2"_s,
                              u"--snapshot=s.json"_s};
    const QStringList modes{u""_s,
                            u"'wifi/*'"_s,
                            u"wifi"_s,
                            u"--overridden"_s,
                            u"--explain=wifi/password"_s,
                            u"--explain=wifi/none"_s,
                            u"--get=wifi/password"_s,
                            u"--get=wifi/account"_s,
                            u"--diff=other"_s};
    for (const QString &source : sources) {
        for (const QString &mode : modes) {
            for (const char *format : {"", " --json"}) {
                const QString options = source + u' ' + mode + QLatin1StringView(format);
                QTest::newRow(qUtf8Printable(options)) << options;
            }
        }
    }
    for (const char *options : {"--snapshot=s.json --changes",
                                "--snapshot=s.json --changes --json",
                                "--snapshot=s.json --diff=s.json",
                                "--diff=s.json",
                                "--diff-assets=image",
                                "--diff-assets=image --json",
                                "--layer=SelviDb",
                                "--layer=SelviDb --get=wifi/password",
                                "--set=Rdm:wifi/password:hunter2",
                                "--set=wifi/password=hunter2",
                                "--set=SelviDb:wifi/password=hunter2",
                                "--set=Nowhere:wifi/password=hunter2",
                                "--set=password=hunter2",
                                "--rdm=damaged.json",
                                "--rdm=wrong.json",
                                "--storage=deep",
                                "--snapshot=damaged.json",
                                "--snapshot=rdm.json",
                                "--snapshot=wrong.json",
                                "--redact=wifi/pass* --set=x:wifi/password=hunter2",
                                "--redact=wifi/pass* --set=wifi/password=hunter2 'wifi/p*'"})
        QTest::newRow(options) << QString::fromLatin1(options);
}

void tst_Inspect::noModeShowsASecret()
{
    QFETCH(const QString, options);

    const QByteArray secrets = "[wifi]\npassword=hunter2\na\\token=hunter2\nlist_pin=1,hunter2\n"
                               "secret/=hunter2\n";
    write(u"box/custom.conf"_s, secrets + "password hunter2\n[hunter\n");
    write(u"box/selvi.db"_s, secrets);
    write(u"assets/ravona.conf"_s, secrets);
    write(u"other/custom.conf"_s, "[wifi]\npassword=hunter22\n");
    write(u"image/ravona.conf"_s, "[wifi]\npassword=hunter222\n");
    write(u"deep/custom.conf"_s,
          "[wifi]\npassword=@Variant(" + QByteArray(R"(\0\0\0\x8a)").repeated(501)
                  + R"(\0\0\0\n\0\0\0\xe\0h\0u\0n\0t\0\x65\0r\0\x32))" + '\n');
    write(u"rdm.json"_s, R"({"wifi":{"password":"hunter2","account":{"pin":"hunter2","a":1}}})");
    write(u"damaged.json"_s, R"({"wifi":{"password":"hunter2)");
    write(u"wrong.json"_s,
          R"({"snapshot":1,"layers":[],"changes":[],"settings":[{"group":"wifi",)"
          R"("key":"password","value":"hunter2","type":7}],"wifi":"hunter2"})");
    const QByteArray value = R"("value":"hunter2","type":"QString","redacted":null,)"
                             R"("origin":"Rdm","file":null,"overridden":[]})";
    write(u"s.json"_s,
          R"({"snapshot":1,"layers":[],"settings":[{"group":"wifi","key":"password",)" + value
                  + R"(,{"group":"wifi","key":"account","value":{"pin":"hunter2"},)"
                    R"("type":"QVariantMap","redacted":null,"origin":"Rdm","file":null,)"
                    R"("overridden":[]}],"changes":[{"number":1,"time":"","group":"wifi",)"
                    R"("key":"password",)"
                  + value + "]}");
    for (const auto columns : {std::optional<ushort>(), std::optional<ushort>(80)}) {
        if (columns && (options.contains("--json"_L1) || Terminal(80).name().isEmpty()))
            continue;
        const QString shown = run("tamsel-inspect "_L1 + options, {}, columns);
        QVERIFY2(!shown.isEmpty(), "nothing is shown");
        QVERIFY2(!shown.contains("hunter2"_L1), qUtf8Printable(shown));
    }
}

// Files of random lines: the tool warns of those that QSettings, in any version of Qt, reports as
// damaged.
void tst_Inspect::linesAreSplitAsQSettingsDoes()
{
    static const QByteArrayList pieces{"[", "]",  "\"", "=",  ";", "\\", "\n",  "\r",
                                       " ", "\t", "a",  "b=", "#", ",",  "[u]", "\n"};
    QRandomGenerator random(1);
    int damaged = 0;
    for (int i = 0; i < 2000; ++i) {
        QByteArray contents;
        for (int length = random.bounded(20); length > 0; --length)
            contents += pieces.at(random.bounded(int(pieces.size())));
        const QString name = u"%1.conf"_s.arg(i);
        write(name, contents);
        bool isFine = true;
        {
            const QSettings settings(path(name), QSettings::IniFormat);
            (void)settings.allKeys(); // reads the file
            isFine = settings.status() == QSettings::NoError;
        }
        // Under another name, because QSettings remembers what it has parsed.
        write(u"again-"_s + name, contents);
        const IniFile file(path(u"again-"_s + name));
        const QByteArray shown = contents.toPercentEncoding("[]\"=;\\ ,#");
        const QStringList certain
                = file.warnings().filter(QRegularExpression(u"^(?!.*for which)"_s));
        QVERIFY2(isFine ? certain.isEmpty() : !file.warnings().isEmpty(), shown.constData());
        QVERIFY2(file.warnings().filter(u", line "_s) == file.warnings(), shown.constData());
        damaged += isFine ? 0 : 1;
    }
    QVERIFY(damaged > 400 && damaged < 1600);
}

void tst_Inspect::deeplyNestedValuesAreTrouble_data()
{
    QTest::addColumn<QByteArray>("level");

    QTest::newRow("lists") << R"(\0\0\0\t\0\0\0\x1)"_ba;
    QTest::newRow("maps") << R"(\0\0\0\b\0\0\0\x1\0\0\0\x2\0k)"_ba;
    QTest::newRow("hashes") << R"(\0\0\0\x1c\0\0\0\x1\0\0\0\x2\0k)"_ba;
    QTest::newRow("values") << R"(\0\0\0\x8a)"_ba;
}

// On a usual stack QSettings would end the program.
void tst_Inspect::deeplyNestedValuesAreTrouble()
{
    QFETCH(const QByteArray, level);

    const auto nested = [&level](qsizetype levels) -> QByteArray {
        return "[deep]\nvalue=@Variant(" + level.repeated(levels) + R"(\0\0\0\x2\0\0\0\x1))" + '\n';
    };
    const QString message = u"! tamsel-inspect: box/custom.conf: the value of deep/value is nested "
                            u"%1 levels deep, "
                            "and more than 500 can end a program that reads it\n[2]\n"_s;
    write(u"box/custom.conf"_s, nested(30'000));
    QCOMPARE(run(u"tamsel-inspect"_s), message.arg(30'000));
    QCOMPARE(run(u"tamsel-inspect --json --diff box"_s), message.arg(30'000));
    // An entry with an empty part cannot be read. The tool must still not end.
    write(u"box/custom.conf"_s, nested(30'000).replace("value", "\\value"));
    QCOMPARE(run(u"tamsel-inspect --get ui/lang"_s), u"de\n"_s);
    write(u"box/custom.conf"_s, nested(30'000).replace("@Variant", "\\x40Variant"));
    QCOMPARE(run(u"tamsel-inspect"_s), message.arg(30'000));
    write(u"box/custom.conf"_s, nested(501));
    QCOMPARE(run(u"tamsel-inspect"_s), message.arg(501));
    write(u"box/custom.conf"_s, nested(500));
    QCOMPARE(run(u"tamsel-inspect > /dev/null"_s), QString());
    write(u"box/custom.conf"_s, nested(10));
    QCOMPARE(run(u"tamsel-inspect --json > /dev/null"_s), QString());
}

// A text cannot nest values, so a large one needs no large stack.
void tst_Inspect::aLargeTextNeedsNoLargeStack()
{
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__)
    const QString limit = u"ulimit -v 1000000; "_s; // kilobytes
#else
    const QString limit; // an emulator or sanitizer needs more by itself
#endif
    write(u"box/custom.conf"_s, "[ui]\nlogo=" + QByteArray(8'000'000, 'x') + '\n');
    QCOMPARE(run(limit + u"tamsel-inspect --get ui/logo | wc -c"_s), u"8000001\n"_s);
}

QTEST_GUILESS_MAIN(tst_Inspect)
#include "tst_inspect.moc"

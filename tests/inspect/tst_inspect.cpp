// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "program.h"
#include "skip.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using tamsel::tests::ProgramResult;
using tamsel::tests::ProgramSurroundings;

namespace {

QByteArray contentsOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "unreadable"_ba;
}

// Every file and directory below directory with its bytes, and when it was changed last.
QStringList inventoryOf(const QString &directory)
{
    QStringList result;
    QDirIterator files(directory, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QFileInfo info(file);
        const QString contents
                = info.isFile() ? QString::fromLatin1(contentsOf(file).toHex()) : QString();
        result.append(u"%1 %2 %3"_s.arg(
                file, info.lastModified().toUTC().toString(Qt::ISODateWithMs), contents));
    }
    result.sort();
    return result;
}

QJsonObject objectOf(const QString &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    return error.error == QJsonParseError::NoError ? document.object() : QJsonObject();
}

// The JSON of a test, written as it is easiest to read.
QJsonObject json(const char *text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("the test's own JSON, at %d: %s", error.offset, qPrintable(error.errorString()));
    return document.object();
}

// A terminal that a program can write to. It takes little: nobody reads until the program ends.
class Terminal
{
public:
    explicit Terminal(ushort columns) : m_screen(posix_openpt(O_RDWR | O_NOCTTY))
    {
        std::array<char, 64> name{};
        if (m_screen < 0 || grantpt(m_screen) != 0 || unlockpt(m_screen) != 0
            || ptsname_r(m_screen, name.data(), name.size()) != 0)
            return;
        m_name = QFile::decodeName(name.data());
        // Kept open: what was written is lost with the last one who has it open.
        m_keyboard = open(name.data(), O_RDWR | O_NOCTTY);
        const winsize size{24, columns, 0, 0};
        ioctl(m_screen, TIOCSWINSZ, &size);
        fcntl(m_screen, F_SETFL, O_NONBLOCK);
    }
    ~Terminal()
    {
        close(m_keyboard);
        close(m_screen);
    }
    QString name() const { return m_name; }
    QString text() const
    {
        QByteArray result;
        std::array<char, 1024> buffer{};
        for (ssize_t size = 1; size > 0;) {
            size = read(m_screen, buffer.data(), buffer.size());
            result.append(buffer.data(), std::max<ssize_t>(size, 0));
        }
        return QString::fromUtf8(result).remove(u'\r');
    }

private:
    Q_DISABLE_COPY_MOVE(Terminal)

    const int m_screen;
    int m_keyboard = -1;
    QString m_name;
};

const QStringList wholeBox{// clazy:exclude=non-pod-global-static
                           u"--storage"_s, u"box/"_s, u"--assets"_s, u"assets/"_s};

} // namespace

class tst_Inspect : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void aRowShowsASettingAndWhatItHides();
    void everyLayerHasItsPlace();
    void theCommandLineWinsOverTheJsonFile();
    void valuesOfEachTypeAreShown();
    void entriesThatNobodyReadsAreMarked();
    void entriesWithAnEmptyPartAreLost();
    void theOnlyEntryOfAFileIsSeenAlthoughInvalid();
    void valuesCannotSteerTheTerminal();
    void oneLongValueLeavesOtherLinesShort();
    void patternsChooseRows_data();
    void patternsChooseRows();
    void aFreshBoxHasOnlyDefaults();
    void whereNothingIsFoundIsSaid_data();
    void whereNothingIsFoundIsSaid();
    void directoriesNeedNoSlash();

    void anExplanationWalksThroughAllLayers();
    void anExplanationSumsUp_data();
    void anExplanationSumsUp();

    void aDifferenceIsWhatReadersSee();
    void aDifferenceKeepsToThePatterns();
    void aDifferenceOfNothingIsSaid();

    void jsonOfTheTable();
    void jsonOfUnreadableEntries();
    void jsonOfAnExplanation();
    void jsonOfADifference();

    void aTerminalGetsFramesAndColours();
    void aTerminalWithoutColours_data();
    void aTerminalWithoutColours();
    void theWidthFollowsTheTerminal_data();
    void theWidthFollowsTheTerminal();

    void troubleIsOneLineAndExitCodeTwo_data();
    void troubleIsOneLineAndExitCodeTwo();
    void damagedFilesAreTrouble_data();
    void damagedFilesAreTrouble();
    void aDirectoryThatMayNotBeEnteredIsTrouble();
    void outputThatIsLostIsTrouble_data();
    void outputThatIsLostIsTrouble();
    void filesStayAsTheyAre_data();
    void filesStayAsTheyAre();
    void helpAndVersion();
    void theDocumentsShowRealOutput_data();
    void theDocumentsShowRealOutput();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    void write(const QString &name, const QByteArray &contents) const;
    ProgramResult run(const QStringList &arguments, ProgramSurroundings surroundings = {}) const;
    QString table(const QStringList &arguments) const;
    QString onTerminal(const Terminal &terminal, const QStringList &arguments,
                       ProgramSurroundings surroundings = {}) const;

    std::optional<QTemporaryDir> m_directory;
};

void tst_Inspect::init()
{
    m_directory.emplace();
    write(u"box/custom.conf"_s, "[ui]\nlang=en\n");
    write(u"box/selvi.db"_s, "[ui]\nlang=de\n[profile]\nname=family\n");
    write(u"assets/ravona.conf"_s, "[ui]\nlang=ru\ntheme=light\n");
}

void tst_Inspect::cleanup()
{
    m_directory.reset();
}

void tst_Inspect::write(const QString &name, const QByteArray &contents) const
{
    QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(contents), contents.size());
}

ProgramResult tst_Inspect::run(const QStringList &arguments, ProgramSurroundings surroundings) const
{
    surroundings.directory = m_directory->path();
    return tamsel::tests::runProgram(QStringLiteral(TAMSEL_INSPECT), arguments, surroundings);
}

// What the tool prints about the whole box, if it is content.
QString tst_Inspect::table(const QStringList &arguments) const
{
    const ProgramResult result = run(wholeBox + arguments);
    if (result.end != "exit 0"_L1 || !result.errors.isEmpty())
        return result.end + u'\n' + result.errors;
    return u'\n' + result.output;
}

QString tst_Inspect::onTerminal(const Terminal &terminal, const QStringList &arguments,
                                ProgramSurroundings surroundings) const
{
    surroundings.outputFile = terminal.name();
    const ProgramResult result = run(wholeBox + arguments, surroundings);
    if (result.end != "exit 0"_L1)
        return result.end + u'\n' + result.errors;
    return u'\n' + terminal.text();
}

void tst_Inspect::aRowShowsASettingAndWhatItHides()
{
    QCOMPARE(table({}), uR"(
group    key    value     type     answered by           hides
profile  name   'family'  QString  SelviDb               -
ui       lang   'en'      QString  CustomConfPersistent  SelviDb 'de', RavonaConfDefault 'ru'
ui       theme  'light'   QString  RavonaConfDefault     -
)"_s);
}

void tst_Inspect::everyLayerHasItsPlace()
{
    write(u"rdm.json"_s, R"({"ui":{"lang":"Rdm's"}})");
    write(u"features.json"_s, R"({"ui":{"lang":"FeatureKeys's"}})");
    const QStringList sources{u"--rdm"_s,          u"rdm.json"_s,
                              u"--feature-keys"_s, u"features.json"_s,
                              u"--set"_s,          u"SystemProperties:ui/lang=SystemProperties's"_s,
                              u"--set"_s,          u"CommandLineArgs:ui/lang=CommandLineArgs's"_s};
    QCOMPARE(table(sources + QStringList{u"--set"_s, u"Runtime:ui/lang=Runtime's"_s, u"*lang"_s}),
             uR"(
group  key   value         type     answered by  hides
ui     lang  'Runtime\'s'  QString  Runtime      )"
             "Rdm 'Rdm\\'s', FeatureKeys 'FeatureKeys\\'s', SystemProperties "
             "'SystemProperties\\'s', CommandLineArgs 'CommandLineArgs\\'s', "
             "CustomConfPersistent 'en', SelviDb 'de', RavonaConfDefault 'ru'\n"_s);
}

void tst_Inspect::theCommandLineWinsOverTheJsonFile()
{
    write(u"rdm.json"_s, R"({"net":{"server":"north","timeout":20},"ui":{"lang":"fi"}})");
    QCOMPARE(table({u"--rdm=rdm.json"_s, u"--set=Rdm:net/server=south"_s,
                    u"--set=Rdm:net/server=west=1"_s, u"--set=Rdm:new/a/b="_s, u"n*"_s}),
             uR"(
group  key      value     type       answered by  hides
net    server   'west=1'  QString    Rdm          -
net    timeout  20        qlonglong  Rdm          -
new    a/b      ''        QString    Rdm          -
)"_s);
}

void tst_Inspect::valuesOfEachTypeAreShown()
{
    write(u"box/selvi.db"_s,
          "[t]\nbytes=@ByteArray(ab)\nempty=\ninvalid=@Invalid()\nlist=a, \"b,c\"\n"
          "size=@Size(4 3)\ntext=\" it's \\\\ \"\n");
    write(u"assets/ravona.conf"_s, "[t]\ninvalid=hidden\n");
    write(u"rdm.json"_s,
          R"({"r":{"bool":true,"int":7,"list":[1,"a"],"map":{"a":null},)"
          R"("null":null,"real":0.5}})");
    QCOMPARE(table({u"--rdm=rdm.json"_s, u"?/*"_s}), uR"(
group  key      value                         type            answered by  hides
r      bool     true                          bool            Rdm          -
r      int      7                             qlonglong       Rdm          -
r      list     [1,"a"]                       QVariantList    Rdm          -
r      map      {"a":null}                    QVariantMap     Rdm          -
r      null     null                          std::nullptr_t  Rdm          -
r      real     0.5                           double          Rdm          -
t      bytes    'ab'                          QByteArray      SelviDb      -
t      empty    ''                            QString         SelviDb      -
t      invalid  (invalid)                     -               SelviDb      RavonaConfDefault 'hidden'
t      list     ['a', 'b,c']                  QStringList     SelviDb      -
t      size     QVariant(QSize, QSize(4, 3))  QSize           SelviDb      -
t      text     ' it\'s \\ '                  QString         SelviDb      -
)"_s);
}

void tst_Inspect::entriesThatNobodyReadsAreMarked()
{
    write(u"box/custom.conf"_s, "[General]\ntop=1\n[a]\nx\\c=2\ny\\c=3\nc=4\n[b]\nx\\y\\d=5\n");
    write(u"box/selvi.db"_s, "[b]\nz\\d=6\n");
    // Readers get each of them by another name, which has a row too.
    QCOMPARE(table({u"a/*"_s, u"b/*"_s, u"*top"_s}), uR"(
group  key    value  type     answered by           hides
       top    '1'    QString  CustomConfPersistent  -
a      c      '4'    QString  CustomConfPersistent  CustomConfPersistent '2' as 'a/x/c', CustomConfPersistent '3' as 'a/y/c'
a      x/c    '2'    QString  CustomConfPersistent  -
a      y/c    '3'    QString  CustomConfPersistent  -
b      d      -      -        ! nobody              CustomConfPersistent '5' as 'b/x/y/d', SelviDb '6' as 'b/z/d'
b      x/y/d  '5'    QString  CustomConfPersistent  -
b      z/d    '6'    QString  SelviDb               -
top    top    -      -        ! nobody              CustomConfPersistent '1' as 'top'
)"_s);
}

void tst_Inspect::entriesWithAnEmptyPartAreLost()
{
    // An empty name is not lost: it is read as group "", key "".
    write(u"box/custom.conf"_s, "=none\n[General]\nx=1\n[]\nx=2\n[a]\n=3\n");
    QCOMPARE(table({u"a/*"_s, u"/*"_s}), uR"(
group  key  value   type     answered by           hides
            'none'  QString  CustomConfPersistent  -
       x    '1'     QString  CustomConfPersistent  CustomConfPersistent (cannot be read) as '/x'
a           -       -        ! nobody              CustomConfPersistent (cannot be read) as 'a/'
)"_s);
}

void tst_Inspect::theOnlyEntryOfAFileIsSeenAlthoughInvalid()
{
    write(u"box/custom.conf"_s, "[ui]\nlost=@Invalid()\n");
    QCOMPARE(table({u"ui/lost"_s}), uR"(
group  key   value      type  answered by           hides
ui     lost  (invalid)  -     CustomConfPersistent  -
)"_s);
}

void tst_Inspect::valuesCannotSteerTheTerminal()
{
    write(u"box/custom.conf"_s,
          "[ui]\nlang=\"a\\n\\t\\r\\x1b[31m\\x202e\\x85\\x2028\"\n%0A%1B=1\n");
    QCOMPARE(table({u"--set"_s, u"Runtime:g\x1b/k\n=v"_s, u"*/[!nt]*"_s}), uR"(
group    key       value                                  type     answered by           hides
g\u001b  k\n       'v'                                    QString  Runtime               -
ui       \n\u001b  '1'                                    QString  CustomConfPersistent  -
ui       lang      'a\n\t\r\u001b[31m\u202e\u0085\u2028'  QString  CustomConfPersistent  SelviDb 'de', RavonaConfDefault 'ru'
)"_s);
}

void tst_Inspect::oneLongValueLeavesOtherLinesShort()
{
    const QString longText(200, u'x');
    QCOMPARE(table({u"--set"_s, u"Runtime:ui/lang="_s + longText, u"ui/*"_s}),
             u"\ngroup  key    value" + QString(57, u' ')
                     + u"type     answered by        hides\n"
                       "ui     lang   '"
                     + longText
                     + u"'  QString  Runtime            "
                       "CustomConfPersistent 'en', SelviDb 'de', RavonaConfDefault 'ru'\n"
                       "ui     theme  'light'"
                     + QString(55, u' ') + u"QString  RavonaConfDefault  -\n");
}

void tst_Inspect::patternsChooseRows_data()
{
    QTest::addColumn<QStringList>("patterns");
    QTest::addColumn<QStringList>("names");

    const QString lang = u"ui/lang"_s;
    const QString name = u"profile/name"_s;
    const QString theme = u"ui/theme"_s;
    QTest::newRow("none") << QStringList() << QStringList{name, lang, theme};
    QTest::newRow("a whole name") << QStringList{lang} << QStringList{lang};
    QTest::newRow("a group") << QStringList{u"ui/*"_s} << QStringList{lang, theme};
    QTest::newRow("a star across the slash") << QStringList{u"*me"_s} << QStringList{name, theme};
    QTest::newRow("a question mark for the slash")
            << QStringList{u"ui?lang"_s} << QStringList{lang};
    QTest::newRow("a set") << QStringList{u"ui/[lx]ang"_s} << QStringList{lang};
    QTest::newRow("two") << QStringList{u"ui/t*"_s, u"profile/*"_s} << QStringList{name, theme};
    QTest::newRow("a dot is a dot") << QStringList{u"ui.lang"_s, u"*name"_s} << QStringList{name};
}

void tst_Inspect::patternsChooseRows()
{
    QFETCH(const QStringList, patterns);
    QFETCH(const QStringList, names);

    const ProgramResult result = run(wholeBox + QStringList(u"--json"_s) + patterns);
    QStringList shown;
    const QJsonArray settings = objectOf(result.output)[u"settings"_s].toArray();
    for (const auto &setting : settings)
        shown.append(setting[u"group"_s].toString() + u'/' + setting[u"key"_s].toString());
    QCOMPARE(shown, names);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Inspect::aFreshBoxHasOnlyDefaults()
{
    QVERIFY(QFile::remove(path(u"box/custom.conf"_s)));
    QVERIFY(QFile::remove(path(u"box/selvi.db"_s)));
    QCOMPARE(table({}), uR"(
group  key    value    type     answered by        hides
ui     lang   'ru'     QString  RavonaConfDefault  -
ui     theme  'light'  QString  RavonaConfDefault  -
)"_s);
    QCOMPARE(QDir(path(u"box"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList());
}

void tst_Inspect::whereNothingIsFoundIsSaid_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");

    const QString nothing;
    const QString noMatch = u"tamsel-inspect: no setting matches\n"_s;
    const QString noSetting = u"tamsel-inspect: no layer holds any setting\n"_s;
    QTest::newRow("pattern") << QStringList{u"ui"_s} << nothing << noMatch;
    QTest::newRow("case") << QStringList{u"ui/LANG"_s} << nothing << noMatch;
    QTest::newRow("JSON") << QStringList{u"--json"_s, u"ui"_s}
                          << u"{\n    \"settings\": [\n    ]\n}\n"_s << noMatch;
    QTest::newRow("empty files") << QStringList() << nothing << noSetting;
}

void tst_Inspect::whereNothingIsFoundIsSaid()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, output);
    QFETCH(const QString, errors);

    write(u"empty/ravona.conf"_s, "");
    const QStringList box
            = arguments.isEmpty() ? QStringList{u"--storage=."_s, u"--assets=empty"_s} : wholeBox;
    const ProgramResult result = run(box + arguments);
    QCOMPARE(result.errors, errors);
    QCOMPARE(result.output, output);
    QCOMPARE(result.end, u"exit 1"_s);
}

void tst_Inspect::directoriesNeedNoSlash()
{
    const ProgramResult slashes = run(wholeBox);
    const ProgramResult none = run({u"--storage"_s, u"box"_s, u"--assets"_s, u"assets"_s});
    QCOMPARE(none.output, slashes.output);
    QCOMPARE(none.end, u"exit 0"_s);
}

void tst_Inspect::anExplanationWalksThroughAllLayers()
{
    write(u"features.json"_s, "{}");
    QVERIFY(QFile::remove(path(u"box/selvi.db"_s)));
    QCOMPARE(table({u"--set=Rdm:ui/lang=fi"_s, u"--feature-keys=features.json"_s,
                    u"--explain=ui/lang"_s}),
             uR"(
rank  layer                 state    value  type     stands in
0     Runtime               absent   -      -        -
1     Rdm                   answers  'fi'   QString  --set
2     FeatureKeys           absent   -      -        features.json
3     SystemProperties      absent   -      -        -
4     CommandLineArgs       absent   -      -        -
5     CustomConfPersistent  hidden   'en'   QString  box/custom.conf
6     SelviDb               absent   -      -        box/selvi.db (no such file)
7     RavonaConfDefault     hidden   'ru'   QString  assets/ravona.conf
ui/lang is 'fi', from Rdm (--set); hides 'en' from CustomConfPersistent, 'ru' from RavonaConfDefault
)"_s);
}

void tst_Inspect::anExplanationSumsUp_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QString>("end");

    QTest::newRow("hides")
            << u"ui/lang"_s
            << u"ui/lang is 'en', from CustomConfPersistent (box/custom.conf); hides "
               "'de' from SelviDb, 'ru' from RavonaConfDefault"_s
            << u"exit 0"_s;
    QTest::newRow("hides nothing")
            << u"ui/theme"_s
            << u"ui/theme is 'light', from RavonaConfDefault (assets/ravona.conf); hides nothing"_s
            << u"exit 0"_s;
    QTest::newRow("a fixed map") << u"net/port"_s
                                 << u"net/port is 80, from Rdm (rdm.json); hides nothing"_s
                                 << u"exit 0"_s;
    QTest::newRow("nobody") << u"ui/none"_s << u"ui/none is held by no layer"_s << u"exit 1"_s;
    QTest::newRow("an entry that is too deep")
            << u"deep/c"_s
            << u"deep/c is held by no layer; SelviDb (box/selvi.db) lists the entry 'deep/b/c' as "
               "this setting, but it is read as group 'deep', key 'b/c'"_s
            << u"exit 1"_s;
    QTest::newRow("an entry without a group")
            << u"top/top"_s
            << u"top/top is held by no layer; SelviDb (box/selvi.db) lists the entry 'top' as this "
               "setting, but it is read as group '', key 'top'"_s
            << u"exit 1"_s;
    QTest::newRow("an entry that is lost")
            << u"deep/"_s
            << u"deep/ is held by no layer; SelviDb (box/selvi.db) lists the entry 'deep/' as this "
               "setting, but it cannot be read"_s
            << u"exit 1"_s;
    QTest::newRow("an entry that is lost in the middle")
            << u"deep/z"_s
            << u"deep/z is held by no layer; SelviDb (box/selvi.db) lists the entry 'deep//z' as "
               "this setting, but it cannot be read"_s
            << u"exit 1"_s;
    QTest::newRow("as it is read")
            << u"deep/b/c"_s << u"deep/b/c is '1', from SelviDb (box/selvi.db); hides nothing"_s
            << u"exit 0"_s;
    QTest::newRow("as it is read, without a group")
            << u"/top"_s << u"/top is '2', from SelviDb (box/selvi.db); hides nothing"_s
            << u"exit 0"_s;
}

void tst_Inspect::anExplanationSumsUp()
{
    QFETCH(const QString, name);
    QFETCH(const QString, summary);
    QFETCH(const QString, end);

    write(u"box/selvi.db"_s, "[General]\ntop=2\n[ui]\nlang=de\n[deep]\nb\\c=1\n=3\n\\z=4\n");
    write(u"rdm.json"_s, R"({"net":{"port":80}})");
    const ProgramResult result
            = run(wholeBox + QStringList{u"--rdm=rdm.json"_s, u"--explain"_s, name});
    QCOMPARE(result.output.section(u'\n', -2, -2), summary);
    QCOMPARE(result.output.count(u'\n'), 10);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, end);
}

void tst_Inspect::aDifferenceIsWhatReadersSee()
{
    write(u"box/custom.conf"_s, "[ui]\nlang=en\nsame=1\ngone=2\nhidden=3\nmoved=4\ntheme=dark\n");
    write(u"other/custom.conf"_s, "[ui]\nlang=fr\nsame=1\nhidden=33\nnew=5\n");
    write(u"other/selvi.db"_s, "[ui]\nmoved=4\n[profile]\nname=guest\n");
    const ProgramResult result
            = run(wholeBox + QStringList{u"--set=Runtime:ui/hidden=r"_s, u"--diff=other"_s});
    // Equal values from another layer are no change for a reader, nor are hidden ones.
    QCOMPARE(u'\n' + result.output, uR"(
change   group    key    old value  old layer             new value  new layer
changed  profile  name   'family'   SelviDb               'guest'    SelviDb
removed  ui       gone   '2'        CustomConfPersistent  -          -
changed  ui       lang   'en'       CustomConfPersistent  'fr'       CustomConfPersistent
added    ui       new    -          -                     '5'        CustomConfPersistent
changed  ui       theme  'dark'     CustomConfPersistent  'light'    RavonaConfDefault
)"_s);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, u"exit 1"_s);

    // By the names that readers use: the layers list other ones.
    write(u"box/selvi.db"_s, "[General]\ntop=1\n[ui]\na\\b=1\n[profile]\nname=guest\n");
    write(u"other/selvi.db"_s, "[General]\ntop=2\n[profile]\nname=guest\n");
    const ProgramResult deep
            = run(wholeBox + QStringList{u"--diff=other"_s, u"*top"_s, u"*b"_s, u"profile/*"_s});
    QCOMPARE(u'\n' + deep.output, uR"(
change   group  key  old value  old layer  new value  new layer
changed         top  '1'        SelviDb    '2'        SelviDb
removed  ui     a/b  '1'        SelviDb    -          -
)"_s);
}

void tst_Inspect::aDifferenceKeepsToThePatterns()
{
    write(u"other/custom.conf"_s, "[ui]\nlang=fr\nnew=5\n");
    write(u"other/selvi.db"_s, "[profile]\nname=guest\n");
    const ProgramResult some = run(wholeBox + QStringList{u"--diff=other"_s, u"*/n*"_s});
    QCOMPARE(u'\n' + some.output, uR"(
change   group    key   old value  old layer  new value  new layer
changed  profile  name  'family'   SelviDb    'guest'    SelviDb
added    ui       new   -          -          '5'        CustomConfPersistent
)"_s);
}

void tst_Inspect::aDifferenceOfNothingIsSaid()
{
    QCOMPARE(table({u"--diff"_s, u"box"_s}), u"\nno reader would see a difference\n"_s);
    QCOMPARE(objectOf(table({u"--diff"_s, u"box"_s, u"--json"_s})),
             json(R"({"added":[],"changed":[],"removed":[]})"));
}

void tst_Inspect::jsonOfTheTable()
{
    write(u"rdm.json"_s, R"({"net":{"port":80,"on":true,"list":["a"],"map":{"k":1},"null":null}})");
    const ProgramResult result
            = run(wholeBox
                  + QStringList{u"--json"_s, u"--rdm=rdm.json"_s, u"--set=Rdm:net/s=x"_s,
                                u"ui/lang"_s, u"net/*"_s});
    QCOMPARE(objectOf(result.output), json(R"({"settings":[
        {"group":"net","key":"list","value":["a"],"type":"QVariantList","layer":"Rdm",
         "file":"rdm.json","hidden":[],"hiddenEverywhere":false},
        {"group":"net","key":"map","value":{"k":1},"type":"QVariantMap","layer":"Rdm",
         "file":"rdm.json","hidden":[],"hiddenEverywhere":false},
        {"group":"net","key":"null","value":null,"type":"std::nullptr_t","layer":"Rdm",
         "file":"rdm.json","hidden":[],"hiddenEverywhere":false},
        {"group":"net","key":"on","value":true,"type":"bool","layer":"Rdm",
         "file":"rdm.json","hidden":[],"hiddenEverywhere":false},
        {"group":"net","key":"port","value":80,"type":"qlonglong","layer":"Rdm",
         "file":"rdm.json","hidden":[],"hiddenEverywhere":false},
        {"group":"net","key":"s","value":"x","type":"QString","layer":"Rdm",
         "file":null,"hidden":[],"hiddenEverywhere":false},
        {"group":"ui","key":"lang","value":"en","type":"QString","layer":"CustomConfPersistent",
         "file":"box/custom.conf","hidden":[
            {"layer":"SelviDb","value":"de","type":"QString","file":"box/selvi.db","entry":null},
            {"layer":"RavonaConfDefault","value":"ru","type":"QString",
             "file":"assets/ravona.conf","entry":null}],"hiddenEverywhere":false}]})"));
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Inspect::jsonOfUnreadableEntries()
{
    write(u"box/custom.conf"_s, "[a]\nb\\c=1\n\\d=2\ninvalid=@Invalid()\nsize=@Size(4 3)\n");
    QCOMPARE(objectOf(run(wholeBox + QStringList{u"--json"_s, u"a/*"_s}).output),
             json(R"json({"settings":[
        {"group":"a","key":"b/c","value":"1","type":"QString","layer":"CustomConfPersistent",
         "file":"box/custom.conf","hidden":[],"hiddenEverywhere":false},
        {"group":"a","key":"c","value":null,"type":null,"layer":null,"file":null,"hidden":[
            {"layer":"CustomConfPersistent","value":"1","type":"QString","file":"box/custom.conf",
             "entry":"a/b/c"}],"hiddenEverywhere":true},
        {"group":"a","key":"d","value":null,"type":null,"layer":null,"file":null,"hidden":[
            {"layer":"CustomConfPersistent","value":null,"type":null,"file":"box/custom.conf",
             "entry":"a/\/d"}],"hiddenEverywhere":true},
        {"group":"a","key":"invalid","value":null,"type":null,"layer":"CustomConfPersistent",
         "file":"box/custom.conf","hidden":[],"hiddenEverywhere":false},
        {"group":"a","key":"size","value":"QVariant(QSize, QSize(4, 3))","type":"QSize",
         "layer":"CustomConfPersistent","file":"box/custom.conf","hidden":[],
         "hiddenEverywhere":false}]})json"));
}

void tst_Inspect::jsonOfAnExplanation()
{
    write(u"box/custom.conf"_s, "[ui]\nx\\lang=1\n");
    QVERIFY(QFile::remove(path(u"box/selvi.db"_s)));
    const ProgramResult result
            = run(wholeBox
                  + QStringList{u"--json"_s, u"--explain=ui/lang"_s, u"--set=Runtime:ui/lang=r"_s});
    QCOMPARE(objectOf(result.output), json(R"({"group":"ui","key":"lang","layers":[
        {"rank":0,"layer":"Runtime","present":true,"answers":true,"value":"r","type":"QString",
         "file":null,"fileExists":false},
        {"rank":1,"layer":"Rdm","present":false,"answers":false,"value":null,"type":null,
         "file":null,"fileExists":false},
        {"rank":2,"layer":"FeatureKeys","present":false,"answers":false,"value":null,"type":null,
         "file":null,"fileExists":false},
        {"rank":3,"layer":"SystemProperties","present":false,"answers":false,"value":null,
         "type":null,"file":null,"fileExists":false},
        {"rank":4,"layer":"CommandLineArgs","present":false,"answers":false,"value":null,
         "type":null,"file":null,"fileExists":false},
        {"rank":5,"layer":"CustomConfPersistent","present":false,"answers":false,"value":null,
         "type":null,"file":"box/custom.conf","fileExists":true},
        {"rank":6,"layer":"SelviDb","present":false,"answers":false,"value":null,"type":null,
         "file":"box/selvi.db","fileExists":false},
        {"rank":7,"layer":"RavonaConfDefault","present":true,"answers":false,"value":"ru",
         "type":"QString","file":"assets/ravona.conf","fileExists":true}],
        "unreadable":[{"layer":"CustomConfPersistent","value":"1","type":"QString",
                       "file":"box/custom.conf","entry":"ui/x/lang"}],
        "summary":"ui/lang is 'r', from Runtime (--set); hides 'ru' from RavonaConfDefault; CustomConfPersistent (box/custom.conf) lists the entry 'ui/x/lang' as this setting, but it is read as group 'ui', key 'x/lang'"})"));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_Inspect::jsonOfADifference()
{
    write(u"other/selvi.db"_s, "[new]\nn=1\n[ui]\nlang=de\n");
    const ProgramResult result = run(wholeBox + QStringList{u"--json"_s, u"--diff=other"_s});
    QCOMPARE(objectOf(result.output), json(R"({
        "added":[{"group":"new","key":"n","old":null,
            "new":{"layer":"SelviDb","value":"1","type":"QString","file":"other/selvi.db"}}],
        "removed":[{"group":"profile","key":"name","new":null,
            "old":{"layer":"SelviDb","value":"family","type":"QString","file":"box/selvi.db"}}],
        "changed":[{"group":"ui","key":"lang",
            "old":{"layer":"CustomConfPersistent","value":"en","type":"QString",
                   "file":"box/custom.conf"},
            "new":{"layer":"SelviDb","value":"de","type":"QString","file":"other/selvi.db"}}]})"));
    QCOMPARE(result.end, u"exit 1"_s);
}

void tst_Inspect::aTerminalGetsFramesAndColours()
{
    const Terminal terminal(120);
    if (terminal.name().isEmpty())
        SKIP_TEST("there are no terminals here");
    write(u"box/custom.conf"_s, "[ui]\na\\x=1\nlang=en\n");
    ProgramSurroundings colourful;
    colourful.environment.insert(u"TERM"_s, u"xterm"_s);
    colourful.environment.remove(u"NO_COLOR"_s);
    // The escape sequences stand as letters here: F faint, B bold, R red, 0 as before.
    const QString expected = uR"(
F┌───────┬──────┬───────┬─────────┬──────────────────────┬──────────────────────────────────────┐0
F│0 Bgroup0 F│0 Bkey 0 F│0 Bvalue0 F│0 Btype   0 F│0 Banswered by         0 F│0 Bhides                               0 F│0
F├───────┼──────┼───────┼─────────┼──────────────────────┼──────────────────────────────────────┤0
F│0 ui    F│0 lang F│0 'en'  F│0 QString F│0 CustomConfPersistent F│0 SelviDb 'de', RavonaConfDefault 'ru' F│0
F│0 Rui   0 F│0 Rx   0 F│0 R-    0 F│0 R-      0 F│0 R! nobody            0 F│0 RCustomConfPersistent '1' as 'ui/a/x'0 F│0
F└───────┴──────┴───────┴─────────┴──────────────────────┴──────────────────────────────────────┘0
)"_s;
    QString shown = onTerminal(terminal, {u"ui/[xl]*"_s}, colourful);
    shown.replace("\x1b[2m"_L1, "F"_L1)
            .replace("\x1b[1m"_L1, "B"_L1)
            .replace("\x1b[31m"_L1, "R"_L1)
            .replace("\x1b[0m"_L1, "0"_L1);
    QCOMPARE(shown, expected);
}

void tst_Inspect::aTerminalWithoutColours_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("value");

    QTest::newRow("option") << QStringList{u"--no-color"_s} << u"TERM"_s << u"xterm"_s;
    QTest::newRow("NO_COLOR") << QStringList() << u"NO_COLOR"_s << u"1"_s;
    QTest::newRow("dumb terminal") << QStringList() << u"TERM"_s << u"dumb"_s;
}

void tst_Inspect::aTerminalWithoutColours()
{
    QFETCH(const QStringList, options);
    QFETCH(const QString, variable);
    QFETCH(const QString, value);

    const Terminal terminal(100);
    if (terminal.name().isEmpty())
        SKIP_TEST("there are no terminals here");
    ProgramSurroundings surroundings;
    surroundings.environment.remove(u"NO_COLOR"_s);
    surroundings.environment.insert(variable, value);
    QCOMPARE(onTerminal(terminal, options + QStringList(u"ui/theme"_s), surroundings), uR"(
┌───────┬───────┬─────────┬─────────┬───────────────────┬───────┐
│ group │ key   │ value   │ type    │ answered by       │ hides │
├───────┼───────┼─────────┼─────────┼───────────────────┼───────┤
│ ui    │ theme │ 'light' │ QString │ RavonaConfDefault │ -     │
└───────┴───────┴─────────┴─────────┴───────────────────┴───────┘
)"_s);
}

void tst_Inspect::theWidthFollowsTheTerminal_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("table");

    QTest::newRow("wide") << 200 << uR"(
┌───────┬──────┬──────────────────────┬─────────┬──────────────────────┬──────────────────────────────────────┐
│ group │ key  │ value                │ type    │ answered by          │ hides                                │
├───────┼──────┼──────────────────────┼─────────┼──────────────────────┼──────────────────────────────────────┤
│ ui    │ lang │ '日本語日本語日本語' │ QString │ CustomConfPersistent │ SelviDb 'de', RavonaConfDefault 'ru' │
└───────┴──────┴──────────────────────┴─────────┴──────────────────────┴──────────────────────────────────────┘
)"_s;
    const QString usual = uR"(
┌───────┬──────┬──────────────┬─────────┬──────────────────────┬───────────────┐
│ group │ key  │ value        │ type    │ answered by          │ hides         │
├───────┼──────┼──────────────┼─────────┼──────────────────────┼───────────────┤
│ ui    │ lang │ '日本語日本… │ QString │ CustomConfPersistent │ SelviDb 'de'… │
└───────┴──────┴──────────────┴─────────┴──────────────────────┴───────────────┘
)"_s;
    QTest::newRow("usual") << 80 << usual;
    QTest::newRow("unknown") << 0 << usual;
    QTest::newRow("names give way last") << 60 << uR"(
┌───────┬──────┬──────────┬─────────┬───────────┬──────────┐
│ group │ key  │ value    │ type    │ answered… │ hides    │
├───────┼──────┼──────────┼─────────┼───────────┼──────────┤
│ ui    │ lang │ '日本語… │ QString │ CustomCo… │ SelviDb… │
└───────┴──────┴──────────┴─────────┴───────────┴──────────┘
)"_s;
    QTest::newRow("narrow") << 40 << uR"(
┌─────┬─────┬─────┬──────┬──────┬──────┐
│ gr… │ key │ va… │ type │ ans… │ hid… │
├─────┼─────┼─────┼──────┼──────┼──────┤
│ ui  │ la… │ '…  │ QSt… │ Cus… │ Sel… │
└─────┴─────┴─────┴──────┴──────┴──────┘
)"_s;
    QTest::newRow("too narrow") << 20 << uR"(
┌─────┬─────┬─────┬─────┬─────┬─────┐
│ gr… │ key │ va… │ ty… │ an… │ hi… │
├─────┼─────┼─────┼─────┼─────┼─────┤
│ ui  │ la… │ '…  │ QS… │ Cu… │ Se… │
└─────┴─────┴─────┴─────┴─────┴─────┘
)"_s;
}

void tst_Inspect::theWidthFollowsTheTerminal()
{
    QFETCH(const int, columns);
    QFETCH(const QString, table);

    write(u"box/custom.conf"_s, "[ui]\nlang=\"日本語日本語日本語\"\n");
    const Terminal terminal(static_cast<ushort>(columns));
    if (terminal.name().isEmpty())
        SKIP_TEST("there are no terminals here");
    QCOMPARE(onTerminal(terminal, {u"--no-color"_s, u"ui/lang"_s}), table);
}

void tst_Inspect::troubleIsOneLineAndExitCodeTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const QStringList &options, const QString &message) {
        QTest::newRow(name) << wholeBox + options << message;
    };
    for (const char *option : {"storage", "assets", "rdm", "feature-keys", "explain", "diff"}) {
        const QString name = QString::fromLatin1(option);
        const QString given = u"--%1=a/b"_s.arg(name);
        row(option, {given, given}, u"--%1 is given twice"_s.arg(name));
    }
    QTest::newRow("no storage") << QStringList{u"--assets=assets"_s}
                                << u"--storage DIR/ is needed; see --help"_s;
    QTest::newRow("no assets") << QStringList{u"--storage=box"_s}
                               << u"--assets DIR/ is needed; see --help"_s;
    QTest::newRow("empty storage")
            << QStringList{u"--storage="_s} << u"--storage: the name of the directory is empty"_s;
    row("empty difference", {u"--diff="_s}, u"--diff: the name of the directory is empty"_s);
    row("unknown option", {u"--bogus"_s}, u"Unknown option 'bogus'."_s);
    row("missing value", {u"--rdm"_s}, u"Missing value after '--rdm'."_s);
    row("empty file name", {u"--rdm="_s}, u"--rdm: the name of the file is empty"_s);
    QTest::newRow("missing storage") << QStringList{u"--storage=none"_s, u"--assets=assets"_s}
                                     << u"there is no directory none/"_s;
    QTest::newRow("missing assets") << QStringList{u"--storage=box"_s, u"--assets=none"_s}
                                    << u"there is no directory none/"_s;
    row("missing other storage", {u"--diff=none"_s}, u"there is no directory none/"_s);
    row("a newline in a name", {u"--diff=a\nb"_s}, u"there is no directory a\\nb/"_s);
    row("storage is a file", {u"--diff=rdm.json"_s}, u"there is no directory rdm.json/"_s);
    QTest::newRow("no defaults") << QStringList{u"--storage=box"_s, u"--assets=box"_s}
                                 << u"there is no file box/ravona.conf"_s;

    row("set nothing", {u"--set="_s}, u"--set '' is not LAYER:group/key=value"_s);
    row("set without a layer", {u"--set=ui/lang=en"_s},
        u"--set 'ui/lang=en' is not LAYER:group/key=value"_s);
    row("set without a group", {u"--set=Rdm:lang=en"_s},
        u"--set 'Rdm:lang=en' is not LAYER:group/key=value"_s);
    row("set with a slash in the value only", {u"--set=Rdm:lang=a/b"_s},
        u"--set 'Rdm:lang=a/b' is not LAYER:group/key=value"_s);
    row("set without a value", {u"--set=Rdm:ui/lang"_s},
        u"--set 'Rdm:ui/lang' is not LAYER:group/key=value"_s);
    row("set in no layer", {u"--set=rdm:ui/lang=en"_s},
        u"--set 'rdm:ui/lang=en': there is no layer 'rdm'"_s);
    for (const char *layer : {"CustomConfPersistent", "SelviDb", "RavonaConfDefault"}) {
        const QString name = QString::fromLatin1(layer);
        row(layer, {u"--set=%1:a/b=c"_s.arg(name)},
            u"--set '%1:a/b=c': the layer %1 is a file"_s.arg(name));
    }

    row("explain a group", {u"--explain=ui"_s}, u"--explain 'ui' is not group/key"_s);
    row("explain a pattern", {u"--explain=ui/lang"_s, u"ui/*"_s},
        u"--explain takes neither --diff nor a pattern"_s);
    row("explain a difference", {u"--explain=ui/lang"_s, u"--diff=box"_s},
        u"--explain takes neither --diff nor a pattern"_s);
    row("bad pattern", {u"ui/[a"_s}, u"'ui/[a' is not a pattern"_s);

    row("no map", {u"--rdm=none.json"_s}, u"cannot read none.json: No such file or directory"_s);
    row("a directory for a map", {u"--feature-keys=box"_s},
        u"cannot read box: it is a directory"_s);
    row("bad JSON", {u"--rdm=bad.json"_s},
        u"bad.json, line 3, is not JSON: missing name separator"_s);
    row("empty JSON", {u"--rdm=empty.json"_s}, u"empty.json, line 1, is not JSON: illegal value"_s);
    row("an array for a map", {u"--rdm=array.json"_s}, u"array.json holds no object of groups"_s);
    row("a text for a group", {u"--feature-keys=flat.json"_s},
        u"flat.json: the group 'ui' is no object of keys"_s);
}

void tst_Inspect::troubleIsOneLineAndExitCodeTwo()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);

    write(u"rdm.json"_s, "{}");
    write(u"bad.json"_s, "{\n\"ui\": {\n\"lang\" \"en\"}}");
    write(u"empty.json"_s, "");
    write(u"array.json"_s, "[]");
    write(u"flat.json"_s, R"({"a":{},"ui":"en"})");
    for (const QStringList &form : {QStringList(), QStringList(u"--json"_s)}) {
        const ProgramResult result = run(form + arguments);
        QCOMPARE(result.errors, u"tamsel-inspect: %1\n"_s.arg(message));
        QCOMPARE(result.output, QString());
        QCOMPARE(result.end, u"exit 2"_s);
    }
}

void tst_Inspect::damagedFilesAreTrouble_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("options");

    QTest::newRow("custom.conf") << u"box/custom.conf"_s << QStringList();
    QTest::newRow("selvi.db") << u"box/selvi.db"_s << QStringList();
    QTest::newRow("ravona.conf") << u"assets/ravona.conf"_s << QStringList();
    QTest::newRow("other storage") << u"other/custom.conf"_s << QStringList(u"--diff=other"_s);
    QTest::newRow("explained") << u"box/selvi.db"_s << QStringList(u"--explain=ui/lang"_s);
}

void tst_Inspect::damagedFilesAreTrouble()
{
    QFETCH(const QString, file);
    QFETCH(const QStringList, options);

    const auto expectTrouble = [&](const QString &message) {
        const ProgramResult result = run(wholeBox + options);
        QCOMPARE(result.errors, u"tamsel-inspect: %1\n"_s.arg(message));
        QCOMPARE(result.output, QString());
        QCOMPARE(result.end, u"exit 2"_s);
    };
    write(file, "[ui]\nlang=en\nnonsense\n");
    expectTrouble(u"%1 is malformed: it is not in the INI format"_s.arg(file));
    write(file, "[ui\n");
    expectTrouble(u"%1 is malformed: it is not in the INI format"_s.arg(file));

    QVERIFY(QFile::remove(path(file)));
    QVERIFY(QDir().mkpath(path(file)));
    expectTrouble(u"cannot read %1: it is not a regular file"_s.arg(file));

    QVERIFY(QDir().rmdir(path(file)));
    QVERIFY(QFile::link(u"nowhere"_s, path(file)));
    expectTrouble(u"cannot read %1: the link leads nowhere"_s.arg(file));
}

void tst_Inspect::aDirectoryThatMayNotBeEnteredIsTrouble()
{
    if (geteuid() == 0)
        SKIP_TEST("root may enter every directory");
    QVERIFY(QFile::setPermissions(path(u"box"_s), QFile::ReadOwner | QFile::WriteOwner));
    const ProgramResult result = run(wholeBox);
    QVERIFY(QFile::setPermissions(path(u"box"_s),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCOMPARE(result.errors, u"tamsel-inspect: cannot enter box/: permission denied\n"_s);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.end, u"exit 2"_s);
}

void tst_Inspect::outputThatIsLostIsTrouble_data()
{
    QTest::addColumn<QStringList>("options");

    QTest::newRow("table") << QStringList();
    QTest::newRow("explanation") << QStringList{u"--explain=ui/lang"_s};
    QTest::newRow("difference") << QStringList{u"--diff=other"_s};
    QTest::newRow("JSON") << QStringList{u"--json"_s};
    QTest::newRow("help") << QStringList{u"--help"_s};
    QTest::newRow("version") << QStringList{u"--version"_s};
}

void tst_Inspect::outputThatIsLostIsTrouble()
{
    QFETCH(const QStringList, options);

    QVERIFY(QDir().mkpath(path(u"other"_s)));
    if (!QFile::exists(u"/dev/full"_s))
        SKIP_TEST("there is no device that is always full");
    ProgramSurroundings surroundings;
    surroundings.outputFile = u"/dev/full"_s;
    const ProgramResult result = run(wholeBox + options, surroundings);
    QCOMPARE(result.errors,
             u"tamsel-inspect: cannot write to standard output: No space left on device\n"_s);
    QCOMPARE(result.end, u"exit 2"_s);
}

void tst_Inspect::filesStayAsTheyAre_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("end");

    const QString fine = u"exit 0"_s;
    QTest::newRow("table") << QStringList() << fine;
    QTest::newRow("values set") << QStringList{u"--set=Runtime:ui/lang=x"_s, u"--set=Rdm:a/b=c"_s,
                                               u"--set=SystemProperties:ui/lang=y"_s}
                                << fine;
    QTest::newRow("explanation") << QStringList{u"--explain=ui/lang"_s} << fine;
    QTest::newRow("difference") << QStringList{u"--diff=other"_s} << u"exit 1"_s;
    QTest::newRow("JSON") << QStringList{u"--json"_s, u"--rdm=rdm.json"_s} << fine;
    QTest::newRow("trouble") << QStringList{u"--rdm=none"_s} << u"exit 2"_s;
}

void tst_Inspect::filesStayAsTheyAre()
{
    QFETCH(const QStringList, options);
    QFETCH(const QString, end);

    // As QSettings would never write them.
    write(u"box/custom.conf"_s, "; a comment\r\n[ui]\r\nlang = en\nlang=fr\n\n[empty]\n[ui]\nz=1");
    write(u"rdm.json"_s, "{ }");
    QVERIFY(QDir().mkpath(path(u"other"_s))); // without files: none may appear
    QFile custom(path(u"box/custom.conf"_s));
    QVERIFY(custom.open(QIODevice::ReadWrite));
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1'000'000'000);
    QVERIFY(custom.setFileTime(longAgo, QFileDevice::FileModificationTime));
    custom.close();

    const QStringList before = inventoryOf(m_directory->path());
    QCOMPARE(before.size(), 7);
    QCOMPARE(run(wholeBox + options).end, end);
    QCOMPARE(inventoryOf(m_directory->path()), before);
}

void tst_Inspect::helpAndVersion()
{
    const ProgramResult version = run({u"--version"_s});
    QCOMPARE(version.output, u"tamsel-inspect " TAMSEL_VERSION "\n"_s);
    QCOMPARE(version.end, u"exit 0"_s);

    const ProgramResult help = run({u"--help"_s});
    QCOMPARE(help.end, u"exit 0"_s);
    QCOMPARE(help.errors, QString());
    for (const char *option :
         {"--storage <DIR/>", "--assets <DIR/>", "--rdm <FILE>", "--feature-keys <FILE>",
          "--set <LAYER:group/key=value>", "--explain <group/key>", "--diff <DIR/>", "--json",
          "--no-color", "[PATTERN ...]"})
        QVERIFY2(help.output.contains(QLatin1StringView(option)), option);
}

void tst_Inspect::theDocumentsShowRealOutput_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<int>("commands");

    QTest::newRow("README.md") << QStringLiteral(TAMSEL_TREE "/README.md") << 3;
    QTest::newRow("docs/inspect.md") << QStringLiteral(TAMSEL_TREE "/docs/inspect.md") << 3;
}

// Each "$ tamsel-inspect ..." of a code block, with what follows it.
void tst_Inspect::theDocumentsShowRealOutput()
{
    QFETCH(const QString, document);
    QFETCH(const int, commands);

    QVERIFY(QDir().mkpath(path(u"fresh"_s)));
    const QString text = QString::fromUtf8(contentsOf(document));
    static const QRegularExpression screen(u"^\\$ tamsel-inspect (.*)\n((?:(?!\\$ |```).*\n)*)"_s,
                                           QRegularExpression::MultilineOption);
    int found = 0;
    auto matches = screen.globalMatch(text);
    for (; matches.hasNext(); ++found) {
        const QRegularExpressionMatch match = matches.next();
        // Quotes are for the shell; no word has a blank in it.
        const QStringList arguments = match.captured(1).remove(u'\'').split(u' ');
        QCOMPARE(run(arguments).output, match.captured(2));
    }
    QCOMPARE(found, commands);
}

QTEST_GUILESS_MAIN(tst_Inspect)
#include "tst_inspect.moc"

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "program.h"

#include <QtCore/QObject>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;

namespace {

ProgramResult runHelper(const QStringList &arguments, const ProgramSurroundings &surroundings = {})
{
    return runProgram(QStringLiteral(COMMANDLINEHELPER), arguments, surroundings);
}

// The parts of a text between bars; none of an empty one.
QStringList parts(const QByteArray &text)
{
    return text.isEmpty() ? QStringList() : QString::fromUtf8(text).split(u'|');
}

// What the helper prints where every parse of its arguments gives these entries: "g/k = int(1)".
QString printed(const QStringList &entries)
{
    QString map;
    QString group;
    for (const QString &entry : entries) {
        if (const QString next = entry.section(u'/', 0, 0); next != group) {
            group = next;
            map += group + " is a QVariantMap\n"_L1;
        }
        map += entry + u'\n';
    }
    return "first:\n"_L1 + map + "second:\n"_L1 + map + "without arguments:\n"_L1;
}

QString refusal(const QString &option, const QString &text)
{
    return u"error: argument %1: invalid value: '%2'\n"_s.arg(option, text);
}

// Adds rows of what the helper is given and how it ends.
class Rows
{
public:
    Rows()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("errors");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("end");
    }
    static void parsed(const QByteArray &name, const QStringList &arguments,
                       const QStringList &entries)
    {
        QTest::newRow(name.constData())
                << arguments << QString() << printed(entries) << u"exit 0"_s;
    }
    // A bad option is Qt's business, a bad number is fatal.
    static void refused(const QByteArray &name, const QStringList &arguments, const QString &errors)
    {
        QTest::newRow(name.constData())
                << arguments << errors << QString()
                << (errors.startsWith("error"_L1) ? u"signal 6"_s : u"exit 1"_s);
    }
};

} // namespace

class tst_CommandLineArgs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsBecomeTheMap_data();
    void optionsBecomeTheMap() { runRow(); }
    void decimalNumbersOf32BitsAreAccepted_data();
    void decimalNumbersOf32BitsAreAccepted() { runRow(); }
    void anyOtherTextForANumberAborts_data();
    void anyOtherTextForANumberAborts() { runRow(); }
    void badOptionsEndTheProcess_data();
    void badOptionsEndTheProcess() { runRow(); }
    void versionIsTheHosts_data();
    void versionIsTheHosts() { runRow(); }
    void helpListsTheOptionsBehindQts_data();
    void helpListsTheOptionsBehindQts();
    void theFatalMessageHasNoSourceLocation();

private:
    static void runRow();
};

void tst_CommandLineArgs::runRow()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, errors);
    QFETCH(const QString, output);
    QFETCH(const QString, end);
    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, errors);
    QCOMPARE(result.output, output);
    QCOMPARE(result.end, end);
}

void tst_CommandLineArgs::optionsBecomeTheMap_data()
{
    const Rows rows;
    const auto row = [&rows](const char *name, const char *arguments, const char *entries) {
        rows.parsed(name, parts(arguments), parts(entries));
    };
    row("no arguments", "", "");
    row("log level", "--log-level|3", "Logging/level = int(3)");
    row("log level above the highest", "--log-level|7", "Logging/level = int(7)");
    row("log level 9", "--log-level=9", "Logging/level = int(9)");
    row("play", "--play|http://u", "Service/playUrl = QString(http://u)");
    row("ott_drm", "--ott_drm", "Service/ott_drm = bool(true)");
    row("spy", "--spy|http://s", "Service/testSpyUrl = QString(http://s)");
    row("pos", "--pos|30", "Service/pos = int(30)");
    row("audio", "--audio|en", "Service/audio = QString(en)");
    row("subs", "--subs|de", "Service/subs = QString(de)");
    row("some of the service options", "-p|http://u|--pos|30|--audio|en",
        "Service/audio = QString(en)|Service/playUrl = QString(http://u)|Service/pos = int(30)");
    row("all options", "--subs|s|--audio|a|--pos|1|--spy|y|--ott_drm|--play|p|--log-level|2",
        "Logging/level = int(2)|Service/audio = QString(a)|Service/ott_drm = bool(true)|"
        "Service/playUrl = QString(p)|Service/pos = int(1)|Service/subs = QString(s)|"
        "Service/testSpyUrl = QString(y)");

    // Ways to write an option.
    row("value behind an equals sign", "--audio=en", "Service/audio = QString(en)");
    row("equals sign in the value", "--play=u?a=b", "Service/playUrl = QString(u?a=b)");
    row("short option", "-p|u", "Service/playUrl = QString(u)");
    row("short option with its value attached", "-phttp://u",
        "Service/playUrl = QString(http://u)");
    row("short option with an equals sign", "-p=u", "Service/playUrl = QString(u)");
    row("value that looks like an option", "--audio|--subs", "Service/audio = QString(--subs)");
    row("value that is the end of options", "--audio|--|--subs=de",
        "Service/audio = QString(--)|Service/subs = QString(de)");

    // An option given again.
    row("the last log level counts", "--log-level|1|--log-level=4", "Logging/level = int(4)");
    row("the last of both names of play counts", "--play|long|-p|short",
        "Service/playUrl = QString(short)");
    row("the last of the other order counts", "-p|short|--play|long",
        "Service/playUrl = QString(long)");
    row("only the last log level has to be a number", "--log-level=abc|--log-level=4",
        "Logging/level = int(4)");
    row("a last empty value counts", "--audio=en|--audio=", "");
    row("a first empty value does not count", "--audio=|--audio=en", "Service/audio = QString(en)");
    row("ott_drm twice", "--ott_drm|--ott_drm", "Service/ott_drm = bool(true)");

    // Empty values count as not given.
    row("empty log level", "--log-level=", "");
    row("empty log level of its own", "--log-level|", "");
    row("empty everything", "--log-level=|--play=|--spy=|--pos=|--audio=|--subs=", "");
    row("empty arguments of their own", "-p||--spy||--pos||--audio||--subs|", "");
    row("empty log level and a service option", "--log-level=|--subs=de",
        "Service/subs = QString(de)");
    row("empty play beside ott_drm", "--ott_drm|--play=", "Service/ott_drm = bool(true)");

    // Texts are kept to the letter.
    row("blanks", "--audio= en |--subs| ",
        "Service/audio = QString( en )|Service/subs = QString( )");
    row("placeholders", "--play=%1%s%n%%|--spy=%L1|--audio=%2|--subs=%d",
        "Service/audio = QString(%2)|Service/playUrl = QString(%1%s%n%%)|"
        "Service/subs = QString(%d)|Service/testSpyUrl = QString(%L1)");
    row("beyond ASCII", "--audio=\u0440\u0443\u0441|--play=\U0001F4FA",
        "Service/audio = QString(\u0440\u0443\u0441)|Service/playUrl = QString(\U0001F4FA)");
    row("no URL and no language", "--spy=:no url:|--audio=Klingon",
        "Service/audio = QString(Klingon)|Service/testSpyUrl = QString(:no url:)");
    row("a number for a text", "--audio=5", "Service/audio = QString(5)");

    // Positional arguments are the host's.
    row("positional arguments only", "one|two", "");
    row("positional arguments between options", "one|--ott_drm|two|--subs|de|three",
        "Service/ott_drm = bool(true)|Service/subs = QString(de)");
    row("options behind the end of options", "--subs=de|--|--log-level|abc|--unknown",
        "Service/subs = QString(de)");
    row("end of options only", "--", "");
    row("a dash", "-", "");
    row("two empty arguments", "|", "");
}

void tst_CommandLineArgs::decimalNumbersOf32BitsAreAccepted_data()
{
    const Rows rows;
    const auto row = [&rows](const QByteArray &name, const QString &text, const QString &number) {
        const QStringList entries{u"Logging/level = int(%1)"_s.arg(number),
                                  u"Service/pos = int(%1)"_s.arg(number)};
        // Both options and both ways to write them.
        rows.parsed(name, {u"--log-level"_s, text, u"--pos=" % text}, entries);
        rows.parsed(name + ", the other way", {u"--log-level=" % text, u"--pos"_s, text}, entries);
    };
    row("zero", u"0"_s, u"0"_s);
    row("negative", u"-5"_s, u"-5"_s);
    row("plus sign", u"+5"_s, u"5"_s);
    row("leading zeros", u"0012"_s, u"12"_s);
    row("highest", u"2147483647"_s, u"2147483647"_s);
    row("lowest", u"-2147483648"_s, u"-2147483648"_s);
    row("blanks around", u" 5  "_s, u"5"_s);
    row("tab and newline", u"\t5\n"_s, u"5"_s);
}

void tst_CommandLineArgs::anyOtherTextForANumberAborts_data()
{
    const Rows rows;
    const auto row = [&rows](const QByteArray &name, const QString &text) {
        for (const QString &option : {u"--log-level"_s, u"--pos"_s})
            rows.refused(name + " for " + option.toUtf8(), {option, text}, refusal(option, text));
    };
    row("word", u"abc"_s);
    row("number with a unit", u"12s"_s);
    row("fraction", u"5.0"_s);
    row("hexadecimal", u"0x10"_s);
    row("one above the highest", u"2147483648"_s);
    row("one below the lowest", u"-2147483649"_s);
    row("group separator", u"1,000"_s);
    row("blank", u" "_s);
    row("Arabic-Indic digit", u"\u0663"_s);
    row("beyond the basic plane", u"\U0001F4FA"_s);
    row("printf directives", u"%s%d%n%5%%"_s);
    row("QString::arg() places", u"%1%2"_s);
    row("long", QString(3000, u'9'));

    // The first one is named.
    const QString level = refusal(u"--log-level"_s, u"abc"_s);
    const QString pos = refusal(u"--pos"_s, u"12s"_s);
    rows.refused("log level first", parts("--log-level=abc|--pos=12s"), level);
    rows.refused("pos first", parts("--pos=12s|--log-level=abc"), level);
    rows.refused("pos behind a good log level", parts("--log-level=1|--pos=12s"), pos);
    rows.refused("pos behind an empty log level", parts("--log-level=|--pos=12s"), pos);
    rows.refused("last pos", parts("--pos=1|--pos=12s"), pos);
    rows.refused("pos among texts", parts("--audio=en|--pos=12s|--ott_drm|-p|u"), pos);
}

void tst_CommandLineArgs::theFatalMessageHasNoSourceLocation()
{
    ProgramSurroundings surroundings;
    surroundings.environment.insert(
            u"QT_MESSAGE_PATTERN"_s,
            u"%{type}|%{category}|%{file}|%{line}|%{function}|%{message}"_s);
    for (const QString &option : {u"--log-level"_s, u"--pos"_s}) {
        // "unknown" is what Qt prints for a file and a function that are not there.
        QCOMPARE(runHelper({option, u"abc"_s}, surroundings).errors,
                 "fatal|default|unknown|0|unknown|"_L1 % refusal(option, u"abc"_s));
    }
}

void tst_CommandLineArgs::badOptionsEndTheProcess_data()
{
    const Rows rows;
    const auto row
            = [&rows](const QByteArray &name, const char *arguments, const QString &message) {
                  rows.refused(name, parts(arguments), "helper: "_L1 % message % ".\n"_L1);
              };
    row("unknown option", "--unknown", u"Unknown option 'unknown'"_s);
    row("unknown short option", "-x", u"Unknown option 'x'"_s);
    row("unknown options", "--one|--two", u"Unknown options: one, two"_s);
    row("abbreviated option", "--log|3", u"Unknown option 'log'"_s);
    row("option in capitals", "--AUDIO=en", u"Unknown option 'AUDIO'"_s);
    row("key instead of an option", "--playUrl=u", u"Unknown option 'playUrl'"_s);
    row("dashes of another kind", "--ott-drm", u"Unknown option 'ott-drm'"_s);
    row("value for the switch", "--ott_drm=1", u"Unexpected value after '--ott_drm'"_s);
    row("empty value for the switch", "--ott_drm=", u"Unexpected value after '--ott_drm'"_s);
    row("unknown option and a bad number", "--log-level=abc|--unknown",
        u"Unknown option 'unknown'"_s);
    for (const char *option :
         {"--log-level", "--play", "-p", "--spy", "--pos", "--audio", "--subs"})
        row(option, option, u"Missing value after '%1'"_s.arg(QLatin1StringView(option)));
    for (const char *option : {"-l", "-o", "-s", "-a"}) // only play has a short name
        row(option, option, u"Unknown option '%1'"_s.arg(QLatin1Char(option[1])));
}

void tst_CommandLineArgs::helpListsTheOptionsBehindQts_data()
{
    QTest::addColumn<QStringList>("arguments");
    for (const char *arguments : {"--help", "-h", "--log-level=abc|--help"})
        QTest::newRow(arguments) << parts(arguments);
}

void tst_CommandLineArgs::helpListsTheOptionsBehindQts()
{
    QFETCH(const QStringList, arguments);
    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.end, u"exit 0"_s);

    QStringList lines = result.output.split(u'\n');
    QCOMPARE(lines.size(), 14);
    QVERIFY2(lines.at(0).endsWith("commandlinehelper [options]"_L1), qUtf8Printable(lines.at(0)));
    QCOMPARE(lines.mid(1, 2), QStringList({QString(), u"Options:"_s}));
    // Qt words its own descriptions differently from version to version.
    QStringList qtsOptions;
    for (const QString &line : lines.mid(3, 3))
        qtsOptions.append(line.left(23).trimmed());
    QCOMPARE(qtsOptions, QStringList({u"-h, --help"_s, u"--help-all"_s, u"-v, --version"_s}));
    QCOMPARE(lines.mid(6),
             QStringList({u"  --log-level <level>  Set logging verbosity level (0 - 5)"_s,
                          u"  -p, --play <url>     Playing custom url"_s,
                          u"  --ott_drm            use ott mode for verimatrix"_s,
                          u"  --spy <url>          velt analitycs collector ulr"_s,
                          u"  --pos <sec>          start from position in seconds"_s,
                          u"  --audio <audio>      set audio language"_s,
                          u"  --subs <subs>        set subtitles language"_s, QString()}));
}

void tst_CommandLineArgs::versionIsTheHosts_data()
{
    const Rows rows;
    for (const char *arguments : {"--version", "-v", "--pos=12s|--version"}) {
        QTest::newRow(arguments) << parts(arguments) << QString() << u"helper 4.5.6-helper\n"_s
                                 << u"exit 0"_s;
    }
}

QTEST_GUILESS_MAIN(tst_CommandLineArgs)
#include "tst_commandlineargs.moc"

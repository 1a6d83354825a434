// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "program.h"

#include <QtCore/QObject>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using tamsel::tests::ProgramResult;
using tamsel::tests::ProgramSurroundings;

namespace {

ProgramResult runHelper(const QStringList &arguments, const ProgramSurroundings &surroundings = {})
{
    return tamsel::tests::runProgram(QStringLiteral(COMMANDLINEHELPER), arguments, surroundings);
}

/*! What the helper prints where every parse of its arguments gives the map described. */
QString printed(const QStringList &map)
{
    const QStringList lines = QStringList(u"first:"_s) + map + QStringList(u"second:"_s) + map
            + QStringList(u"without arguments:"_s) + QStringList(QString());
    return lines.join(u'\n');
}

/*! The map with the number of \a option, and nothing else, in it. */
QStringList mapWithNumber(const QString &option, const QString &number)
{
    if (option == "--log-level"_L1)
        return {u"Logging is a QVariantMap"_s, u"Logging/level = int(%1)"_s.arg(number)};
    return {u"Service is a QVariantMap"_s, u"Service/pos = int(%1)"_s.arg(number)};
}

QStringList numericOptions()
{
    return {u"--log-level"_s, u"--pos"_s};
}

} // namespace

class tst_CommandLineArgs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsBecomeTheMap_data();
    void optionsBecomeTheMap();
    void decimalNumbersOf32BitsAreTaken_data();
    void decimalNumbersOf32BitsAreTaken();
    void anyOtherTextForANumberAborts_data();
    void anyOtherTextForANumberAborts();
    void theFirstBadNumberIsNamed_data();
    void theFirstBadNumberIsNamed();
    void theFatalMessageHasNoSourceLocation_data();
    void theFatalMessageHasNoSourceLocation();
    void badOptionsEndTheProcess_data();
    void badOptionsEndTheProcess();
    void helpListsTheOptionsBehindQts_data();
    void helpListsTheOptionsBehindQts();
    void versionIsTheHosts_data();
    void versionIsTheHosts();
};

void tst_CommandLineArgs::optionsBecomeTheMap_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("map");

    const QString logging = u"Logging is a QVariantMap"_s;
    const QString service = u"Service is a QVariantMap"_s;
    const QStringList nothing;

    QTest::newRow("no arguments") << QStringList() << nothing;

    QTest::newRow("log level") << QStringList{u"--log-level"_s, u"3"_s}
                               << QStringList{logging, u"Logging/level = int(3)"_s};
    QTest::newRow("log level above the highest")
            << QStringList{u"--log-level"_s, u"7"_s}
            << QStringList{logging, u"Logging/level = int(7)"_s};
    QTest::newRow("log level 9") << QStringList{u"--log-level=9"_s}
                                 << QStringList{logging, u"Logging/level = int(9)"_s};
    QTest::newRow("play") << QStringList{u"--play"_s, u"http://u"_s}
                          << QStringList{service, u"Service/playUrl = QString(http://u)"_s};
    QTest::newRow("ott_drm") << QStringList{u"--ott_drm"_s}
                             << QStringList{service, u"Service/ott_drm = bool(true)"_s};
    QTest::newRow("spy") << QStringList{u"--spy"_s, u"http://s"_s}
                         << QStringList{service, u"Service/testSpyUrl = QString(http://s)"_s};
    QTest::newRow("pos") << QStringList{u"--pos"_s, u"30"_s}
                         << QStringList{service, u"Service/pos = int(30)"_s};
    QTest::newRow("audio") << QStringList{u"--audio"_s, u"en"_s}
                           << QStringList{service, u"Service/audio = QString(en)"_s};
    QTest::newRow("subs") << QStringList{u"--subs"_s, u"de"_s}
                          << QStringList{service, u"Service/subs = QString(de)"_s};
    QTest::newRow("some of the service options")
            << QStringList{u"-p"_s, u"http://u"_s, u"--pos"_s, u"30"_s, u"--audio"_s, u"en"_s}
            << QStringList{service, u"Service/audio = QString(en)"_s,
                           u"Service/playUrl = QString(http://u)"_s, u"Service/pos = int(30)"_s};
    QTest::newRow("all options") << QStringList{u"--subs"_s, u"s"_s,     u"--audio"_s,
                                                u"a"_s,      u"--pos"_s, u"1"_s,
                                                u"--spy"_s,  u"y"_s,     u"--ott_drm"_s,
                                                u"--play"_s, u"p"_s,     u"--log-level"_s,
                                                u"2"_s}
                                 << QStringList{logging,
                                                u"Logging/level = int(2)"_s,
                                                service,
                                                u"Service/audio = QString(a)"_s,
                                                u"Service/ott_drm = bool(true)"_s,
                                                u"Service/playUrl = QString(p)"_s,
                                                u"Service/pos = int(1)"_s,
                                                u"Service/subs = QString(s)"_s,
                                                u"Service/testSpyUrl = QString(y)"_s};

    // Ways to write an option.
    QTest::newRow("value behind an equals sign")
            << QStringList{u"--audio=en"_s}
            << QStringList{service, u"Service/audio = QString(en)"_s};
    QTest::newRow("equals sign in the value")
            << QStringList{u"--play=u?a=b"_s}
            << QStringList{service, u"Service/playUrl = QString(u?a=b)"_s};
    QTest::newRow("short option") << QStringList{u"-p"_s, u"u"_s}
                                  << QStringList{service, u"Service/playUrl = QString(u)"_s};
    QTest::newRow("short option with its value attached")
            << QStringList{u"-phttp://u"_s}
            << QStringList{service, u"Service/playUrl = QString(http://u)"_s};
    QTest::newRow("short option with an equals sign")
            << QStringList{u"-p=u"_s} << QStringList{service, u"Service/playUrl = QString(u)"_s};
    QTest::newRow("value that looks like an option")
            << QStringList{u"--audio"_s, u"--subs"_s}
            << QStringList{service, u"Service/audio = QString(--subs)"_s};
    QTest::newRow("value that is the end of options")
            << QStringList{u"--audio"_s, u"--"_s, u"--subs=de"_s}
            << QStringList{service, u"Service/audio = QString(--)"_s,
                           u"Service/subs = QString(de)"_s};

    // An option given again.
    QTest::newRow("the last log level counts")
            << QStringList{u"--log-level"_s, u"1"_s, u"--log-level=4"_s}
            << QStringList{logging, u"Logging/level = int(4)"_s};
    QTest::newRow("the last of both names of play counts")
            << QStringList{u"--play"_s, u"long"_s, u"-p"_s, u"short"_s}
            << QStringList{service, u"Service/playUrl = QString(short)"_s};
    QTest::newRow("the last of the other order counts")
            << QStringList{u"-p"_s, u"short"_s, u"--play"_s, u"long"_s}
            << QStringList{service, u"Service/playUrl = QString(long)"_s};
    QTest::newRow("only the last log level has to be a number")
            << QStringList{u"--log-level=abc"_s, u"--log-level=4"_s}
            << QStringList{logging, u"Logging/level = int(4)"_s};
    QTest::newRow("a last empty value counts")
            << QStringList{u"--audio=en"_s, u"--audio="_s} << nothing;
    QTest::newRow("a first empty value does not count")
            << QStringList{u"--audio="_s, u"--audio=en"_s}
            << QStringList{service, u"Service/audio = QString(en)"_s};
    QTest::newRow("ott_drm twice") << QStringList{u"--ott_drm"_s, u"--ott_drm"_s}
                                   << QStringList{service, u"Service/ott_drm = bool(true)"_s};

    // Empty values count as not given.
    QTest::newRow("empty log level") << QStringList{u"--log-level="_s} << nothing;
    QTest::newRow("empty log level of its own")
            << QStringList{u"--log-level"_s, QString()} << nothing;
    QTest::newRow("empty everything") << QStringList{u"--log-level="_s, u"--play="_s,  u"--spy="_s,
                                                     u"--pos="_s,       u"--audio="_s, u"--subs="_s}
                                      << nothing;
    QTest::newRow("empty arguments of their own")
            << QStringList{u"-p"_s,   QString(),    u"--spy"_s, QString(),   u"--pos"_s,
                           QString(), u"--audio"_s, QString(),  u"--subs"_s, QString()}
            << nothing;
    QTest::newRow("empty log level and a service option")
            << QStringList{u"--log-level="_s, u"--subs=de"_s}
            << QStringList{service, u"Service/subs = QString(de)"_s};
    QTest::newRow("empty play beside ott_drm")
            << QStringList{u"--ott_drm"_s, u"--play="_s}
            << QStringList{service, u"Service/ott_drm = bool(true)"_s};

    // Texts are kept to the letter.
    QTest::newRow("blanks") << QStringList{u"--audio= en "_s, u"--subs"_s, u" "_s}
                            << QStringList{service, u"Service/audio = QString( en )"_s,
                                           u"Service/subs = QString( )"_s};
    QTest::newRow("placeholders") << QStringList{u"--play=%1%s%n%%"_s, u"--spy=%L1"_s,
                                                 u"--audio=%2"_s, u"--subs=%d"_s}
                                  << QStringList{service, u"Service/audio = QString(%2)"_s,
                                                 u"Service/playUrl = QString(%1%s%n%%)"_s,
                                                 u"Service/subs = QString(%d)"_s,
                                                 u"Service/testSpyUrl = QString(%L1)"_s};
    QTest::newRow("beyond ASCII") << QStringList{u"--audio=\u0440\u0443\u0441"_s,
                                                 u"--play=\U0001F4FA"_s}
                                  << QStringList{service,
                                                 u"Service/audio = QString(\u0440\u0443\u0441)"_s,
                                                 u"Service/playUrl = QString(\U0001F4FA)"_s};
    QTest::newRow("no URL and no language")
            << QStringList{u"--spy=:no url:"_s, u"--audio=Klingon"_s}
            << QStringList{service, u"Service/audio = QString(Klingon)"_s,
                           u"Service/testSpyUrl = QString(:no url:)"_s};
    QTest::newRow("a number for a text")
            << QStringList{u"--audio=5"_s} << QStringList{service, u"Service/audio = QString(5)"_s};

    // Positional arguments are the host's.
    QTest::newRow("positional arguments only") << QStringList{u"one"_s, u"two"_s} << nothing;
    QTest::newRow("positional arguments between options")
            << QStringList{u"one"_s, u"--ott_drm"_s, u"two"_s, u"--subs"_s, u"de"_s, u"three"_s}
            << QStringList{service, u"Service/ott_drm = bool(true)"_s,
                           u"Service/subs = QString(de)"_s};
    QTest::newRow("options behind the end of options")
            << QStringList{u"--subs=de"_s, u"--"_s, u"--log-level"_s, u"abc"_s, u"--unknown"_s}
            << QStringList{service, u"Service/subs = QString(de)"_s};
    QTest::newRow("end of options only") << QStringList{u"--"_s} << nothing;
    QTest::newRow("a dash") << QStringList{u"-"_s} << nothing;
    QTest::newRow("an empty argument") << QStringList{QString()} << nothing;
}

void tst_CommandLineArgs::optionsBecomeTheMap()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QStringList, map);

    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, printed(map));
    QCOMPARE(result.end, u"exit 0"_s);
}

void tst_CommandLineArgs::decimalNumbersOf32BitsAreTaken_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("number");

    for (const QString &option : numericOptions()) {
        const auto row = [&option](const char *name, const QString &text, const QString &number) {
            QTest::addRow("%s %s", qUtf8Printable(option), name) << option << text << number;
        };
        row("zero", u"0"_s, u"0"_s);
        row("negative", u"-5"_s, u"-5"_s);
        row("plus sign", u"+5"_s, u"5"_s);
        row("minus zero", u"-0"_s, u"0"_s);
        row("leading zeros", u"0012"_s, u"12"_s);
        row("highest", u"2147483647"_s, u"2147483647"_s);
        row("lowest", u"-2147483648"_s, u"-2147483648"_s);
        row("more digits than an int has", u"00000000000000000000042"_s, u"42"_s);
        row("leading blank", u" 5"_s, u"5"_s);
        row("trailing blanks", u"5  "_s, u"5"_s);
        row("tab and newline", u"\t5\n"_s, u"5"_s);
    }
}

void tst_CommandLineArgs::decimalNumbersOf32BitsAreTaken()
{
    QFETCH(const QString, option);
    QFETCH(const QString, text);
    QFETCH(const QString, number);

    for (const QStringList &arguments :
         {QStringList{option, text}, QStringList{option + u'=' + text}}) {
        const ProgramResult result = runHelper(arguments);
        QCOMPARE(result.errors, QString());
        QCOMPARE(result.output, printed(mapWithNumber(option, number)));
        QCOMPARE(result.end, u"exit 0"_s);
    }
}

void tst_CommandLineArgs::anyOtherTextForANumberAborts_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("text");

    for (const QString &option : numericOptions()) {
        const auto row = [&option](const char *name, const QString &text) {
            QTest::addRow("%s %s", qUtf8Printable(option), name) << option << text;
        };
        row("word", u"abc"_s);
        row("level name", u"debug"_s);
        row("number with a unit", u"12s"_s);
        row("fraction", u"5.0"_s);
        row("exponent", u"1e3"_s);
        row("hexadecimal", u"0x10"_s);
        row("hexadecimal digit", u"a"_s);
        row("one above the highest", u"2147483648"_s);
        row("one below the lowest", u"-2147483649"_s);
        row("five in the low 32 bits", u"4294967301"_s);
        row("beyond 64 bits", u"18446744073709551621"_s);
        row("group separator", u"1,000"_s);
        row("inner blank", u"1 2"_s);
        row("blank", u" "_s);
        row("two signs", u"--5"_s);
        row("sign only", u"-"_s);
        row("two numbers", u"1-2"_s);
        row("no-break space", u"\u00a05"_s);
        row("Arabic-Indic digit", u"\u0663"_s);
        row("Cyrillic", u"\u0441\u0435\u043c\u044c"_s);
        row("beyond the basic plane", u"\U0001F4FA"_s);
        row("printf directives", u"%s%d%n%5%%"_s);
        row("QString::arg() places", u"%1%2"_s);
        row("quotes", u"'\"'"_s);
        row("long", QString(3000, u'9'));
    }
}

void tst_CommandLineArgs::anyOtherTextForANumberAborts()
{
    QFETCH(const QString, option);
    QFETCH(const QString, text);

    const ProgramResult result = runHelper({option, text});
    QCOMPARE(result.errors, u"error: argument %1: invalid value: '%2'\n"_s.arg(option, text));
    QCOMPARE(result.output, QString());
    QCOMPARE(result.end, u"signal 6"_s);
}

void tst_CommandLineArgs::theFirstBadNumberIsNamed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QString level = u"error: argument --log-level: invalid value: 'abc'\n"_s;
    const QString pos = u"error: argument --pos: invalid value: '12s'\n"_s;
    QTest::newRow("log level first") << QStringList{u"--log-level=abc"_s, u"--pos=12s"_s} << level;
    QTest::newRow("pos first") << QStringList{u"--pos=12s"_s, u"--log-level=abc"_s} << level;
    QTest::newRow("pos behind a good log level")
            << QStringList{u"--log-level=1"_s, u"--pos=12s"_s} << pos;
    QTest::newRow("pos behind an empty log level")
            << QStringList{u"--log-level="_s, u"--pos=12s"_s} << pos;
    QTest::newRow("last pos") << QStringList{u"--pos=1"_s, u"--pos=12s"_s} << pos;
    QTest::newRow("pos among texts")
            << QStringList{u"--audio=en"_s, u"--pos=12s"_s, u"--ott_drm"_s, u"-p"_s, u"u"_s} << pos;
}

void tst_CommandLineArgs::theFirstBadNumberIsNamed()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);

    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, message);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.end, u"signal 6"_s);
}

void tst_CommandLineArgs::theFatalMessageHasNoSourceLocation_data()
{
    QTest::addColumn<QString>("option");

    for (const QString &option : numericOptions())
        QTest::addRow("%s", qUtf8Printable(option)) << option;
}

void tst_CommandLineArgs::theFatalMessageHasNoSourceLocation()
{
    QFETCH(const QString, option);

    ProgramSurroundings surroundings;
    surroundings.environment.insert(
            u"QT_MESSAGE_PATTERN"_s,
            u"%{type}|%{category}|%{file}|%{line}|%{function}|%{message}"_s);
    const ProgramResult result = runHelper({option, u"abc"_s}, surroundings);
    // "unknown" is what Qt prints for a file and a function that are not there.
    QCOMPARE(result.errors,
             u"fatal|default|unknown|0|unknown|error: argument %1: invalid value: 'abc'\n"_s.arg(
                     option));
    QCOMPARE(result.end, u"signal 6"_s);
}

void tst_CommandLineArgs::badOptionsEndTheProcess_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    QTest::newRow("unknown option")
            << QStringList{u"--unknown"_s} << u"helper: Unknown option 'unknown'.\n"_s;
    QTest::newRow("unknown short option")
            << QStringList{u"-x"_s} << u"helper: Unknown option 'x'.\n"_s;
    QTest::newRow("unknown options")
            << QStringList{u"--one"_s, u"--two"_s} << u"helper: Unknown options: one, two.\n"_s;
    QTest::newRow("abbreviated option")
            << QStringList{u"--log"_s, u"3"_s} << u"helper: Unknown option 'log'.\n"_s;
    QTest::newRow("option in capitals")
            << QStringList{u"--AUDIO=en"_s} << u"helper: Unknown option 'AUDIO'.\n"_s;
    QTest::newRow("key instead of an option")
            << QStringList{u"--playUrl=u"_s} << u"helper: Unknown option 'playUrl'.\n"_s;
    QTest::newRow("dashes of another kind")
            << QStringList{u"--ott-drm"_s} << u"helper: Unknown option 'ott-drm'.\n"_s;
    for (const QString &option : {u"--log-level"_s, u"--play"_s, u"-p"_s, u"--spy"_s, u"--pos"_s,
                                  u"--audio"_s, u"--subs"_s}) {
        QTest::addRow("%s without its value", qUtf8Printable(option))
                << QStringList{option} << u"helper: Missing value after '%1'.\n"_s.arg(option);
    }
    // Only play has a short name.
    for (const QString &option : {u"l"_s, u"o"_s, u"s"_s, u"a"_s}) {
        QTest::addRow("-%s", qUtf8Printable(option))
                << QStringList{u'-' + option} << u"helper: Unknown option '%1'.\n"_s.arg(option);
    }
    QTest::newRow("value for the switch")
            << QStringList{u"--ott_drm=1"_s} << u"helper: Unexpected value after '--ott_drm'.\n"_s;
    QTest::newRow("empty value for the switch")
            << QStringList{u"--ott_drm="_s} << u"helper: Unexpected value after '--ott_drm'.\n"_s;
    QTest::newRow("unknown option and a bad number")
            << QStringList{u"--log-level=abc"_s, u"--unknown"_s}
            << u"helper: Unknown option 'unknown'.\n"_s;
}

void tst_CommandLineArgs::badOptionsEndTheProcess()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);

    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, message);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.end, u"exit 1"_s);
}

void tst_CommandLineArgs::helpListsTheOptionsBehindQts_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("long") << QStringList{u"--help"_s};
    QTest::newRow("short") << QStringList{u"-h"_s};
    QTest::newRow("beside a bad number") << QStringList{u"--log-level=abc"_s, u"--help"_s};
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
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("long") << QStringList{u"--version"_s};
    QTest::newRow("short") << QStringList{u"-v"_s};
    QTest::newRow("beside a bad number") << QStringList{u"--pos=12s"_s, u"--version"_s};
}

void tst_CommandLineArgs::versionIsTheHosts()
{
    QFETCH(const QStringList, arguments);

    const ProgramResult result = runHelper(arguments);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, u"helper 4.5.6-helper\n"_s);
    QCOMPARE(result.end, u"exit 0"_s);
}

QTEST_GUILESS_MAIN(tst_CommandLineArgs)

#include "tst_commandlineargs.moc"

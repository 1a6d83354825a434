// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/commandlineargs.h>

#include <QtCore/QCommandLineOption>
#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QMessageLogger>

using namespace Qt::StringLiterals;

namespace tamsel::commandLineArgs {

namespace {

// Intentional: users see these texts, so they stay as they are, odd spellings included.
void addOptions(QCommandLineParser &parser)
{
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
            {u"log-level"_s, u"Set logging verbosity level (0 - 5)"_s, u"level"_s},
            {{u"p"_s, u"play"_s}, u"Playing custom url"_s, u"url"_s},
            {u"ott_drm"_s, u"use ott mode for verimatrix"_s},
            {u"spy"_s, u"velt analitycs collector ulr"_s, u"url"_s},
            {u"pos"_s, u"start from position in seconds"_s, u"sec"_s},
            {u"audio"_s, u"set audio language"_s, u"audio"_s},
            {u"subs"_s, u"set subtitles language"_s, u"subs"_s},
    });
}

void insertText(QVariantMap &entries, const QString &key, const QString &text)
{
    if (!text.isEmpty())
        entries.insert(key, text);
}

// Ends the process if `text` is neither empty nor a decimal 32-bit integer.
void insertNumber(QVariantMap &entries, const QString &key, const QString &text, const char *option)
{
    if (text.isEmpty())
        return;
    bool ok = false;
    const int number = text.toInt(&ok, 10);
    if (!ok) {
        // Not qFatal(): it adds the source location in debug builds.
        const QMessageLogger log(nullptr, 0, nullptr);
        log.fatal("error: argument %s: invalid value: '%s'", option, qUtf8Printable(text));
    }
    entries.insert(key, number);
}

void insertGroup(QVariantMap &groups, const QString &group, const QVariantMap &entries)
{
    if (!entries.isEmpty())
        groups.insert(group, entries);
}

QVariantMap loggingEntries(const QCommandLineParser &parser)
{
    QVariantMap entries;
    insertNumber(entries, u"level"_s, parser.value(u"log-level"_s), "--log-level");
    return entries;
}

QVariantMap serviceEntries(const QCommandLineParser &parser)
{
    QVariantMap entries;
    if (parser.isSet(u"ott_drm"_s))
        entries.insert(u"ott_drm"_s, true);
    insertText(entries, u"playUrl"_s, parser.value(u"play"_s));
    insertText(entries, u"testSpyUrl"_s, parser.value(u"spy"_s));
    insertText(entries, u"audio"_s, parser.value(u"audio"_s));
    insertText(entries, u"subs"_s, parser.value(u"subs"_s));
    insertNumber(entries, u"pos"_s, parser.value(u"pos"_s), "--pos");
    return entries;
}

} // namespace

QVariantMap parse()
{
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(QCoreApplication::arguments());

    QVariantMap groups;
    insertGroup(groups, u"Logging"_s, loggingEntries(parser));
    insertGroup(groups, u"Service"_s, serviceEntries(parser));
    return groups;
}

} // namespace tamsel::commandLineArgs

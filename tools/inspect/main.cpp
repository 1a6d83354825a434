// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Shows where the effective value of each setting of a box comes from, and what it overrides. It
// only reads.

#include "box.h"
#include "difference.h"
#include "explanation.h"
#include "format.h"
#include "listing.h"
#include "options.h"
#include "tableprinter.h"
#include "usererror.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <algorithm>

#include <clocale>
#include <cstdio>
#include <cstring>

#include <langinfo.h>

using namespace Qt::StringLiterals;

namespace {

// As grep and diff have them. What is worse is greater.
constexpr int found = 0;
constexpr int notFound = 1;
constexpr int different = 1;
constexpr int trouble = 2;

void complain(const QString &text)
{
    QTextStream(stderr) << "tamsel-inspect: " << escaped(text) << '\n';
}

// Qt warns of locales and of values that it cannot read. The tool says itself what there is to say.
void dropWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    Q_UNUSED(context)
    if (type == QtCriticalMsg || type == QtFatalMsg)
        complain(text);
}

// Before there is a QCoreApplication, which changes the locale to one with UTF-8.
bool isLocaleAscii()
{
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    static_cast<void>(std::setlocale(LC_CTYPE, ""));
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0;
    // NOLINTEND(concurrency-mt-unsafe)
}

QList<SettingName> namesIn(const QList<const Box *> &boxes)
{
    QList<SettingName> result;
    for (const Box *box : boxes)
        box->visit([&result](const Setting &setting) { result.append(setting.name); });
    return result;
}

// What was printed, and what is to be said about it on standard error.
struct Outcome
{
    int code = found;
    QStringList complaints = {};

    void add(int otherCode, const QString &complaint)
    {
        code = std::max(code, otherCode);
        if (!complaints.contains(complaint))
            complaints.append(complaint);
    }
};

void checkPatterns(const Options &options, const QList<const Box *> &boxes, Outcome *outcome)
{
    if (options.patterns.isEmpty())
        return;
    const QList<SettingName> names = namesIn(boxes);
    for (const Pattern &pattern : options.patterns) {
        if (pattern.matchesAny(names))
            continue;
        const QString alternative = pattern.alternative(names);
        const QString text = u"no setting matches '%1'"_s.arg(pattern.text());
        outcome->add(notFound,
                     alternative.isEmpty() ? text : text + u"; try '%1'"_s.arg(alternative));
    }
}

void checkFiles(const QList<const Box *> &boxes, Outcome *outcome)
{
    for (const Box *box : boxes) {
        const QStringList warnings = box->warnings();
        for (const QString &warning : warnings)
            outcome->add(trouble, "warning: "_L1 + warning);
    }
}

Outcome printDifference(const Options &options, const HostValues &hostValues, const Box &box,
                        TablePrinter &printer)
{
    const Box other(options, options.otherStorage, hostValues);
    Outcome outcome;
    outcome.code = printDifference(box, other, options, printer) ? different : found;
    checkPatterns(options, {&box, &other}, &outcome);
    if (outcome.code == found && !options.json)
        printer.printLine(u"no effective value differs"_s);
    checkFiles({&box, &other}, &outcome);
    return outcome;
}

Outcome print(const Options &options, TablePrinter &printer)
{
    Outcome outcome;
    if (!options.answer.isEmpty()) {
        printer.printText(options.answer);
        return outcome;
    }
    const HostValues hostValues(options);
    const Box box(options, options.storage, hostValues);
    if (!options.otherStorage.isEmpty())
        return printDifference(options, hostValues, box, printer);
    if (options.wanted) {
        if (!printValue(box, options, printer))
            outcome.add(notFound, u"no layer holds %1"_s.arg(options.wanted->text()));
    } else if (options.explained) {
        outcome.code = printExplanation(box, options, printer) ? found : notFound;
    } else {
        if (!printSettings(box, options, printer) && options.patterns.isEmpty())
            outcome.add(notFound, u"no layer holds any setting"_s);
        checkPatterns(options, {&box}, &outcome);
    }
    checkFiles({&box}, &outcome);
    return outcome;
}

int run(const Options &options, bool ascii)
{
    TablePrinter::Options look = options.colour ? TablePrinter::Colour : TablePrinter::Plain;
    look.setFlag(TablePrinter::Wide, options.wide);
    look.setFlag(TablePrinter::Ascii, ascii);
    TablePrinter printer(look);
    const Outcome outcome = print(options, printer);
    printer.finish();
    for (const QString &complaint : outcome.complaints)
        complain(complaint);
    return outcome.code;
}

} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(dropWarnings);
    const bool ascii = isLocaleAscii();
    const QCoreApplication application(argc, argv);
    // Not every version of Qt does so in such a locale; the widths of letters depend on it.
    if (ascii)
        static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8")); // NOLINT(concurrency-mt-unsafe)
    try {
        return run(parseOptions(QCoreApplication::arguments()), ascii);
    } catch (const UserError &error) {
        complain(error.text());
        return trouble;
    }
}

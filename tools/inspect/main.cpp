// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Shows where the effective value of each setting of a box comes from, and what it overrides. It
// only reads.

#include "box.h"
#include "changelist.h"
#include "difference.h"
#include "explanation.h"
#include "format.h"
#include "listing.h"
#include "options.h"
#include "snapshotfile.h"
#include "tableprinter.h"
#include "usererror.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <algorithm>
#include <memory>

#include <clocale>
#include <cstdio>
#include <cstring>

#include <langinfo.h>

using namespace Qt::StringLiterals;

namespace {

// The exit codes of grep and diff. A worse outcome has a greater code.
constexpr int exitFound = 0;
constexpr int exitNotFound = 1;
constexpr int exitDifferent = 1;
constexpr int exitError = 2;

void complain(const QString &text)
{
    QTextStream(stderr) << "tamsel-inspect: " << escaped(text) << '\n';
}

// Qt warns of locales and of values that it cannot read. The tool prints its own messages.
void dropWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    Q_UNUSED(context)
    if (type == QtCriticalMsg || type == QtFatalMsg)
        complain(text);
}

// Call it before QCoreApplication is created, which may change the locale to a UTF-8 one.
bool isLocaleAscii()
{
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    static_cast<void>(std::setlocale(LC_CTYPE, ""));
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0;
    // NOLINTEND(concurrency-mt-unsafe)
}

QList<SettingName> namesIn(const QList<const Source *> &sources)
{
    QList<SettingName> result;
    for (const Source *source : sources)
        source->visit([&result](const Setting &setting) { result.append(setting.name); });
    return result;
}

// The exit code, and the messages for standard error.
struct Outcome
{
    int code = exitFound;
    QStringList complaints = {};

    void add(int otherCode, const QString &complaint)
    {
        code = std::max(code, otherCode);
        if (!complaints.contains(complaint))
            complaints.append(complaint);
    }
};

void checkPatterns(const Options &options, const QList<const Source *> &sources, Outcome *outcome)
{
    if (options.patterns.isEmpty())
        return;
    const QList<SettingName> names = namesIn(sources);
    for (const Pattern &pattern : options.patterns) {
        if (pattern.matchesAny(names))
            continue;
        const QString alternative = pattern.alternative(names);
        const QString text = u"no setting matches '%1'"_s.arg(pattern.text());
        outcome->add(exitNotFound,
                     alternative.isEmpty() ? text : text + u"; try '%1'"_s.arg(alternative));
    }
}

void checkFiles(const QList<const Source *> &sources, Outcome *outcome)
{
    for (const Source *source : sources) {
        const QStringList warnings = source->warnings();
        for (const QString &warning : warnings)
            outcome->add(exitError, "warning: "_L1 + warning);
    }
}

// The other side of a comparison.
std::unique_ptr<const Source> otherSource(const Options &options, const HostValues &hostValues)
{
    if (!options.otherSnapshot.isEmpty())
        return std::make_unique<SnapshotFile>(options.otherSnapshot, options.redaction);
    if (!options.otherStorage.isEmpty())
        return std::make_unique<Box>(options, options.otherStorage, hostValues);
    Options other = options;
    other.assets = options.otherAssets;
    return std::make_unique<Box>(other, options.storage, hostValues);
}

Outcome printDifference(const Options &options, const HostValues &hostValues, const Source &source,
                        TablePrinter &printer)
{
    const auto other = otherSource(options, hostValues);
    Outcome outcome;
    outcome.code = printDifference(source, *other, options, printer) ? exitDifferent : exitFound;
    checkPatterns(options, {&source, other.get()}, &outcome);
    if (outcome.code == exitFound && !options.json)
        printer.printLine(u"no effective value differs"_s);
    checkFiles({&source, other.get()}, &outcome);
    return outcome;
}

void printSource(const Source &source, const Options &options, TablePrinter &printer,
                 Outcome *outcome)
{
    if (options.wanted) {
        if (!printValue(source, options, printer))
            outcome->add(exitNotFound, u"no layer holds %1"_s.arg(options.wanted->text()));
    } else if (options.explained) {
        outcome->code = printExplanation(source, options, printer) ? exitFound : exitNotFound;
    } else {
        const bool isAll = options.patterns.isEmpty();
        if (!printSettings(source, options, printer) && (isAll || options.onlyOverridden)) {
            outcome->add(exitNotFound,
                         options.onlyOverridden ? u"no setting overrides anything"_s
                                                : u"no layer holds any setting"_s);
        }
        checkPatterns(options, {&source}, outcome);
    }
    checkFiles({&source}, outcome);
}

Outcome print(const Options &options, TablePrinter &printer)
{
    Outcome outcome;
    if (!options.answer.isEmpty()) {
        printer.printText(options.answer);
        return outcome;
    }
    const HostValues hostValues(options);
    if (!options.snapshot.isEmpty()) {
        const SnapshotFile snapshot(options.snapshot, options.redaction);
        if (options.isDifference())
            return printDifference(options, hostValues, snapshot, printer);
        if (!options.changes) {
            printSource(snapshot, options, printer, &outcome);
            return outcome;
        }
        if (!printChanges(snapshot, options, printer))
            outcome.add(exitNotFound,
                        options.patterns.isEmpty() ? u"there are no changes"_s
                                                   : u"no change matches"_s);
        checkFiles({&snapshot}, &outcome);
        return outcome;
    }
    const Box box(options, options.storage, hostValues);
    if (options.isDifference())
        return printDifference(options, hostValues, box, printer);
    printSource(box, options, printer, &outcome);
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
    // Not every version of Qt has changed to UTF-8 now. The widths of letters depend on it.
    if (ascii)
        static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8")); // NOLINT(concurrency-mt-unsafe)
    try {
        return run(parseOptions(QCoreApplication::arguments()), ascii);
    } catch (const UserError &error) {
        complain(error.text());
        return exitError;
    }
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Shows which layer each setting of a box comes from, and what it hides. It only reads.

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

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

// As grep and diff have them.
constexpr int found = 0;
constexpr int notFound = 1;
constexpr int different = 1;
constexpr int trouble = 2;

void complain(const QString &text)
{
    QTextStream(stderr) << "tamsel-inspect: " << escaped(text) << '\n';
}

// Returns the exit code.
int print(const Options &options, TablePrinter &printer)
{
    if (!options.answer.isEmpty()) {
        printer.printText(options.answer);
        return found;
    }
    const Box box(options, options.storage);
    if (!options.otherStorage.isEmpty()) {
        const Box other(options, options.otherStorage);
        return printDifference(box, other, options, printer) ? different : found;
    }
    if (options.explained)
        return printExplanation(box, options, printer) ? found : notFound;
    if (printSettings(box, options, printer))
        return found;
    complain(options.patterns.isEmpty() ? u"no layer holds any setting"_s
                                        : u"no setting matches"_s);
    return notFound;
}

int run(const Options &options)
{
    TablePrinter printer(options.colour);
    const int code = print(options, printer);
    printer.finish();
    return code;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    try {
        return run(parseOptions(QCoreApplication::arguments()));
    } catch (const UserError &error) {
        complain(error.text());
        return trouble;
    }
}

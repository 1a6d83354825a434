// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "directories.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryFile>

using namespace Qt::StringLiterals;

namespace {

// Whether the argument after option is its value.
bool takesNextArgument(const QString &option)
{
    if (option.startsWith("--"_L1))
        return !option.contains(u'=') && option != "--ott_drm"_L1; // the only one without a value
    return option.size() == 2; // "-p"; in "-pURL" the value is attached
}

} // namespace

// A second QCommandLineParser would have to declare every option of the library again, only to
// distinguish values from directories. The line has been parsed without an error, so one fact is
// enough: all options but one take a value.
QStringList positionalArguments(const QStringList &arguments)
{
    QStringList result;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == "--"_L1)
            return result + arguments.mid(i + 1);
        if (argument.size() < 2 || !argument.startsWith(u'-'))
            result.append(argument);
        else if (takesNextArgument(argument))
            ++i;
    }
    return result;
}

QString asPrefix(const QString &directory)
{
    return directory.endsWith(u'/') ? directory : directory + u'/';
}

QString prepareStorage(const QString &directory)
{
    if (!QDir().mkpath(directory))
        return u"cannot create the storage directory '%1'"_s.arg(directory);
    // Creates a file, because the directory's mode does not tell whether the file system is
    // read-only or full.
    QTemporaryFile probe(asPrefix(directory) + "probe.XXXXXX"_L1);
    if (!probe.open())
        return u"cannot write to the storage directory '%1': %2"_s.arg(directory,
                                                                       probe.errorString());
    return {};
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "options.h"

#include "usererror.h"

#include <tamsel/tamselversion.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QMetaEnum>

#include <algorithm>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// The group is what stands in front of the first "/".
std::optional<SettingName> nameOf(const QString &text)
{
    const qsizetype slash = text.indexOf(u'/');
    if (slash < 0)
        return std::nullopt;
    return SettingName{text.left(slash), text.mid(slash + 1)};
}

SettingsType layerOf(const QString &name, const QString &option)
{
    const auto layers = QMetaEnum::fromType<SettingsType>();
    bool known = false;
    const int number = layers.keyToValue(name.toUtf8().constData(), &known);
    if (!known)
        throw UserError(u"%1: there is no layer '%2'"_s.arg(option, name));
    return static_cast<SettingsType>(number);
}

Assignment assignmentOf(const QString &text)
{
    const qsizetype colon = text.indexOf(u':');
    const qsizetype equals = text.indexOf(u'=', colon + 1);
    const auto name = nameOf(text.mid(colon + 1, equals - colon - 1));
    if (colon < 0 || equals < 0 || !name)
        throw UserError(u"--set '%1' is not LAYER:group/key=value"_s.arg(text));
    const QString option = u"--set '%1'"_s.arg(text);
    const SettingsType layer = layerOf(text.left(colon), option);
    if (isFileLayer(layer))
        throw UserError(u"%1: the layer %2 is a file"_s.arg(option, text.left(colon)));
    return {layer, *name, text.mid(equals + 1)};
}

// The library appends the names of the files as they are.
QString directoryOf(const QCommandLineParser &parser, const QString &option,
                    const char *variable = "")
{
    QString directory
            = parser.isSet(option) ? parser.value(option) : qEnvironmentVariable(variable);
    if (directory.isEmpty() && parser.isSet(option))
        throw UserError(u"--%1: the name of the directory is empty"_s.arg(option));
    if (directory.isEmpty())
        throw UserError(u"--%1 DIR/ is needed; see --help"_s.arg(option));
    return directory.endsWith(u'/') ? directory : directory + u'/';
}

QString fileOf(const QCommandLineParser &parser, const QString &option)
{
    QString file = parser.value(option);
    if (file.isEmpty() && parser.isSet(option))
        throw UserError(u"--%1: the name of the file is empty"_s.arg(option));
    return file;
}

std::optional<SettingName> settingOf(const QCommandLineParser &parser, const QString &option)
{
    if (!parser.isSet(option))
        return std::nullopt;
    const QString text = parser.value(option);
    auto name = nameOf(text);
    if (!name)
        throw UserError(u"--%1 '%2' is not group/key"_s.arg(option, text));
    return name;
}

void describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
            u"Shows where the effective value of each setting of a box comes from, and what it "
            "overrides.\n"
            "The files are only read. Exit codes: 0; 1 if something was not found or --diff found\n"
            "differences; 2 for trouble."_s);
    parser.addPositionalArgument(u"PATTERN"_s,
                                 u"Show only settings whose group/key matches, e.g. 'ui/*'."_s,
                                 u"[PATTERN ...]"_s);
    parser.addOptions({
            {u"storage"_s,
             u"The directory of custom.conf and selvi.db. By default TAMSEL_STORAGE."_s, u"DIR/"_s},
            {u"assets"_s, u"The directory of ravona.conf. By default TAMSEL_ASSETS."_s, u"DIR/"_s},
            {u"rdm"_s, u"A JSON file with the map of the layer Rdm; - is standard input."_s,
             u"FILE"_s},
            {u"feature-keys"_s, u"A JSON file with the map of the layer FeatureKeys."_s, u"FILE"_s},
            {u"set"_s,
             u"Put a text into a layer that has no file: Runtime, Rdm, FeatureKeys, "
             "SystemProperties or CommandLineArgs."_s,
             u"LAYER:group/key=value"_s},
            {u"layer"_s, u"Look at this layer alone, as if there were no other."_s, u"LAYER"_s},
            {u"get"_s, u"Print the value of one setting and nothing else."_s, u"group/key"_s},
            {u"explain"_s, u"Show every layer for one setting."_s, u"group/key"_s},
            {u"diff"_s, u"Show the effective values that this storage directory would change."_s,
             u"DIR/"_s},
            {u"json"_s, u"Print JSON."_s},
            {u"wide"_s, u"Print tables on a terminal as wide as they are."_s},
            {u"no-color"_s, u"Print without colours on a terminal too."_s},
    });
    parser.addHelpOption();
    parser.addVersionOption();
}

// Only one of two would count.
void checkRepetitions(const QCommandLineParser &parser)
{
    for (const QString &option : {u"storage"_s, u"assets"_s, u"rdm"_s, u"feature-keys"_s,
                                  u"layer"_s, u"get"_s, u"explain"_s, u"diff"_s}) {
        if (parser.values(option).size() > 1)
            throw UserError(u"--%1 is given twice"_s.arg(option));
    }
}

} // namespace

bool isFileLayer(SettingsType layer)
{
    return layer == SettingsType::CustomConfPersistent || layer == SettingsType::SelviDb
            || layer == SettingsType::RavonaConfDefault;
}

bool Options::wants(const SettingName &name) const
{
    return patterns.isEmpty()
            || std::any_of(patterns.cbegin(), patterns.cend(),
                           [&name](const Pattern &pattern) { return pattern.matches(name); });
}

Options parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    describe(parser);
    Options result;
    if (!parser.parse(arguments))
        throw UserError(parser.errorText());
    if (parser.isSet(u"help"_s) || parser.isSet(u"help-all"_s)) {
        result.answer = parser.helpText();
        return result;
    }
    if (parser.isSet(u"version"_s)) {
        result.answer = u"tamsel-inspect " TAMSEL_VERSION_STRING "\n"_s;
        return result;
    }

    checkRepetitions(parser);
    result.storage = directoryOf(parser, u"storage"_s, "TAMSEL_STORAGE");
    result.assets = directoryOf(parser, u"assets"_s, "TAMSEL_ASSETS");
    result.rdmFile = fileOf(parser, u"rdm"_s);
    result.featureKeysFile = fileOf(parser, u"feature-keys"_s);
    if (result.rdmFile == "-"_L1 && result.featureKeysFile == "-"_L1)
        throw UserError(u"--rdm and --feature-keys cannot both be standard input"_s);
    if (parser.isSet(u"diff"_s))
        result.otherStorage = directoryOf(parser, u"diff"_s);
    const QStringList assignments = parser.values(u"set"_s);
    for (const QString &text : assignments)
        result.assignments.append(assignmentOf(text));
    const QStringList patterns = parser.positionalArguments();
    for (const QString &text : patterns)
        result.patterns.append(Pattern(text));
    result.json = parser.isSet(u"json"_s);
    result.wide = parser.isSet(u"wide"_s);
    result.colour = !parser.isSet(u"no-color"_s);

    if (parser.isSet(u"layer"_s))
        result.layer = layerOf(parser.value(u"layer"_s), u"--layer"_s);
    result.explained = settingOf(parser, u"explain"_s);
    result.wanted = settingOf(parser, u"get"_s);
    const bool several = !result.otherStorage.isEmpty() || !result.patterns.isEmpty();
    if (result.wanted && (several || result.explained))
        throw UserError(u"--get takes neither --explain, --diff nor a pattern"_s);
    if (result.explained && (several || result.layer))
        throw UserError(u"--explain takes neither --layer, --diff nor a pattern"_s);
    return result;
}

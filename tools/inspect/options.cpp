// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "options.h"

#include "usererror.h"

#include <tamsel/tamselversion.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QFileInfo>
#include <QtCore/QMetaEnum>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// The group is the text before the first "/".
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

// A wrong argument of --set as it may be shown: any part of it may be a secret.
QString shownAssignment(const QString &text, const tamsel::host::Redaction &redaction)
{
    const qsizetype equals = text.indexOf(u'=');
    const QString address = text.left(equals);
    bool isSecret = redaction.matches({}, text);
    for (const auto &name : {nameOf(address), nameOf(address.section(u':', 1))})
        isSecret |= name && redaction.matches(name->group, name->key);
    return isSecret ? text.left(equals + 1) + tamsel::host::Redaction::placeholder() : text;
}

Assignment assignmentOf(const QString &text, const tamsel::host::Redaction &redaction)
{
    const QString option = u"--set '%1'"_s.arg(shownAssignment(text, redaction));
    const qsizetype colon = text.indexOf(u':');
    const qsizetype equals = text.indexOf(u'=', colon + 1);
    const auto name = nameOf(text.mid(colon + 1, equals - colon - 1));
    if (colon < 0 || equals < 0 || !name)
        throw UserError(option + " is not LAYER:group/key=value"_L1);
    const SettingsType layer = layerOf(text.left(colon), option);
    if (isFileLayer(layer))
        throw UserError(u"%1: the layer %2 is a file"_s.arg(option, text.left(colon)));
    return {layer, *name, text.mid(equals + 1)};
}

// Returns the directory with a "/" at the end: the library appends file names without one.
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

// An empty pattern matches nothing: it turns redaction off.
tamsel::host::Redaction redactionOf(const QCommandLineParser &parser)
{
    if (!parser.isSet(u"redact"_s))
        return {};
    const QStringList patterns = parser.values(u"redact"_s);
    for (const QString &text : patterns)
        Pattern{text}; // throws if it is not a pattern
    return tamsel::host::Redaction(patterns);
}

// Reads the other side of --diff: the directory of a box, or a snapshot.
void readOther(const QCommandLineParser &parser, Options &options)
{
    const QString other = parser.value(u"diff"_s);
    const QFileInfo info(other);
    if (other == "-"_L1 || (info.exists() && !info.isDir())) // or a pipe
        options.otherSnapshot = other;
    else
        options.otherStorage = directoryOf(parser, u"diff"_s);
}

// Refuses options that do not go together, so that none is ignored.
void checkModes(const QCommandLineParser &parser, const Options &options)
{
    const auto isSet = [&parser](const QString &option) { return parser.isSet(option); };
    const auto refuse = [&](const QString &option, const QStringList &others) {
        if (!isSet(option))
            return;
        for (const QString &other : others) {
            if (isSet(other))
                throw UserError(u"--%1 does not take --%2"_s.arg(option, other));
        }
    };
    const bool several = options.isDifference() || !options.patterns.isEmpty();
    if (options.wanted && (several || options.explained))
        throw UserError(u"--get takes neither --explain, --diff nor a pattern"_s);
    if (options.explained && (several || options.layer))
        throw UserError(u"--explain takes neither --layer, --diff nor a pattern"_s);
    refuse(u"diff-assets"_s, {u"diff"_s, u"snapshot"_s, u"get"_s, u"explain"_s});
    refuse(u"changes"_s, {u"get"_s, u"explain"_s, u"diff"_s, u"diff-assets"_s, u"overridden"_s});
    refuse(u"overridden"_s, {u"get"_s, u"explain"_s, u"diff"_s, u"diff-assets"_s});
    refuse(u"snapshot"_s, {u"layer"_s});
    if (!options.otherSnapshot.isEmpty())
        refuse(u"diff"_s, {u"layer"_s});
    if (options.changes && options.snapshot.isEmpty())
        throw UserError(u"--changes needs --snapshot FILE"_s);
    if (!options.needsFiles())
        refuse(u"snapshot"_s, {u"storage"_s, u"assets"_s, u"rdm"_s, u"feature-keys"_s, u"set"_s});
    if (!options.snapshot.isEmpty())
        refuse(u"snapshot"_s, {u"storage"_s});
}

void describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
            u"Shows where the effective value of each setting of a box comes from, and what it "
            "overrides.\n"
            "The files are only read. Exit codes: 0; 1 if something was not found or --diff found\n"
            "differences; 2 for an error."_s);
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
            {u"diff"_s,
             u"Show the effective values that this storage directory, or this snapshot, would "
             "change; - is standard input."_s,
             u"DIR/|FILE"_s},
            {u"diff-assets"_s,
             u"Show the effective values that this assets directory would change."_s, u"DIR/"_s},
            {u"snapshot"_s,
             u"Look at a snapshot of a running process, not at files; - is standard input."_s,
             u"FILE"_s},
            {u"changes"_s, u"Show the last changes in the snapshot."_s},
            {u"overridden"_s, u"Show only settings that override something."_s},
            {u"redact"_s,
             u"Show \"(redacted)\" for settings that match, in place of *password*, *token*, "
             "*secret* and *pin*; '' redacts nothing."_s,
             u"PATTERN"_s},
            {u"json"_s, u"Print JSON."_s},
            {u"wide"_s, u"Do not fit tables to the width of the terminal."_s},
            {u"no-color"_s, u"Never use colours."_s},
    });
    parser.addHelpOption();
    parser.addVersionOption();
}

// Refuses a repeated option: only one of the two would take effect.
void checkRepetitions(const QCommandLineParser &parser)
{
    for (const QString &option :
         {u"storage"_s, u"assets"_s, u"rdm"_s, u"feature-keys"_s, u"layer"_s, u"get"_s,
          u"explain"_s, u"diff"_s, u"diff-assets"_s, u"snapshot"_s}) {
        if (parser.values(option).size() > 1)
            throw UserError(u"--%1 is given twice"_s.arg(option));
    }
}

// Standard input can be read only once.
void checkStandardInput(const QList<std::pair<QString, QString>> &filesOfOptions)
{
    QString first;
    for (const auto &[option, file] : filesOfOptions) {
        if (file != "-"_L1)
            continue;
        if (!first.isEmpty())
            throw UserError(u"--%1 and --%2 cannot both be standard input"_s.arg(first, option));
        first = option;
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

bool Options::wants(const Setting &setting) const
{
    return wants(setting.name) && (!onlyOverridden || !setting.overridden.isEmpty());
}

bool Options::isDifference() const
{
    return !otherStorage.isEmpty() || !otherSnapshot.isEmpty() || !otherAssets.isEmpty();
}

bool Options::needsFiles() const
{
    return snapshot.isEmpty() || !otherStorage.isEmpty();
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
    result.redaction = redactionOf(parser);
    result.snapshot = fileOf(parser, u"snapshot"_s);
    if (parser.isSet(u"diff"_s))
        readOther(parser, result);
    if (parser.isSet(u"diff-assets"_s))
        result.otherAssets = directoryOf(parser, u"diff-assets"_s);
    if (result.snapshot.isEmpty())
        result.storage = directoryOf(parser, u"storage"_s, "TAMSEL_STORAGE");
    if (result.needsFiles())
        result.assets = directoryOf(parser, u"assets"_s, "TAMSEL_ASSETS");
    result.rdmFile = fileOf(parser, u"rdm"_s);
    result.featureKeysFile = fileOf(parser, u"feature-keys"_s);
    checkStandardInput({{u"snapshot"_s, result.snapshot},
                        {u"diff"_s, result.otherSnapshot},
                        {u"rdm"_s, result.rdmFile},
                        {u"feature-keys"_s, result.featureKeysFile}});
    const QStringList assignments = parser.values(u"set"_s);
    for (const QString &text : assignments)
        result.assignments.append(assignmentOf(text, result.redaction));
    const QStringList patterns = parser.positionalArguments();
    for (const QString &text : patterns)
        result.patterns.append(Pattern(text));
    result.changes = parser.isSet(u"changes"_s);
    result.onlyOverridden = parser.isSet(u"overridden"_s);
    result.json = parser.isSet(u"json"_s);
    result.wide = parser.isSet(u"wide"_s);
    result.colour = !parser.isSet(u"no-color"_s);

    if (parser.isSet(u"layer"_s))
        result.layer = layerOf(parser.value(u"layer"_s), u"--layer"_s);
    result.explained = settingOf(parser, u"explain"_s);
    result.wanted = settingOf(parser, u"get"_s);
    checkModes(parser, result);
    return result;
}

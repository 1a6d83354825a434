// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "alphabet.h"

#include <QtCore/QStringList>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

const std::vector<SettingsType> &layerAlphabet()
{
    static const std::vector<SettingsType> layers{
            SettingsType::Runtime,         SettingsType::Rdm,
            SettingsType::FeatureKeys,     SettingsType::SystemProperties,
            SettingsType::CommandLineArgs, SettingsType::CustomConfPersistent,
            SettingsType::SelviDb,         SettingsType::RavonaConfDefault,
            static_cast<SettingsType>(8),  static_cast<SettingsType>(-1),
    };
    return layers;
}

// Two keys are left out on purpose:
// - ("", ""): its full key is empty once QSettings has normalised it, and a debug build of Qt stops
//   at that with an assertion.
// - a group "general" in another case than "General": QSettings writes every one of them as
//   [%General], so that the case of such a group is lost on the way through a file.
const std::vector<Key> &keyAlphabet()
{
    static const std::vector<Key> keys{
            {u"g"_s, u"k"_s},
            {u"g"_s, u"K"_s},
            {u"G"_s, u"k"_s},
            {u"h"_s, u"k"_s},
            {u""_s, u"k"_s}, // a top-level entry, which an INI layer lists as k/k
            {u"k"_s, u"k"_s},
            {u"k"_s, u""_s}, // in a file the same entry as ""/k, elsewhere another one
            {u"g"_s, u""_s}, // in a file the parent of all of group g
            {u"a/b"_s, u"c"_s}, // in a file one entry, which is listed as a/c
            {u"a"_s, u"b/c"_s}, // "
            {u"a"_s, u"c"_s},
            {u"a"_s, u"b"_s}, // in a file the parent of a/b/c
            {u""_s, u"a/b"_s}, // the same entry
            {u"General"_s, u"k"_s}, // a group, not QSettings' section for top-level entries
            {u"General"_s, u""_s},
            {u"%1"_s, u"%2"_s}, // look like holes of a message
            {u"gr\u00fcn \u2713"_s, u"key=1;"_s}, // QSettings has to escape them
    };
    return keys;
}

const std::vector<QVariant> &valueAlphabet()
{
    static const std::vector<QVariant> values{
            QVariant(1),
            QVariant(2),
            QVariant(u"1"_s), // not equal to the number
            QVariant(u"en"_s),
            QVariant(), // held, but invalid
            QVariant(1.0), // equal to the int
            QVariant(true), // equal to the int
            QVariant(u""_s),
            QVariant(2.5),
            QVariant(QStringList{u"x"_s, u"y"_s}), // has no text
            QVariant(QStringList{u"x"_s}), // has one, and leaves a file as a QString
            QVariant(u"%1 %2 %3 %4"_s), // look like holes of a message
            QVariant(u"x, y"_s), // not a list, in a file neither
            QVariant(u"@gr\u00fcn"_s),
    };
    return values;
}

const std::vector<IniFile> &fileAlphabet()
{
    static const std::vector<IniFile> files{
            {"", {}},
            {"[g]\nk=1\n", {{u"g/k"_s, u"1"_s}}},
            {"k=top\n"
             "[g]\nK=x, y\nk=en\n"
             "[a]\nb\\c=1\nc=near\n"
             "[%General]\nk=1\n",
             {{u"k"_s, u"top"_s},
              {u"g/K"_s, QStringList{u"x"_s, u"y"_s}},
              {u"g/k"_s, u"en"_s},
              {u"a/b/c"_s, u"1"_s},
              {u"a/c"_s, u"near"_s},
              {u"General/k"_s, u"1"_s}}},
            // Two entries are listed as a/c. The list is out of order: g/g comes before g/K.
            {"[a]\nb\\c=1\nx\\c=2\n[General]\nk=en\ng=2\n[g]\nK=1\n",
             {{u"a/b/c"_s, u"1"_s},
              {u"a/x/c"_s, u"2"_s},
              {u"k"_s, u"en"_s},
              {u"g"_s, u"2"_s},
              {u"g/K"_s, u"1"_s}}},
            // Out of order as well, at a/y and a/c too.
            {"[General]\ng=1\n[g]\nK=1\nk=1\n[a]\nb\\y=1\nb=1\nc=1\n",
             {{u"g"_s, u"1"_s},
              {u"g/K"_s, u"1"_s},
              {u"g/k"_s, u"1"_s},
              {u"a/b/y"_s, u"1"_s},
              {u"a/b"_s, u"1"_s},
              {u"a/c"_s, u"1"_s}}},
            {"[g]\nk=@Invalid()\n", {{u"g/k"_s, QVariant()}}},
            {"[g]\nk=1\n[G\nk=2\n", {{u"g/k"_s, u"1"_s}, {u"G/k"_s, u"2"_s}}, false},
    };
    return files;
}

} // namespace tamsel::tests

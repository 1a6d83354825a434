// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_ALPHABET_H
#define TAMSEL_TESTS_ALPHABET_H

#include <tamsel/settingstype.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <map>
#include <utility>
#include <vector>

// What random operations are made of. The lists are small, so that layers meet over the same keys,
// and go from the plain to the odd: a counterexample shrinks towards their first elements.

namespace tamsel::tests {

using Key = std::pair<QString, QString>;

// The contents of an INI file, and what is to be found in it.
struct IniFile
{
    QByteArray text;
    std::map<QString, QVariant> entries; // by full key
    bool wellFormed = true;
};

// The eight layers by rank, then two values outside the enumeration.
const std::vector<SettingsType> &layerAlphabet();
const std::vector<Key> &keyAlphabet();
const std::vector<QVariant> &valueAlphabet();
const std::vector<IniFile> &fileAlphabet();

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_ALPHABET_H

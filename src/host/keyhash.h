// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_KEYHASH_H
#define TAMSEL_HOST_KEYHASH_H

#include <QtCore/QHashFunctions>
#include <QtCore/QString>

#include <cstddef>
#include <utility>

namespace tamsel::host {

// Group and key of a setting.
using Key = std::pair<QString, QString>;

// For std::unordered_map, which takes half of the code of a QHash.
struct KeyHash
{
    std::size_t operator()(const Key &key) const { return qHash(key, QHashSeed::globalSeed()); }
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_KEYHASH_H

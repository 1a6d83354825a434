// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_OPERATION_H
#define TAMSEL_TESTS_OPERATION_H

#include <QtCore/QString>
#include <QtCore/QVariant>

#include <cstddef>
#include <vector>

namespace tamsel::tests {

enum class Action {
    SetValue,
    RemoveValue,
    Value,
    Contains,
    ContainsInLayer,
    StorageAvailable,
    InitStorage,
    ClearStorage,
    AppendHandler,
    RemoveHandler,
    SetPersistentStoragePath,
    SetAssetsPrefix,
    DeliverFile, // somebody else puts a file into a place, and a layer is created from it
};

// What a group of the map given to initStorage() is.
enum class Shape { Map, Hash, NotAMap };

// The handlers differ in what they do when they are called, besides writing it down.
enum class Role { Records, Reads, Writes, Leaves, TogglesAnother };
constexpr std::size_t roleCount = 5;

// Where the files are: two directories, and a "directory" that is a regular file.
enum class Place { First, Second, Unwritable };
constexpr std::size_t placeCount = 3;

// Numbers are indices into the lists of alphabet.h.
struct Entry
{
    std::size_t key = 0;
    std::size_t value = 0;
    Shape shape = Shape::Map; // of the whole group; its last entry decides
};

// One call, with the arguments that its action looks at.
struct Operation
{
    Action action = Action::Value;
    std::size_t layer = 0;
    std::size_t key = 0;
    std::size_t value = 0;
    std::size_t file = 0;
    Role role = Role::Records;
    Place place = Place::First;
    std::vector<Entry> entries;
};

using Sequence = std::vector<Operation>;

// The call as it would be written in a program.
QString describe(const Operation &operation);

// The map that an operation InitStorage passes.
QVariantMap toMap(const std::vector<Entry> &entries);

// Makes operations from any bytes, for generators that know nothing better. At the end of the bytes
// it goes on with zeros.
class OperationReader
{
public:
    OperationReader(const unsigned char *bytes, std::size_t size);

    bool atEnd() const;
    Operation next();

private:
    unsigned char byte();
    std::size_t below(std::size_t count);
    std::size_t skewed(std::size_t count);

    const unsigned char *m_bytes; // borrowed
    std::size_t m_left;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_OPERATION_H

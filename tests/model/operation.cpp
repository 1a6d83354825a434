// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "operation.h"

#include "alphabet.h"

#include "recording.h"
#include "testhost.h"

#include <QtCore/QStringBuilder>
#include <QtCore/QStringList>

#include <array>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// How often each action comes up, in 32.
constexpr std::array<Action, 32> actionWeights{
        Action::SetValue,         Action::SetValue,
        Action::SetValue,         Action::SetValue,
        Action::SetValue,         Action::SetValue,
        Action::SetValue,         Action::RemoveValue,
        Action::RemoveValue,      Action::RemoveValue,
        Action::RemoveValue,      Action::InitStorage,
        Action::InitStorage,      Action::InitStorage,
        Action::InitStorage,      Action::InitStorage,
        Action::InitStorage,      Action::InitStorage,
        Action::ClearStorage,     Action::ClearStorage,
        Action::ClearStorage,     Action::Value,
        Action::Contains,         Action::ContainsInLayer,
        Action::StorageAvailable, Action::AppendHandler,
        Action::RemoveHandler,    Action::SetPersistentStoragePath,
        Action::SetAssetsPrefix,  Action::DeliverFile,
        Action::DeliverFile,      Action::DeliverFile,
};

constexpr std::size_t maxEntries = 6;

constexpr std::array<const char *, placeCount> placeNames{"first", "second", "unwritable"};
constexpr std::array<const char *, roleCount> roleNames{"recorder", "reader", "writer", "leaver",
                                                        "toggler"};

// Rarely one of the two that do not exist.
std::size_t layer(unsigned char random)
{
    return random < 250 ? random % 8 : 8 + random % 2;
}

QString keyText(std::size_t index)
{
    const Key &key = keyAlphabet().at(index);
    return '"'_L1 % key.first % "\", \""_L1 % key.second % '"'_L1;
}

QString valueText(std::size_t index)
{
    const QVariant &value = valueAlphabet().at(index);
    if (value.metaType() == QMetaType::fromType<QStringList>())
        return "QStringList("_L1 % value.toStringList().join(" | "_L1) % ')'_L1;
    return describe(value);
}

QString layerText(std::size_t index)
{
    const SettingsType type = layerAlphabet().at(index);
    const char *name = keyOf(type);
    return name ? QString(QLatin1StringView(name)) : QString::number(static_cast<int>(type));
}

QString entriesText(const std::vector<Entry> &entries)
{
    QStringList texts;
    for (const Entry &entry : entries) {
        QString text = '('_L1 % keyText(entry.key) % "): "_L1 % valueText(entry.value);
        if (entry.shape == Shape::Hash)
            text += " in a hash"_L1;
        else if (entry.shape == Shape::NotAMap)
            text += " in no map"_L1;
        texts.append(text);
    }
    return u'{' % texts.join(", "_L1) % u'}';
}

} // namespace

QString describe(const Operation &operation)
{
    const QString key = keyText(operation.key);
    const QString layer = layerText(operation.layer);
    const QLatin1StringView role(roleNames.at(static_cast<std::size_t>(operation.role)));
    const QLatin1StringView place(placeNames.at(static_cast<std::size_t>(operation.place)));
    switch (operation.action) {
    case Action::SetValue:
        return "setValue("_L1 % key % ", "_L1 % valueText(operation.value) % ", "_L1 % layer
                % ')'_L1;
    case Action::RemoveValue:
        return "removeValue("_L1 % key % ", "_L1 % layer % ')'_L1;
    case Action::Value:
        return "value("_L1 % key % ", "_L1 % valueText(operation.value) % ')'_L1;
    case Action::Contains:
        return "contains("_L1 % key % ')'_L1;
    case Action::ContainsInLayer:
        return "contains("_L1 % key % ", "_L1 % layer % ')'_L1;
    case Action::StorageAvailable:
        return "storageAvailable("_L1 % layer % ')'_L1;
    case Action::InitStorage:
        return "initStorage("_L1 % layer % ", "_L1 % entriesText(operation.entries) % ')'_L1;
    case Action::ClearStorage:
        return "clearStorage("_L1 % layer % ')'_L1;
    case Action::AppendHandler:
        return "appendConfigurationHandler("_L1 % role % ')'_L1;
    case Action::RemoveHandler:
        return "removeConfigurationHandler("_L1 % role % ')'_L1;
    case Action::SetPersistentStoragePath:
        return "setPersistentStoragePath("_L1 % place % ')'_L1;
    case Action::SetAssetsPrefix:
        return "setAssetsPrefix("_L1 % place % ')'_L1;
    case Action::DeliverFile:
        break;
    }
    return "deliver file "_L1 % QString::number(operation.file) % " for "_L1 % layer % " to "_L1
            % place % " and init it"_L1;
}

QVariantMap toMap(const std::vector<Entry> &entries)
{
    std::map<QString, QVariantMap> groups;
    std::map<QString, Shape> shapes;
    for (const Entry &entry : entries) {
        const auto &[group, key] = keyAlphabet().at(entry.key);
        groups[group].insert(key, valueAlphabet().at(entry.value));
        shapes[group] = entry.shape;
    }
    QVariantMap map;
    for (const auto &[group, groupEntries] : groups) {
        switch (shapes.at(group)) {
        case Shape::Map:
            map.insert(group, groupEntries);
            break;
        case Shape::Hash: {
            QVariantHash hash;
            for (auto entry = groupEntries.cbegin(); entry != groupEntries.cend(); ++entry)
                hash.insert(entry.key(), entry.value());
            map.insert(group, hash);
            break;
        }
        case Shape::NotAMap:
            map.insert(group, 5);
            break;
        }
    }
    return map;
}

OperationReader::OperationReader(const unsigned char *bytes, std::size_t size)
    : m_bytes(bytes), m_left(size)
{
}

bool OperationReader::atEnd() const
{
    return m_left == 0;
}

// Reads the same fields for every action: one changed byte changes one thing.
Operation OperationReader::next()
{
    Operation operation;
    operation.action = actionWeights.at(byte() % actionWeights.size());
    const bool isDelivery = operation.action == Action::DeliverFile;
    operation.layer = isDelivery ? 5 + below(3) : layer(byte());
    operation.key = skewed(keyAlphabet().size());
    operation.value = skewed(valueAlphabet().size());
    operation.file = below(fileAlphabet().size());
    operation.role = static_cast<Role>(below(roleCount));
    operation.place = static_cast<Place>(below(isDelivery ? 2 : placeCount));
    if (operation.action != Action::InitStorage)
        return operation;
    operation.entries.resize(byte() % (maxEntries + 1));
    for (Entry &entry : operation.entries) {
        entry.key = skewed(keyAlphabet().size());
        entry.value = skewed(valueAlphabet().size());
        const unsigned char shape = byte() % 8; // most groups are maps
        entry.shape = shape < 6 ? Shape::Map : shape == 6 ? Shape::Hash : Shape::NotAMap;
    }
    return operation;
}

unsigned char OperationReader::byte()
{
    if (m_left == 0)
        return 0;
    --m_left;
    return *m_bytes++;
}

std::size_t OperationReader::below(std::size_t count)
{
    return byte() % count;
}

// Prefers small numbers: layers are to meet over the same keys.
std::size_t OperationReader::skewed(std::size_t count)
{
    const std::size_t random = byte();
    return random * random * count / (256UL * 256UL);
}

} // namespace tamsel::tests

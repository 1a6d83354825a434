// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Tests as rows of a table: the layers, the steps of the host, and the expected journal.
//
//     row("a changed value", mapLayers, {layer(SELF, {{u"a"_s, 1}})}, {init(SELF, {{u"a"_s, 2}})}, uR"(
//         info: Storage: SELF reinitialized
//         log: Top value changed SELF: g/a = '2'
//         handler: SELF g/a = int(2) )");

#ifndef TAMSEL_TESTS_JOURNALROWS_H
#define TAMSEL_TESTS_JOURNALROWS_H

#include "comparejournal.h"
#include "testhost.h"

#include <functional>
#include <limits>
#include <map>
#include <memory>

namespace tamsel::tests {

// The layer that a row is for, in its steps.
inline constexpr auto SELF = static_cast<SettingsType>(1000);

inline const QList<SettingsType> unknownTypes{
        static_cast<SettingsType>(8), static_cast<SettingsType>(-1),
        static_cast<SettingsType>(std::numeric_limits<int>::max()),
        static_cast<SettingsType>(std::numeric_limits<int>::min())};

// The manager that the steps of a row work on.
class Scene
{
public:
    explicit Scene(SettingsType self) : m_self(self) { }

    // The layer that \a type means in this row.
    SettingsType layer(SettingsType type) const { return type == SELF ? m_self : type; }
    // The handler called \a name; "handler" is registered from the start, others are made here.
    RecordingHandler *handler(const QString &name);
    void destroyHandler(const QString &name) { m_handlers.erase(name); }

    TestHost host;

private:
    const SettingsType m_self;
    std::map<QString, std::unique_ptr<RecordingHandler>> m_handlers;
};

using Step = std::function<void(Scene &)>;
using Steps = QList<Step>;
// Names in the journal of a row, and their replacements.
using Words = QMap<QString, QString>;

// Steps of a host. Where no group is given, it is "g".

// Creates or replaces a layer without contents; a file layer reads an existing file.
Step init(SettingsType type);
// The same, with \a entries in the map or in the file. Use texts: both keep them as they are.
Step init(SettingsType type, const QVariantMap &entries);
Step initMap(SettingsType type, const QVariantMap &groups);
// Creates or replaces a layer. Writes the entries if initStorage() ignores the map.
Step layer(SettingsType type, const QVariantMap &entries = {},
           const QString &group = QStringLiteral("g"));
// All layers, or all but the one of the row; each holds its name under \a key, if there is one.
Step everyLayer(const QString &key = {});
Step otherLayers(const QString &key = {});
Step clear(SettingsType type);
Step set(SettingsType type, const QString &key, const QVariant &value,
         const QString &group = QStringLiteral("g"));
Step remove(SettingsType type, const QString &key, const QString &group = QStringLiteral("g"));
Step append(const QString &handler); // "append handler: true"
Step remove(const QString &handler); // "remove handler: true"
// Writes the file of a layer.
Step file(SettingsType type, const QByteArray &contents);
// Layers created from now on have other files.
Step elsewhere();

// The handler takes \a steps when it is first notified of \a key.
Step onFirst(const QString &handler, const QString &key, const Steps &steps);

// Steps that write the present state into the journal.

Step read(const QString &key,
          const QString &group = QStringLiteral("g")); // "read g/k: int(1)", or "missing"
Step holders(const QString &key); // "held g/k: Rdm SelviDb", or "by no layer"
Step available(); // "available: Rdm SelviDb", or "none"
Step files(); // "file first/persistent/custom.conf: [g] k=1", or "no file"

// One layer or several; a row is repeated for each.
class Layers : public QList<SettingsType>
{
public:
    Layers(SettingsType type) : QList{type} { }
    Layers(const QList<SettingsType> &types) : QList(types) { }
    Layers(std::initializer_list<SettingsType> types) : QList(types) { }
};

// The names of all layers but \a type, as holders() writes them.
QString namesBut(SettingsType type);

// Adds rows to the table of a test function, in its data function.
class Rows
{
public:
    Rows();
    // The steps \a before are not in the journal.
    void operator()(const QByteArray &name, const Layers &layers, const Steps &before,
                    const Steps &steps, QStringView journal, const Words &words = {});
};

// The test function: takes the steps of the row and compares the journal.
void runRow();

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_JOURNALROWS_H

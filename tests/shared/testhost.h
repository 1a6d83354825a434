// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TESTHOST_H
#define TAMSEL_TESTS_TESTHOST_H

#include "files.h"
#include "layers.h"
#include "recording.h"

#include <tamsel/settingstype.h>

namespace tamsel::tests {

// The map with one group, as ConfigurationManager::initStorage() takes it.
inline QVariantMap groupMap(const QString &group, const QVariantMap &entries)
{
    return {{group, entries}};
}

// The journal's line for a change message of a layer, with the logger operation of that layer;
// empty if its changes are not logged.
inline QStringList changeLine(SettingsType type, const QString &message)
{
    switch (type) {
    case SettingsType::Rdm:
    case SettingsType::SystemProperties:
        return {QLatin1StringView("info: ") + message};
    case SettingsType::CommandLineArgs:
    case SettingsType::CustomConfPersistent:
    case SettingsType::Runtime:
    case SettingsType::SelviDb:
        return {QLatin1StringView("debug: ") + message};
    case SettingsType::RavonaConfDefault:
    case SettingsType::FeatureKeys:
        break;
    }
    return {};
}

// A box without layers.
class TestHost : public Box
{
public:
    TestHost() : Box(Layers::None) { }

    // Creates or replaces a layer that has a map or a file, with entries in the group "g". Use
    // texts: both keep them as they are.
    void init(SettingsType type, const QVariantMap &entries)
    {
        if (fileLayers.contains(type)) {
            QByteArray contents = "[g]\n";
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
                contents += entry.key().toUtf8() + '=' + entry.value().toString().toUtf8() + '\n';
            if (!writeFile(filePath(type), contents))
                qFatal("%s: no file written", keyOf(type));
        }
        manager.initStorage(type, groupMap(QStringLiteral("g"), entries));
    }
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TESTHOST_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TESTHOST_H
#define TAMSEL_TESTS_TESTHOST_H

#include "files.h"
#include "journal.h"
#include "layers.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/settingstype.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace tamsel::tests {

// The map with one group, as ConfigurationManager::initStorage() takes it.
inline QVariantMap groupMap(const QString &group, const QVariantMap &entries)
{
    return {{group, entries}};
}

// What the journal holds after the change message of a layer: a line with the logger operation of
// that layer, or none.
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

// A manager as a host program sets it up: with a logger and one handler, which write into one
// journal, and with folders of its own for its files.
class TestHost
{
public:
    TestHost()
    {
        moveTo(QStringLiteral("first"));
        manager.appendConfigurationHandler(&handler);
    }

    // Creates the layer with entries in one group; what that logs and notifies is dropped.
    void prepare(SettingsType type, const QString &group = {}, const QVariantMap &entries = {})
    {
        manager.initStorage(type, groupMap(group, entries));
        if (!mapLayers.contains(type)) {
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
                manager.setValue(group, entry.key(), entry.value(), type);
        }
        journal.take();
    }

    // All eight layers, empty; what that logs is dropped.
    void prepareAll()
    {
        for (const SettingsType type : storagePriority)
            prepare(type);
    }

    // Creates or replaces a layer that has a map or a file, with entries in the group "g". Give
    // texts: they are the same from either.
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

    // Clears the layer and creates it again from what its file holds then, as another process would.
    void reread(SettingsType type)
    {
        manager.clearStorage(type);
        const QString previous = filePath(type);
        moveTo(QLatin1StringView("after ") + m_place);
        if (!QFile::copy(previous, filePath(type)))
            qFatal("%s: no file copied", keyOf(type));
        manager.initStorage(type);
    }

    // Lets the files of layers created from now on lie in new, empty folders.
    void moveTo(const QString &place)
    {
        m_place = place;
        const QDir root(folder.path());
        if (!root.mkpath(place + QLatin1StringView("/persistent"))
            || !root.mkpath(place + QLatin1StringView("/assets")))
            qFatal("no folders created");
        manager.setPersistentStoragePath(
                folder.filePath(place + QLatin1StringView("/persistent/")));
        manager.setAssetsPrefix(assetsPrefix());
    }

    QString assetsPrefix() const
    {
        return folder.filePath(m_place + QLatin1StringView("/assets/"));
    }

    // The file of a layer that is created now.
    QString filePath(SettingsType type) const
    {
        switch (type) {
        case SettingsType::CustomConfPersistent:
            return folder.filePath(m_place + QLatin1StringView("/persistent/custom.conf"));
        case SettingsType::SelviDb:
            return folder.filePath(m_place + QLatin1StringView("/persistent/selvi.db"));
        case SettingsType::RavonaConfDefault:
            return assetsPrefix() + QLatin1StringView("ravona.conf");
        default:
            qFatal("%s has no file", keyOf(type));
        }
    }

    QTemporaryDir folder;
    Journal journal;
    RecordingLogger logger{&journal};
    RecordingHandler handler{&journal};
    ConfigurationManager manager{&logger};

private:
    QString m_place;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TESTHOST_H

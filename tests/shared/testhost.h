// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TESTHOST_H
#define TAMSEL_TESTS_TESTHOST_H

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QTemporaryDir>

namespace tamsel::tests {

/*!
 * A manager as a host program sets it up: with a logger and one handler, which write into one
 * journal, and with folders of its own for its files.
 */
class TestHost
{
public:
    TestHost();

    /*! Creates the layer with \a entries in \a group; what that logs and reports is dropped. */
    void prepare(SettingsType type, const QString &group = {}, const QVariantMap &entries = {});
    /*!
     * Creates or replaces a layer that has a map or a file, with \a entries in the group "g". Give
     * texts: they are the same from either.
     */
    void init(SettingsType type, const QVariantMap &entries);
    /*! Lets the files of layers created from now on lie in new, empty folders. */
    void moveTo(const QString &place);
    QString assetsPrefix() const;
    /*! The file of a layer \a type that is created now. */
    QString filePath(SettingsType type) const;

    QTemporaryDir folder;
    Journal journal;
    RecordingLogger logger{&journal};
    RecordingHandler handler{&journal};
    ConfigurationManager manager{&logger};

private:
    QString m_place;
};

/*! The map with one group, as ConfigurationManager::initStorage() takes it. */
QVariantMap groupMap(const QString &group, const QVariantMap &entries);
/*! The key of \a type in its enumeration, also for the names of data rows. */
const char *keyOf(SettingsType type);
/*!
 * What the journal holds after the change message \a message of the layer \a type: a line with the
 * logger operation of that layer, or none.
 */
QStringList changeLine(SettingsType type, const QString &message);
bool writeFile(const QString &path, const QByteArray &contents);
/*! What the file holds; null if it does not exist. */
QByteArray readFile(const QString &path);

/*! The layers that take their contents from the map given to initStorage(), and refuse writes. */
inline const QList<SettingsType> mapLayers{SettingsType::CommandLineArgs, SettingsType::Rdm,
                                           SettingsType::FeatureKeys};
/*! The layers that start empty. */
inline const QList<SettingsType> memoryLayers{SettingsType::SystemProperties,
                                              SettingsType::Runtime};
/*! The layers with a file. */
inline const QList<SettingsType> fileLayers{SettingsType::CustomConfPersistent,
                                            SettingsType::SelviDb, SettingsType::RavonaConfDefault};
inline const QList<SettingsType> writableLayers = memoryLayers + fileLayers;

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TESTHOST_H

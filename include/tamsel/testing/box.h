// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTING_BOX_H
#define TAMSEL_TESTING_BOX_H

#include <tamsel/configurationmanager.h>
#include <tamsel/settingstype.h>
#include <tamsel/testing/journal.h>
#include <tamsel/testing/recordinghandler.h>
#include <tamsel/testing/recordinglogger.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace tamsel::testing {

/*!
 * \brief A manager as a host sets it up, with its files in a temporary directory.
 *
 * It has a logger and one handler, which write into one journal. Its files are removed with it.
 *
 * \code
 * tamsel::testing::Box box; // all eight layers, empty
 * box.manager.setValue(QStringLiteral("ui"), QStringLiteral("lang"), QStringLiteral("en"),
 *                      tamsel::SettingsType::Runtime);
 * const QStringList lines = box.take(); // what was logged and notified
 * \endcode
 *
 * \par Ownership
 * The box owns all its parts.
 * \par Threads
 * Those of its parts; the functions of the box are for one thread at a time.
 * \par Failure
 * If a file or a directory cannot be created, the program ends with qFatal().
 */
class Box
{
public:
    /*! \brief The layers that a box begins with. */
    enum class Layers {
        None, /*!< None. */
        All, /*!< All eight, empty. */
    };

    /*! \brief A box with these \a layers and an empty journal. */
    explicit Box(Layers layers = Layers::All)
    {
        if (!folder.isValid())
            qFatal("no temporary directory: %s", qPrintable(folder.errorString()));
        moveTo(QStringLiteral("first"));
        manager.appendConfigurationHandler(&handler);
        if (layers == Layers::All)
            prepareAll();
    }

    /*! \brief Returns what was logged and notified, and empties the journal. */
    QStringList take() { return journal.take(); }

    /*!
     * \brief Creates or replaces a layer, with \a entries in \a group.
     *
     * A file layer keeps what its file holds. The journal is empty afterwards.
     */
    void prepare(SettingsType type, const QString &group = {}, const QVariantMap &entries = {})
    {
        manager.initStorage(type, {{group, entries}});
        const bool takesMap = type == SettingsType::CommandLineArgs || type == SettingsType::Rdm
                || type == SettingsType::FeatureKeys;
        if (!takesMap) {
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
                manager.setValue(group, entry.key(), entry.value(), type);
        }
        journal.take();
    }

    /*! \brief Creates or replaces all eight layers, empty. The journal is empty afterwards. */
    void prepareAll()
    {
        for (const SettingsType type : storagePriority)
            prepare(type);
    }

    /*!
     * \brief Clears a file layer and creates it again, as after a restart of the process.
     *
     * QSettings remembers the contents of a file by its path, so the file moves to a new directory.
     * The file must exist: write a value to the layer first.
     */
    void reread(SettingsType type)
    {
        manager.clearStorage(type);
        const QString previous = filePath(type);
        moveTo(QLatin1StringView("after ") + m_place);
        if (!QFile::copy(previous, filePath(type)))
            qFatal("%s: no file copied", qPrintable(previous));
        manager.initStorage(type);
    }

    /*! \brief Puts the files of layers created from now on into the new directory \a place. */
    void moveTo(const QString &place)
    {
        m_place = place;
        const QDir root(folder.path());
        if (!root.mkpath(place + QLatin1StringView("/persistent"))
            || !root.mkpath(place + QLatin1StringView("/assets")))
            qFatal("no directories created");
        manager.setPersistentStoragePath(
                folder.filePath(place + QLatin1StringView("/persistent/")));
        manager.setAssetsPrefix(assetsPrefix());
    }

    /*! \brief Returns the directory of \c ravona.conf, with a slash at the end. */
    QString assetsPrefix() const
    {
        return folder.filePath(m_place + QLatin1StringView("/assets/"));
    }

    /*! \brief Returns the file that the file layer \a type has if it is created now. */
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
            qFatal("layer %d has no file", static_cast<int>(type));
        }
    }

    QTemporaryDir folder; /*!< \brief The directory of all files. */
    Journal journal; /*!< \brief What #logger and #handler write down. */
    RecordingLogger logger{&journal}; /*!< \brief The manager's logger. */
    RecordingHandler handler{&journal}; /*!< \brief The manager's only handler, at first. */
    ConfigurationManager manager{&logger}; /*!< \brief The settings. */

private:
    Q_DISABLE_COPY_MOVE(Box)

    QString m_place;
};

} // namespace tamsel::testing

#endif // TAMSEL_TESTING_BOX_H

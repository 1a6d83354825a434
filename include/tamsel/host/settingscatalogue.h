// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_SETTINGSCATALOGUE_H
#define TAMSEL_HOST_SETTINGSCATALOGUE_H

#include <tamsel/host/hostglobal.h>

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/settingstype.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <memory>
#include <utility>

namespace tamsel {
class ConfigurationManager;
}

namespace tamsel::host {

class SettingsCataloguePrivate;

/*! \brief A notification, as a handler gets it. */
struct SettingChange
{
    quint64 number = 0; //!< 1 for the first notification of the catalogue.
    QDateTime time; //!< By the clock of the system, in UTC.
    SettingsType type = SettingsType::CommandLineArgs; //!< The layer of the notification.
    QString group; //!< The group of the setting.
    QString key; //!< The key of the setting.
    QVariant value; //!< As notified: an uncovered value is a text; a removal has an invalid value.
};

/*!
 * \brief Lists all settings, which the manager cannot do, and their last changes.
 *
 * Make it before the first layer: it remembers every group and key that it is notified of. A
 * setting that is overridden when its layer is created was notified before, or is notified with the
 * layer. The catalogue cannot know the changes that IConfigurationChangeHandler lists as
 * \ref unnotified "not notified"; a host that knows their keys can pass them to remember().
 *
 * It holds the last changes with their values: a large value stays in memory as long as its change
 * is one of them. It keeps secrets as well; Snapshot takes them out.
 *
 * \code
 * tamsel::ConfigurationManager settings(&logger);
 * tamsel::host::SettingsCatalogue catalogue(&settings);
 * settings.initStorage(tamsel::SettingsType::RavonaConfDefault);
 * \endcode
 *
 * \par Ownership
 * The manager is borrowed and must outlive the catalogue.
 * \par Threads
 * Every function may be called from any thread at any time. Construction and destruction append and
 * remove a handler: no other thread may make a change then.
 * \par Failure
 * None but exhausted memory.
 */
class TAMSEL_HOST_EXPORT SettingsCatalogue final : public IConfigurationChangeHandler
{
public:
    /*! \brief Appends itself to \a settings. Keeps the last \a changesKept changes. */
    explicit SettingsCatalogue(ConfigurationManager *settings, int changesKept = 256);
    /*! \brief Removes itself from the manager. */
    ~SettingsCatalogue() override;

    /*! \brief Called by the manager. */
    void onValueChanged(SettingsType type, const QString &group, const QString &key,
                        const QVariant &value) override;

    /*! \brief Lists \a group / \a key from now on. */
    void remember(const QString &group, const QString &key);

    /*!
     * \brief Every group and key that was ever notified or remembered, in ascending order.
     *
     * No layer need hold them any more.
     */
    [[nodiscard]] QList<std::pair<QString, QString>> keys() const;
    /*! \brief How often \a group / \a key was notified. */
    [[nodiscard]] quint64 changeCount(const QString &group, const QString &key) const;
    /*! \brief How often any setting was notified. */
    [[nodiscard]] quint64 changeCount() const;
    /*! \brief The last changes, the oldest first. */
    [[nodiscard]] QList<SettingChange> lastChanges() const;

private:
    Q_DISABLE_COPY_MOVE(SettingsCatalogue)

    const std::unique_ptr<SettingsCataloguePrivate> d;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_SETTINGSCATALOGUE_H

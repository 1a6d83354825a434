// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_SNAPSHOT_H
#define TAMSEL_HOST_SNAPSHOT_H

#include <tamsel/host/hostglobal.h>
#include <tamsel/host/redaction.h>

#include <QtCore/QString>

#include <memory>

QT_FORWARD_DECLARE_CLASS(QIODevice)

namespace tamsel {
class ConfigurationManager;
}

namespace tamsel::host {

class SettingsCatalogue;
class SnapshotPrivate;

/*!
 * \brief What a running process holds: each setting with its effective value, type, origin and the
 * layers that it overrides, the last changes, the layers, and who the process is.
 *
 * The host decides when to take one and where to write it; tamsel-inspect reads what write() wrote.
 *
 * \code
 * tamsel::host::SettingsCatalogue catalogue(&settings); // before the first layer
 * // ...
 * QSaveFile file(u"/run/box/settings.json"_s);
 * if (file.open(QIODevice::WriteOnly)
 *     && tamsel::host::Snapshot::take(settings, catalogue).write(&file))
 *     file.commit();
 * \endcode
 *
 * Who may read the file is the host's choice: a secret that no pattern matches is in it.
 *
 * Each setting is consistent by itself: its origin held the value that is shown, and no layer above
 * held the setting. Settings are looked up one after the other, so changes made meanwhile may show
 * in only some of them. A setting that changes all the time is marked with `"settled": false`: the
 * value was effective at one moment, but origin and overridden layers may be from another.
 *
 * The values of overridden layers are not known: ConfigurationManager returns only the effective
 * value.
 *
 * \par Ownership
 * It owns what it shows. The manager and the catalogue are used by take() only.
 * \par Threads
 * take() may be called from any thread while others read and write settings. It names every layer:
 * no other thread may create, replace or clear one meanwhile.
 * \par Failure
 * write() says whether the device took everything.
 */
class TAMSEL_HOST_EXPORT Snapshot
{
public:
    /*!
     * \brief The settings of \a manager that \a catalogue knows and a layer holds.
     *
     * \a redaction takes secrets out of the values and out of the last changes. The snapshot does
     * not hold the secrets at all; only the manager and the catalogue do.
     */
    [[nodiscard]] static Snapshot take(const ConfigurationManager &manager,
                                       const SettingsCatalogue &catalogue,
                                       const Redaction &redaction = Redaction());
    /*! \brief Takes what \a other shows; \a other may then only be destroyed or assigned to. */
    Snapshot(Snapshot &&other) noexcept;
    /*! \brief As the move constructor. */
    Snapshot &operator=(Snapshot &&other) noexcept;
    /*! \brief Frees what it shows. */
    ~Snapshot();

    /*! \brief The text given to ConfigurationManager::setAssetsPrefix(), which has no getter. */
    void setAssetsPrefix(const QString &prefix);

    /*!
     * \brief Writes JSON to \a device, which is open.
     *
     * Returns \c false if the device did not take everything. The text is UTF-8, with a line for
     * each layer, setting and change.
     */
    [[nodiscard]] bool write(QIODevice *device) const;

private:
    Q_DISABLE_COPY(Snapshot)

    Snapshot();

    std::unique_ptr<SnapshotPrivate> d;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_SNAPSHOT_H

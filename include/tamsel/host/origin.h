// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_ORIGIN_H
#define TAMSEL_HOST_ORIGIN_H

#include <tamsel/host/hostglobal.h>
#include <tamsel/settingstype.h>

#include <QtCore/QString>

#include <optional>

namespace tamsel {
class ConfigurationManager;
} // namespace tamsel

namespace tamsel::host {

/*!
 * \brief The layer that the effective value of \a group / \a key comes from; none if no layer holds
 * the setting.
 *
 * Asks the layers one after the other, the highest first.
 *
 * \par Threads
 * Names every layer: call it while no other thread replaces or clears one, see
 * ConfigurationManager.
 */
[[nodiscard]] TAMSEL_HOST_EXPORT std::optional<SettingsType>
originOf(const ConfigurationManager &settings, const QString &group, const QString &key);

} // namespace tamsel::host

#endif // TAMSEL_HOST_ORIGIN_H

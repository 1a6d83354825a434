// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/origin.h>

#include "heldvalue.h"

#include <tamsel/configurationmanager.h>

#include <utility>

namespace tamsel::host {

std::optional<SettingsType> originOf(const ConfigurationManager &settings, const QString &group,
                                     const QString &key)
{
    for (const SettingsType type : storagePriority) {
        if (settings.contains(group, key, type))
            return type;
    }
    return std::nullopt;
}

std::optional<QVariant> heldValue(const ConfigurationManager &settings, const QString &group,
                                  const QString &key)
{
    QVariant value;
    const QVariant none = QVariant::fromValue<void *>(&value); // a value that no layer holds
    value = settings.value(group, key, none);
    const bool isHeld = value.metaType() != none.metaType() || value != none;
    return isHeld ? std::optional(std::move(value)) : std::nullopt;
}

} // namespace tamsel::host

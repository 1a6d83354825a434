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
    const QVariant none = QVariant::fromValue(nullptr); // what no layer holds
    QVariant value = settings.value(group, key, none);
    return value.metaType() == none.metaType() ? std::nullopt : std::optional(std::move(value));
}

} // namespace tamsel::host

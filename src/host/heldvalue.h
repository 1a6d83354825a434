// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_HELDVALUE_H
#define TAMSEL_HOST_HELDVALUE_H

#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

namespace tamsel {

class ConfigurationManager;

namespace host {

// The effective value, which may be invalid; none if no layer holds the setting. It is one lookup: a
// second one could see a change of another thread.
std::optional<QVariant> heldValue(const ConfigurationManager &settings, const QString &group,
                                  const QString &key);

} // namespace host
} // namespace tamsel

#endif // TAMSEL_HOST_HELDVALUE_H

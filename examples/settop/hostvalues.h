// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef HOSTVALUES_H
#define HOSTVALUES_H

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <utility>

namespace tamsel {
class ConfigurationManager;
}

// The values that a real host gets from its operator, its licence and its machine.

// The group and the key of each setting that this host knows. A manager cannot list its settings.
QList<std::pair<QString, QString>> hostSettings();

// The map for Rdm: the settings that the operator has set remotely.
QVariantMap rdmValues();
// The map for Rdm when the operator has changed its mind.
QVariantMap changedRdmValues();
// The map for FeatureKeys: the features that the customer has paid for.
QVariantMap featureKeys();

// Fills SelviDb unless an earlier run did.
void provisionDatabase(tamsel::ConfigurationManager &settings);
// Fills SystemProperties, which starts empty.
void setSystemProperties(tamsel::ConfigurationManager &settings);
// Fills Runtime, which starts empty.
void setRuntimeValues(tamsel::ConfigurationManager &settings);

#endif // HOSTVALUES_H

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

// What a real host gets from its operator, its licence and its machine.

// The group and the key of each setting that this host knows. The manager lists none: a host asks for
// the settings that it uses.
QList<std::pair<QString, QString>> hostSettings();

// The map for Rdm: what the operator has set from afar.
QVariantMap rdmValues();
// The map for Rdm when the operator has changed its mind.
QVariantMap changedRdmValues();
// The map for FeatureKeys: what the customer has paid for.
QVariantMap featureKeys();

// Fills SelviDb unless an earlier run did.
void provisionDatabase(tamsel::ConfigurationManager &settings);
// Fills SystemProperties, which starts empty.
void setSystemProperties(tamsel::ConfigurationManager &settings);
// Fills Runtime, which starts empty.
void setRuntimeValues(tamsel::ConfigurationManager &settings);

#endif // HOSTVALUES_H

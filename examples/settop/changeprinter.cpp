// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "changeprinter.h"

#include "format.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QTextStream>

using namespace Qt::StringLiterals;

ChangePrinter::ChangePrinter(tamsel::ConfigurationManager *settings, QTextStream *out)
    : m_settings(settings), m_out(out)
{
    m_settings->appendConfigurationHandler(this);
}

ChangePrinter::~ChangePrinter()
{
    m_settings->removeConfigurationHandler(this);
}

void ChangePrinter::onValueChanged(tamsel::SettingsType type, const QString &group,
                                   const QString &key, const QVariant &value)
{
    ++m_count;
    *m_out << "  " << layerName(type) << ": " << group << '/' << key;
    if (value.isValid())
        *m_out << " = '" << valueText(value) << '\'';
    else
        *m_out << " is gone";
    *m_out << Qt::endl; // at once: log lines come in between on standard error
}

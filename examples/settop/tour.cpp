// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "tour.h"

#include "changeprinter.h"
#include "hostvalues.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QTextStream>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

void changeSettings(tamsel::ConfigurationManager &settings, const ChangePrinter &changes,
                    QTextStream &out)
{
    const auto step = [&](const char *description, const auto &change) {
        out << "> " << description << Qt::endl;
        const int before = changes.count();
        change();
        if (changes.count() == before)
            out << "  (no handler is called)" << Qt::endl;
    };
    const QString ui = u"ui"_s;
    const QString lang = u"lang"_s;

    step("write ui/lang into Runtime: the top value changes",
         [&] { settings.setValue(ui, lang, u"fr"_s, SettingsType::Runtime); });
    step("write ui/lang into CustomConfPersistent: overridden by Runtime",
         [&] { settings.setValue(ui, lang, u"tr"_s, SettingsType::CustomConfPersistent); });
    step("remove ui/lang from Runtime: uncovers the layer below",
         [&] { settings.removeValue(ui, lang, SettingsType::Runtime); });
    step("remove player/state from Runtime: no other layer holds it",
         [&] { settings.removeValue(u"player"_s, u"state"_s, SettingsType::Runtime); });
    step("replace Rdm: one value lost, two changed at once",
         [&] { settings.initStorage(SettingsType::Rdm, changedRdmValues()); });
    step("clear FeatureKeys: each of its values is lost",
         [&] { settings.clearStorage(SettingsType::FeatureKeys); });
    step("clear FeatureKeys again: a warning, there is no such layer",
         [&] { settings.clearStorage(SettingsType::FeatureKeys); });
    step("write network/timeout into Rdm: an error, it is read-only",
         [&] { settings.setValue(u"network"_s, u"timeout"_s, 5, SettingsType::Rdm); });
}

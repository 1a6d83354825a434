// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Shipped defaults are read from one file; the user's settings are written to another.

#include "printing.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool makeFile(const QString &name, const QByteArray &content)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

void show(const QString &what, const QVariant &value)
{
    printing::line(
            u"%1: '%2' (%3)"_s.arg(what, value.toString(), QLatin1StringView(value.typeName())));
}

} // namespace

int main()
{
    const QTemporaryDir directory;
    const QString path = directory.path() + u'/'; // file names are appended as they are
    if (!makeFile(path + u"ravona.conf"_s, "[player]\nvolume=5\nspeed=1.5\n"))
        return 1;

    tamsel::host::QtLogger logger;
    {
        tamsel::ConfigurationManager settings(&logger);
        settings.setPersistentStoragePath(path); // custom.conf, selvi.db
        settings.setAssetsPrefix(path); // ravona.conf
        settings.initStorage(SettingsType::CustomConfPersistent);
        settings.initStorage(SettingsType::RavonaConfDefault);

        // A file holds text; convert it to the type you need.
        const QVariant volume = settings.value(u"player"_s, u"volume"_s);
        show(u"volume as shipped"_s, volume);
        show(u"louder"_s, volume.toInt() + 1);

        // A written value keeps its type until the file is read again.
        settings.setValue(u"player"_s, u"volume"_s, 7, SettingsType::CustomConfPersistent);
        show(u"volume of the user"_s, settings.value(u"player"_s, u"volume"_s));
        show(u"speed as shipped"_s, settings.value(u"player"_s, u"speed"_s));
    } // changed files are written here at the latest

    printing::line(u"custom.conf:"_s);
    printing::line(QString::fromUtf8(contentOf(path + u"custom.conf"_s)).trimmed());

    return 0;
}

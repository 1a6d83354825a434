// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "testhost.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMetaEnum>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

TestHost::TestHost()
{
    QDir(folder.path()).mkdir(u"persistent"_s);
    QDir(folder.path()).mkdir(u"assets"_s);
    manager.setPersistentStoragePath(folder.filePath(u"persistent/"_s));
    manager.setAssetsPrefix(folder.filePath(u"assets/"_s));
    manager.appendConfigurationHandler(&handler);
}

void TestHost::prepare(SettingsType type, const QString &group, const QVariantMap &entries)
{
    manager.initStorage(type, groupMap(group, entries));
    if (!mapLayers.contains(type)) {
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            manager.setValue(group, entry.key(), entry.value(), type);
    }
    journal.take();
}

QString TestHost::filePath(SettingsType type) const
{
    switch (type) {
    case SettingsType::CustomConfPersistent:
        return folder.filePath(u"persistent/custom.conf"_s);
    case SettingsType::SelviDb:
        return folder.filePath(u"persistent/selvi.db"_s);
    case SettingsType::RavonaConfDefault:
        return folder.filePath(u"assets/ravona.conf"_s);
    default:
        qFatal("%s has no file", keyOf(type));
    }
}

QVariantMap groupMap(const QString &group, const QVariantMap &entries)
{
    return {{group, entries}};
}

const char *keyOf(SettingsType type)
{
    return QMetaEnum::fromType<SettingsType>().valueToKey(static_cast<int>(type));
}

bool writeFile(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace tamsel::tests

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
    moveTo(u"first"_s);
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

void TestHost::init(SettingsType type, const QVariantMap &entries)
{
    if (fileLayers.contains(type)) {
        QByteArray contents = "[g]\n";
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
            contents += entry.key().toUtf8() + '=' + entry.value().toString().toUtf8() + '\n';
        if (!writeFile(filePath(type), contents))
            qFatal("%s: no file written", keyOf(type));
    }
    manager.initStorage(type, groupMap(u"g"_s, entries));
}

void TestHost::moveTo(const QString &place)
{
    m_place = place;
    QDir(folder.path()).mkpath(place + "/persistent"_L1);
    QDir(folder.path()).mkpath(place + "/assets"_L1);
    manager.setPersistentStoragePath(folder.filePath(place + "/persistent/"_L1));
    manager.setAssetsPrefix(assetsPrefix());
}

QString TestHost::assetsPrefix() const
{
    return folder.filePath(m_place + "/assets/"_L1);
}

QString TestHost::filePath(SettingsType type) const
{
    switch (type) {
    case SettingsType::CustomConfPersistent:
        return folder.filePath(m_place + "/persistent/custom.conf"_L1);
    case SettingsType::SelviDb:
        return folder.filePath(m_place + "/persistent/selvi.db"_L1);
    case SettingsType::RavonaConfDefault:
        return folder.filePath(m_place + "/assets/ravona.conf"_L1);
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
    // valueToKey() takes an int in older Qt, a quint64 in newer: this becomes either.
    return QMetaEnum::fromType<SettingsType>().valueToKey(static_cast<quint8>(type));
}

QStringList changeLine(SettingsType type, const QString &message)
{
    switch (type) {
    case SettingsType::Rdm:
    case SettingsType::SystemProperties:
        return {"info: "_L1 + message};
    case SettingsType::CommandLineArgs:
    case SettingsType::CustomConfPersistent:
    case SettingsType::Runtime:
    case SettingsType::SelviDb:
        return {"debug: "_L1 + message};
    case SettingsType::RavonaConfDefault:
    case SettingsType::FeatureKeys:
        break;
    }
    return {};
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

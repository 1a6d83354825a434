// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_BOX_H
#define TAMSEL_TESTS_BOX_H

#include "testhost.h"
#include "threads.h"

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/qml/qmlhost.h>

#include <QtCore/QObject>

namespace tamsel::tests {

// The host of a QML test: what QML itself cannot do to a manager.
class Box : public QObject
{
    Q_OBJECT

public:
    Box()
    {
        setQmlConfigManager(&m_host.manager);
        qml::setQmlChangeNotifier(&m_notifier);
        qml::setQmlSettingsCatalogue(&m_catalogue);
    }
    ~Box() override
    {
        qml::setQmlSettingsCatalogue(nullptr);
        qml::setQmlChangeNotifier(nullptr);
        setQmlConfigManager(nullptr);
    }

    // All eight layers, empty.
    Q_INVOKABLE void empty()
    {
        m_host.moveTo(QString::number(++m_places));
        for (const SettingsType type : storagePriority) {
            if (m_host.manager.storageAvailable(type))
                m_host.manager.clearStorage(type);
            m_host.manager.initStorage(type);
        }
    }
    Q_INVOKABLE void write(int layer, const QString &group, const QString &key,
                           const QVariant &value)
    {
        m_host.manager.setValue(group, key, value, static_cast<SettingsType>(layer));
    }
    Q_INVOKABLE void remove(int layer, const QString &group, const QString &key)
    {
        m_host.manager.removeValue(group, key, static_cast<SettingsType>(layer));
    }
    // Creates or replaces a layer.
    Q_INVOKABLE void init(int layer, const QVariantMap &values)
    {
        m_host.manager.initStorage(static_cast<SettingsType>(layer), values);
    }
    Q_INVOKABLE void clear(int layer)
    {
        m_host.manager.clearStorage(static_cast<SettingsType>(layer));
    }
    // Whether the file of a layer exists.
    Q_INVOKABLE bool hasFile(int layer)
    {
        return QFile::exists(m_host.filePath(static_cast<SettingsType>(layer)));
    }
    // The file of a layer takes no writes any more, not even by root: a directory is in its place.
    Q_INVOKABLE void blockFile(int layer)
    {
        const QString path = m_host.filePath(static_cast<SettingsType>(layer));
        if (!QFile::remove(path) || !QDir().mkdir(path))
            qFatal("%s: no directory in place of the file", qPrintable(path));
    }
    Q_INVOKABLE void unblockFile(int layer)
    {
        const QString path = m_host.filePath(static_cast<SettingsType>(layer));
        if (!QDir().rmdir(path))
            qFatal("%s: the directory stays", qPrintable(path));
    }
    Q_INVOKABLE QVariant value(const QString &group, const QString &key)
    {
        return m_host.manager.value(group, key);
    }
    Q_INVOKABLE QString typeOf(const QString &group, const QString &key)
    {
        return QString::fromLatin1(m_host.manager.value(group, key).typeName());
    }
    Q_INVOKABLE bool holds(int layer, const QString &group, const QString &key)
    {
        return m_host.manager.contains(group, key, static_cast<SettingsType>(layer));
    }
    // The number of a layer by the name that the core has for it.
    Q_INVOKABLE int layer(const QString &name)
    {
        return QMetaEnum::fromType<SettingsType>().keyToValue(name.toLatin1().constData());
    }
    // Writes 1 to `count` from each of four threads, then the last value from one more.
    Q_INVOKABLE void writeFromThreads(const QString &group, const QString &key, int count, int last)
    {
        runTogether(4, [&](int) {
            for (int i = 1; i <= count; ++i)
                m_host.manager.setValue(group, key, i, SettingsType::Runtime);
        });
        runTogether(1,
                    [&](int) { m_host.manager.setValue(group, key, last, SettingsType::Runtime); });
    }

private:
    TestHost m_host;
    host::ChangeNotifier m_notifier{&m_host.manager};
    host::SettingsCatalogue m_catalogue{&m_host.manager};
    int m_places = 0;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_BOX_H

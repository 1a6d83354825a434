// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_MODEL_H
#define TAMSEL_TESTS_MODEL_H

#include "alphabet.h"

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace tamsel {
class IConfigurationChangeHandler;
class ILogger;
} // namespace tamsel

namespace tamsel::tests {

class ModelFile;
class ModelLayer;

// A second, slow and simple ConfigurationManager for one thread: it has the same operations and is
// expected to say the same to the logger and to the handlers, in the same order. Its files exist in
// memory only.
class Model
{
public:
    explicit Model(ILogger *logger); // borrowed
    ~Model();

    void setPersistentStoragePath(const QString &path);
    void setAssetsPrefix(const QString &prefix);

    QVariant value(const QString &group, const QString &key, const QVariant &defaultValue) const;
    bool contains(const QString &group, const QString &key) const;
    bool contains(const QString &group, const QString &key, SettingsType type) const;
    void setValue(const QString &group, const QString &key, const QVariant &value,
                  SettingsType type);
    void removeValue(const QString &group, const QString &key, SettingsType type);
    bool storageAvailable(SettingsType type) const;

    void initStorage(SettingsType type, const QVariantMap &values);
    void clearStorage(SettingsType type);

    bool appendConfigurationHandler(IConfigurationChangeHandler *handler);
    bool removeConfigurationHandler(IConfigurationChangeHandler *handler);

    // From now on no file whose name starts with prefix can be written or exists.
    void forbidWriting(const QString &prefix);
    // Puts a file in the place of fileName, which no layer may have open.
    void replaceFile(const QString &fileName, const IniFile &file);

private:
    Q_DISABLE_COPY_MOVE(Model)

    struct Registration
    {
        IConfigurationChangeHandler *handler;
        int number; // never used again
    };

    ModelLayer *find(SettingsType type) const;
    ModelLayer *top(const Key &key) const;
    std::shared_ptr<ModelLayer> makeLayer(SettingsType type, const QVariantMap &values);
    std::shared_ptr<ModelLayer> openFile(const QString &fileName);

    void addLayer(SettingsType type, const std::shared_ptr<ModelLayer> &layer);
    void replaceLayer(SettingsType type, const std::shared_ptr<ModelLayer> &layer);
    void report(SettingsType type, const ModelLayer &layer, const std::vector<Key> &candidates);

    void changed(SettingsType type, const Key &key, QVariant value);
    void log(SettingsType type, const QString &message) const;
    void notify(SettingsType type, const Key &key, const QVariant &value) const;
    bool isRegistered(int number) const;

    ILogger *const m_logger;
    QString m_persistentStoragePath;
    QString m_assetsPrefix;
    QString m_unwritablePrefix;
    std::map<QString, std::shared_ptr<ModelFile>> m_files; // by name
    std::map<std::size_t, std::shared_ptr<ModelLayer>> m_layers; // by rank, the uppermost first
    std::vector<Registration> m_registrations;
    int m_nextNumber = 0;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_MODEL_H

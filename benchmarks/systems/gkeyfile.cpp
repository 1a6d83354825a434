// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "counting.h"
#include "system.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <glib.h>

#include <array>
#include <string>

namespace tamsel::bench {

namespace {

struct KeyFileDeleter
{
    void operator()(GKeyFile *file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

struct TextDeleter
{
    void operator()(char *text) const { g_free(text); }
};
using Text = std::unique_ptr<char, TextDeleter>;

KeyFile loadKeyFile(const QString &path)
{
    KeyFile file(g_key_file_new());
    if (!g_key_file_load_from_file(file.get(), path.toUtf8().constData(), G_KEY_FILE_NONE, nullptr))
        qFatal("cannot load %s", qUtf8Printable(path));
    return file;
}

bool holds(GKeyFile *file, const char *group, const char *key, const std::string &text)
{
    const Text held(g_key_file_get_string(file, group, key, nullptr));
    return held && text == held.get();
}

bool holds(GKeyFile *file, const char *group, const char *key, int number) // number: not 0
{
    return g_key_file_get_integer(file, group, key, nullptr) == number;
}

void set(GKeyFile *file, const char *group, const char *key, const std::string &text)
{
    g_key_file_set_string(file, group, key, text.c_str());
}

void set(GKeyFile *file, const char *group, const char *key, int number)
{
    g_key_file_set_integer(file, group, key, number);
}

// GLib's GKeyFile, one per layer; the first that holds the key has the value.
class KeyFiles final : public System
{
public:
    KeyFiles();

    void setTargets(const Settings &targets) override;
    int readAll() const override;
    void writeAll(SettingsType type, int choice) override;
    QString read(const Setting &setting) const override;

    void load(const QString &prefix) override;
    int loadedSettings() const override;
    void unload() override { m_loaded.reset(); }

    qint64 notifications() const override { return m_handler.calls; }

private:
    struct Target
    {
        Setting setting;
        std::string group;
        std::string key;
    };

    Text value(const char *group, const char *key) const;
    template <typename T>
    bool store(const char *group, const char *key, const T &value, SettingsType type);
    template <typename T>
    void writeEach(SettingsType type, const T &value, const QVariant &reported);

    const LayerFiles m_files;
    std::array<KeyFile, 8> m_layers; // by rank
    mutable QMutex m_mutex;
    KeyFile m_loaded;
    CountingHandler m_handler;
    std::vector<Target> m_targets;
    const QVariantList m_written = writtenValues();
    const std::string m_texts[firstNumber]{m_written.at(0).toString().toStdString(),
                                           m_written.at(1).toString().toStdString()};
};

KeyFiles::KeyFiles()
{
    for (const SettingsType type : storagePriority) {
        const auto rank = static_cast<std::size_t>(priorityOf(type));
        m_layers[rank] = loadKeyFile(m_files.path(type));
    }
}

void KeyFiles::setTargets(const Settings &targets)
{
    m_targets.clear();
    for (const Setting &target : targets)
        m_targets.push_back({target, target.group.toStdString(), target.key.toStdString()});
}

Text KeyFiles::value(const char *group, const char *key) const
{
    const QMutexLocker locker(&m_mutex);
    for (const KeyFile &layer : m_layers) {
        if (char *text = g_key_file_get_string(layer.get(), group, key, nullptr))
            return Text(text);
    }
    return {};
}

// Whether the effective value changes.
template <typename T>
bool KeyFiles::store(const char *group, const char *key, const T &value, SettingsType type)
{
    const QMutexLocker locker(&m_mutex);
    const auto rank = static_cast<std::size_t>(priorityOf(type));
    if (holds(m_layers[rank].get(), group, key, value))
        return false;
    set(m_layers[rank].get(), group, key, value);
    for (std::size_t i = 0; i < rank; ++i) {
        if (g_key_file_has_key(m_layers[i].get(), group, key, nullptr))
            return false;
    }
    return true;
}

int KeyFiles::readAll() const
{
    int found = 0;
    for (const Target &target : m_targets)
        found += value(target.group.c_str(), target.key.c_str()) != nullptr;
    return found;
}

template <typename T>
void KeyFiles::writeEach(SettingsType type, const T &value, const QVariant &reported)
{
    for (const auto &[setting, group, key] : m_targets) {
        if (store(group.c_str(), key.c_str(), value, type))
            m_handler.onValueChanged(type, setting.group, setting.key, reported);
    }
}

void KeyFiles::writeAll(SettingsType type, int choice)
{
    const QVariant &value = m_written.at(choice);
    if (choice < firstNumber)
        writeEach(type, m_texts[choice], value);
    else
        writeEach(type, value.toInt(), value);
}

QString KeyFiles::read(const Setting &setting) const
{
    const QByteArray group = setting.group.toUtf8();
    const QByteArray key = setting.key.toUtf8();
    return QString::fromUtf8(value(group.constData(), key.constData()).get());
}

void KeyFiles::load(const QString &prefix)
{
    m_loaded = loadKeyFile(prefix + fileName(SettingsType::RavonaConfDefault));
}

int KeyFiles::loadedSettings() const
{
    gsize groupCount = 0;
    gsize count = 0;
    char **groups = g_key_file_get_groups(m_loaded.get(), &groupCount);
    for (gsize i = 0; i < groupCount; ++i) {
        gsize keyCount = 0;
        g_strfreev(g_key_file_get_keys(m_loaded.get(), groups[i], &keyCount, nullptr));
        count += keyCount;
    }
    g_strfreev(groups);
    return static_cast<int>(count);
}

} // namespace

SystemInfo gkeyfileInfo()
{
    return {"gkeyfile",
            "GKeyFile",
            false,
            {"R1", "R2", "R3", "R4-top", "R4-bottom", "W1", "W1-int", "W2", "W3", "I1"},
            [] { return std::unique_ptr<System>(std::make_unique<KeyFiles>()); }};
}

} // namespace tamsel::bench

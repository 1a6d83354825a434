// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The input is the file of each file layer. The layer is listed, read, written, replaced, cleared and
// read back from the disk. Nothing may crash, and written values must be read back.

#include <tamsel/abstractstorage.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

class SilentLogger final : public tamsel::ILogger
{
public:
    void error(const QString &) override { }
    void warning(const QString &) override { }
    void info(const QString &) override { }
    void debug(const QString &) override { }
};

class PairCollector final : public tamsel::IConfigurationChangeHandler
{
public:
    void onValueChanged(SettingsType, const QString &group, const QString &key,
                        const QVariant &) override
    {
        keys.append({group, key});
    }

    tamsel::KeyList keys;
};

void require(bool condition, const char *what)
{
    if (!condition)
        qFatal("broken promise: %s", what);
}

void writeFile(const QString &name, const QByteArray &content)
{
    QFile file(name);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
            "the scratch file can be written");
}

void exercise(SettingsType type, const QString &prefix, const QString &fileName,
              const QByteArray &content)
{
    SilentLogger logger;
    PairCollector collector;
    tamsel::ConfigurationManager manager(&logger);
    manager.appendConfigurationHandler(&collector);
    manager.setPersistentStoragePath(prefix);
    manager.setAssetsPrefix(prefix);
    writeFile(prefix + fileName, content);

    manager.initStorage(type);
    for (const auto &[group, key] : std::as_const(collector.keys)) {
        const bool held = manager.contains(group, key, type);
        const QVariant value = manager.value(group, key, u"default"_s);
        require(held || value == u"default"_s, "a setting that is not held reads as the default");
    }

    const bool available = manager.storageAvailable(type);
    manager.setValue(u"fuzz"_s, u"written"_s, u"by us"_s, type);
    require(manager.value(u"fuzz"_s, u"written"_s) == u"by us"_s, "a write is read back");
    manager.initStorage(type);
    require(manager.value(u"fuzz"_s, u"written"_s) == u"by us"_s, "a write survives a replacement");
    manager.clearStorage(type);
    require(!manager.contains(u"fuzz"_s, u"written"_s), "a cleared layer holds nothing");
    if (available) {
        // Copied to another name, so that QSettings parses the file and does not use its cache.
        QFile::remove(prefix + u"copy"_s + fileName);
        require(QFile::copy(prefix + fileName, prefix + u"copy"_s + fileName), "the file is there");
        manager.setPersistentStoragePath(prefix + u"copy"_s);
        manager.setAssetsPrefix(prefix + u"copy"_s);
        manager.initStorage(type);
        require(manager.value(u"fuzz"_s, u"written"_s) == u"by us"_s, "a write reaches the disk");
        manager.clearStorage(type);
        QFile::remove(prefix + u"copy"_s + fileName);
    }
    QFile::remove(prefix + fileName);
}

void discardMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtFatalMsg)
        fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir scratch;
    static quint64 run = 0;
    static const auto previousHandler = qInstallMessageHandler(discardMessage);
    Q_UNUSED(previousHandler)

    const QByteArray content(reinterpret_cast<const char *>(data), qsizetype(size));
    // A new name each time: QSettings caches the content of files.
    const QString prefix = scratch.filePath(QString::number(++run)) + u'-';
    exercise(SettingsType::CustomConfPersistent, prefix, u"custom.conf"_s, content);
    exercise(SettingsType::SelviDb, prefix, u"selvi.db"_s, content);
    exercise(SettingsType::RavonaConfDefault, prefix, u"ravona.conf"_s, content);
    return 0;
}

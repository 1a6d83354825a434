// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "surroundings.h"

#include "hello/handler.h"

#include <mutex>

namespace {

// What went through Qt's message functions since the block began.
QString &printed()
{
    static QString text;
    return text;
}

void keepMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    static std::mutex mutex; // some blocks have two threads
    const std::lock_guard<std::mutex> locker(mutex);
    printed() += message + u'\n';
}

} // namespace

Surroundings::Surroundings()
    : m_directory(std::make_unique<QTemporaryDir>()),
      m_previousMessageHandler(qInstallMessageHandler(keepMessage))
{
}

Surroundings::~Surroundings()
{
    qInstallMessageHandler(m_previousMessageHandler);
}

// QSettings keeps what it knows of a file as long as the process runs, but by the file's name.
void Surroundings::nextProcess(tamsel::ConfigurationManager &settings)
{
    for (const SettingsType type : tamsel::storagePriority)
        settings.clearStorage(type);
    const auto previous = std::exchange(m_directory, std::make_unique<QTemporaryDir>());
    const QDir files(previous->path());
    const QStringList names = files.entryList(QDir::Files);
    for (const QString &name : names) {
        if (!QFile::copy(files.filePath(name), directory() + name))
            m_failures.append(u"cannot copy "_s + name);
    }
    settings.setPersistentStoragePath(directory());
    settings.setAssetsPrefix(directory());
}

void Surroundings::beginBlock()
{
    printed().clear();
}

void Surroundings::expectOutput(const char *where, const char *text)
{
    compare(where, printed(), QString::fromUtf8(text));
    printed().clear();
}

void Surroundings::expectFile(const char *where, const char *name, const char *text)
{
    const QString path = directory() + QLatin1StringView(name);
    QSettings(path, QSettings::IniFormat).sync(); // shares what the layer has not written yet
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        m_failures.append(QLatin1StringView(where) + u": "_s + file.errorString());
    else
        compare(where, QString::fromUtf8(file.readAll()), QString::fromUtf8(text));
}

void Surroundings::compare(const char *where, const QString &actual, const QString &expected)
{
    if (actual != expected) {
        m_failures.append(QLatin1StringView(where) + u" shows\n"_s + expected + u"but it is\n"_s
                          + actual);
    }
}

QStringList failuresOf(const RunBlock &block)
{
    Surroundings surroundings;
    Logger logger;
    Handler handler;
    {
        tamsel::ConfigurationManager settings(&logger);
        settings.setPersistentStoragePath(surroundings.directory());
        settings.setAssetsPrefix(surroundings.directory());
        settings.appendConfigurationHandler(&handler);
        block.function(surroundings, settings, logger, handler);
    }
    return surroundings.failures();
}

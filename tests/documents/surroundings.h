// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_SURROUNDINGS_H
#define TAMSEL_TESTS_SURROUNDINGS_H

// What the code blocks of the documents take for granted.
namespace logging {
enum Level : int { Critical, Error, Warning, Info, Debug, Trace };
} // namespace logging

#include <tamsel/abstractstorage.h>
#include <tamsel/commandlineargs.h>
#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>
#include <tamsel/tamselversion.h>
#include <tamsel/testing/box.h>
#ifdef TAMSEL_TESTS_WITH_HOST
#    include <tamsel/host/changenotifier.h>
#    include <tamsel/host/origin.h>
#    include <tamsel/host/qtlogger.h>
#    include <tamsel/host/setting.h>
#    include <tamsel/host/settingscatalogue.h>
#    include <tamsel/host/snapshot.h>
#endif

#include <QtCore/QtCore>

#include <memory>
#include <thread>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

class Handler;

// Prints the name of the operation and the message.
class Logger : public tamsel::ILogger
{
public:
    void error(const QString &message) override { qInfo().noquote() << "error:" << message; }
    void warning(const QString &message) override { qInfo().noquote() << "warning:" << message; }
    void info(const QString &message) override { qInfo().noquote() << "info:" << message; }
    void debug(const QString &message) override { qInfo().noquote() << "debug:" << message; }
};

// The place of a block in the documents, and what stands in it.
struct TextBlock
{
    const char *where;
    const char *text;
};

// Keeps what a block prints, the files it works on, and what is not as the documents say.
class Surroundings
{
public:
    Surroundings();
    ~Surroundings();

    // With "/" at the end.
    QString directory() const { return m_directory->path() + u'/'; }
    QStringList failures() const { return m_failures; }

    // Called by the blocks' functions.
    void nextProcess(tamsel::ConfigurationManager &settings);
    void beginBlock();
    void expectOutput(const char *where, const char *text);
    void expectFile(const char *where, const char *name, const char *text);

private:
    Q_DISABLE_COPY_MOVE(Surroundings)

    void compare(const char *where, const QString &actual, const QString &expected);

    std::unique_ptr<QTemporaryDir> m_directory;
    const QtMessageHandler m_previousMessageHandler;
    QStringList m_failures;
};

struct RunBlock
{
    const char *where;
    void (*function)(Surroundings &, tamsel::ConfigurationManager &, Logger &, Handler &);
    const char *arguments; // of the process, separated by blanks
};

// Runs block on a manager of its own; what is not as the document says.
QStringList failuresOf(const RunBlock &block);

extern const QList<RunBlock> runBlocks;
extern const QList<TextBlock> iniBlocks;
extern const QList<TextBlock> uncheckedBlocks; // the text says why
extern const QList<TextBlock> blocksOfOtherTests; // the text is the test's name
extern const char countOfBlocks[];

#endif // TAMSEL_TESTS_SURROUNDINGS_H

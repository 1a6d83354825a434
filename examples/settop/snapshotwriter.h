// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SNAPSHOTWRITER_H
#define SNAPSHOTWRITER_H

#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <array>
#include <functional>

// Calls a function in the event loop for each signal of the system that arrives: SIGUSR1, SIGTERM
// and SIGINT. Next to nothing is allowed in a signal handler, so it only sends the number through a
// pair of sockets. There is at most one watcher.
class SignalWatcher
{
public:
    explicit SignalWatcher(std::function<void(int number)> reaction);
    ~SignalWatcher();

private:
    Q_DISABLE_COPY_MOVE(SignalWatcher)

    static void send(int number);
    void receive() const;

    static std::array<int, 2> sockets; // NOLINT(*-non-const-global-variables)

    const std::function<void(int number)> m_reaction;
    QSocketNotifier m_notifier;
};

namespace tamsel {
class ConfigurationManager;
namespace host {
class SettingsCatalogue;
}
} // namespace tamsel

// Writes the settings of this process to a file, for tamsel-inspect --snapshot. Readers of the file
// always see the previous snapshot or this one, never a part. Returns an error message if the file
// could not be written.
QString writeSnapshot(const tamsel::ConfigurationManager &settings,
                      const tamsel::host::SettingsCatalogue &catalogue, const QString &assets,
                      const QString &fileName);

#endif // SNAPSHOTWRITER_H

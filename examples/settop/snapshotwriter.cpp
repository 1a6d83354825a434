// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "snapshotwriter.h"

#include <tamsel/host/settingscatalogue.h>
#include <tamsel/host/snapshot.h>

#include <QtCore/QSaveFile>

#include <cerrno>
#include <csignal>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array watched{SIGUSR1, SIGTERM, SIGINT};

} // namespace

// NOLINTNEXTLINE(*-non-const-global-variables): a signal handler gets no other argument than the signal
std::array<int, 2> SignalWatcher::sockets{-1, -1};

// The sockets are created before the notifier that uses one of them.
SignalWatcher::SignalWatcher(std::function<void(int number)> reaction)
    : m_reaction(std::move(reaction)),
      m_notifier((socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, sockets.data())
                  == 0)
                         ? sockets[1]
                         : -1,
                 QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { receive(); });
    struct sigaction action = {};
    action.sa_handler = &SignalWatcher::send;
    action.sa_flags = SA_RESTART;
    for (const int number : watched)
        sigaction(number, &action, nullptr);
}

SignalWatcher::~SignalWatcher()
{
    for (const int number : watched)
        std::signal(number, SIG_DFL);
    for (const int socket : sockets)
        close(socket);
}

// Runs in the signal handler. If the event loop is blocked so long that the sockets are full, the
// signal is dropped; earlier ones are still pending.
void SignalWatcher::send(int number)
{
    const int before = errno;
    const char byte = static_cast<char>(number);
    [[maybe_unused]] const ssize_t written = write(sockets[0], &byte, 1);
    errno = before;
}

void SignalWatcher::receive() const
{
    char byte = 0;
    if (read(sockets[1], &byte, 1) == 1)
        m_reaction(byte);
}

QString writeSnapshot(const tamsel::ConfigurationManager &settings,
                      const tamsel::host::SettingsCatalogue &catalogue, const QString &assets,
                      const QString &fileName)
{
    auto snapshot = tamsel::host::Snapshot::take(settings, catalogue);
    snapshot.setAssetsPrefix(assets);
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && snapshot.write(&file) && file.commit())
        return {};
    return u"cannot write %1: %2"_s.arg(fileName, file.errorString());
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_SYSTEM_H
#define TAMSEL_BENCH_SYSTEM_H

#include "../workload.h"

#include <memory>
#include <vector>

namespace tamsel::bench {

// A way to hold the settings of the eight layers.
//
// Each measured call does a whole batch of work, so that the cost of the call itself does not matter. A
// system overrides the operations it offers and lists them in its SystemInfo.
//
// Settings are read and written from several threads. A system that is not thread-safe puts one mutex
// around each read and each write, as its user would have to.
class System
{
public:
    System() = default;
    virtual ~System();

    // Sets the settings to read and write, converted to the system's own types.
    virtual void setTargets(const Settings &targets);
    // R1 to R4: reads each target once through all layers; returns how many were found.
    virtual int readAll() const;
    // W1 to W3: writes `writtenValues()[choice]` to each target in the layer `type`.
    virtual void writeAll(SettingsType type, int choice);
    // The effective value of `setting` as text; empty if there is none.
    virtual QString read(const Setting &setting) const;

    // L1: creates Rdm over `map`.
    virtual void registerLayer(const QVariantMap &map);
    // L2: replaces Rdm over `previous` with Rdm over `map`.
    virtual void replaceLayer(const QVariantMap &map, const QVariantMap &previous);
    // L3: clears Rdm over `map`.
    virtual void clearLayer(const QVariantMap &map);

    // I1: loads the file of RavonaConfDefault in the folder `prefix`.
    virtual void load(const QString &prefix);
    // I1-silent: makes the next load() run without a handler; not measured.
    virtual void removeHandler();
    // How many settings load() found; not measured.
    virtual int loadedSettings() const;
    // Undoes load(); not measured.
    virtual void unload();

    // How often the handler has been notified.
    virtual qint64 notifications() const;

private:
    Q_DISABLE_COPY_MOVE(System)
};

struct SystemInfo
{
    const char *name;
    const char *title;
    bool isFloor; // has the least possible cost
    std::vector<const char *> operations; // the names are in operations.h
    std::unique_ptr<System> (*create)();
};

// All systems that were built, the library first.
const std::vector<SystemInfo> &systems();

// One for each file in this folder; a peer's is defined only if the peer was found.
SystemInfo tamselInfo();
SystemInfo bareMapInfo();
SystemInfo bareQSettingsInfo();
SystemInfo eightQSettingsInfo();
SystemInfo pocoInfo();
SystemInfo kconfigInfo();
SystemInfo gkeyfileInfo();

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_SYSTEM_H

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
// Each call that is measured does its work for a whole batch, so that the price of the call itself
// does not show. A system overrides what it offers and says so in its SystemInfo.
//
// Settings are read and written from several threads: a system that is not safe by itself puts one
// mutex around each read and each write, as its user would have to.
class System
{
public:
    System() = default;
    virtual ~System();

    // The settings that reads and writes go to, made ready in the system's own form.
    virtual void setTargets(const Settings &targets);
    // R1 to R4: reads each target once through all the layers; how many were found.
    virtual int readAll() const;
    // W1 to W3: writes `writtenValues()[choice]` to each target in the layer `type`.
    virtual void writeAll(SettingsType type, int choice);
    // The text of `setting` as a reader sees it; empty if there is none.
    virtual QString read(const Setting &setting) const;

    // L1: Rdm, which is not there, becomes a layer over `map`.
    virtual void registerLayer(const QVariantMap &map);
    // L2: Rdm over `map` takes the place of Rdm over `previous`.
    virtual void replaceLayer(const QVariantMap &map, const QVariantMap &previous);
    // L3: Rdm, which is over `map`, is removed.
    virtual void clearLayer(const QVariantMap &map);

    // I1: loads the file of RavonaConfDefault in the folder `prefix`.
    virtual void load(const QString &prefix);
    // How many settings load() found; is not measured.
    virtual int loadedSettings() const;
    // Undoes load(); is not measured.
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
    bool isFloor; // the bare cost of what it offers
    std::vector<const char *> operations; // by the names in operations.h
    std::unique_ptr<System> (*create)();
};

// All that were built, the library first.
const std::vector<SystemInfo> &systems();

// One from each file beside this one; those of the peers are defined where the peer was found.
SystemInfo tamselInfo();
SystemInfo bareMapInfo();
SystemInfo bareQSettingsInfo();
SystemInfo eightQSettingsInfo();
SystemInfo pocoInfo();
SystemInfo kconfigInfo();
SystemInfo gkeyfileInfo();

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_SYSTEM_H

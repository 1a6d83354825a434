// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "system.h"

namespace tamsel::bench {

System::~System() = default;

void System::setTargets(const Settings &) { }

int System::readAll() const
{
    return 0;
}

void System::writeAll(SettingsType, int) { }

QString System::read(const Setting &) const
{
    return {};
}

void System::registerLayer(const QVariantMap &) { }

void System::replaceLayer(const QVariantMap &, const QVariantMap &) { }

void System::clearLayer(const QVariantMap &) { }

void System::load(const QString &) { }

void System::removeHandler() { }

int System::loadedSettings() const
{
    return 0;
}

void System::unload() { }

qint64 System::notifications() const
{
    return 0;
}

const std::vector<SystemInfo> &systems()
{
    static const std::vector<SystemInfo> all{
            tamselInfo(),   bareMapInfo(), bareQSettingsInfo(), eightQSettingsInfo(),
#ifdef TAMSEL_BENCH_POCO
            pocoInfo(),
#endif
#ifdef TAMSEL_BENCH_KCONFIG
            kconfigInfo(),
#endif
#ifdef TAMSEL_BENCH_GKEYFILE
            gkeyfileInfo(),
#endif
    };
    return all;
}

} // namespace tamsel::bench

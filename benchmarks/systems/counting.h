// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_COUNTING_H
#define TAMSEL_BENCH_COUNTING_H

#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace tamsel::bench {

// The cheapest handler that counts its calls.
class CountingHandler final : public IConfigurationChangeHandler
{
public:
    void onValueChanged(SettingsType, const QString &, const QString &, const QVariant &) override
    {
        ++calls;
    }

    qint64 calls = 0;
};

// The cheapest logger that uses its argument.
class CountingLogger final : public ILogger
{
public:
    void error(const QString &message) override { characters += message.size(); }
    void warning(const QString &message) override { characters += message.size(); }
    void info(const QString &message) override { characters += message.size(); }
    void debug(const QString &message) override { characters += message.size(); }

    qint64 characters = 0;
};

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_COUNTING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/logsconfigwrapper.h>

#include <tamsel/configurationmanager.h>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

constexpr int critical = 0;
constexpr int trace = 5;
constexpr int noLevel = -1;

} // namespace

class LogsConfigWrapperPrivate
{
public:
    LogsConfigWrapperPrivate(LogsConfigWrapper *facade, ConfigurationManager *configuredManager)
        : q(facade), manager(configuredManager)
    {
    }

    QVariant value(const QString &key, const QVariant &defaultValue = {}) const
    {
        return manager->value(u"Logging"_s, key, defaultValue);
    }
    void setValue(const QString &key, const QVariant &value, SettingsType type)
    {
        manager->setValue(u"Logging"_s, key, value, type);
    }

    LogsConfigWrapper *const q; // the public object, by Qt's convention; not used yet
    ConfigurationManager *const manager; // borrowed
};

LogsConfigWrapper::LogsConfigWrapper(ConfigurationManager *manager)
    : d(std::make_unique<LogsConfigWrapperPrivate>(this, manager))
{
}

LogsConfigWrapper::~LogsConfigWrapper() = default;

logging::Level LogsConfigWrapper::level() const
{
    const QVariant stored = d->value(u"level"_s);
    if (!stored.isValid())
        return logging::Level(noLevel);
    const auto &levels = stringLevelToIntLevel();
    const auto named = levels.constFind(stored.toString());
    if (named != levels.cend())
        return logging::Level(*named);
    const int number = stored.toInt(); // Intentional: a text that is not a number counts as 0
    return logging::Level(isLevelValid(number) ? number : noLevel);
}

void LogsConfigWrapper::setLevel(logging::Level level, SettingsType type)
{
    d->setValue(u"level"_s, int(level), type);
}

int LogsConfigWrapper::jsonLengthLimit() const
{
    return d->value(u"jsonLengthLimit"_s, -1).toInt();
}

void LogsConfigWrapper::setJsonLengthLimit(int limit, SettingsType type)
{
    d->setValue(u"jsonLengthLimit"_s, limit, type);
}

bool LogsConfigWrapper::jsonFormattingEnabled() const
{
    return d->value(u"jsonFormattingEnabled"_s, false).toBool();
}

void LogsConfigWrapper::setJsonFormattingEnabled(bool enabled, SettingsType type)
{
    d->setValue(u"jsonFormattingEnabled"_s, enabled, type);
}

bool LogsConfigWrapper::imageRequestsEnabled() const
{
    return d->value(u"imageRequestsEnabled"_s, false).toBool();
}

void LogsConfigWrapper::setImageRequestsEnabled(bool enabled, SettingsType type)
{
    d->setValue(u"imageRequestsEnabled"_s, enabled, type);
}

QString LogsConfigWrapper::modulesBlacklist() const
{
    return d->value(u"blacklist"_s, QString()).toString();
}

QString LogsConfigWrapper::modulesWhitelist() const
{
    return d->value(u"whitelist"_s, QString()).toString();
}

const QHash<QString, int> &LogsConfigWrapper::stringLevelToIntLevel() noexcept
{
    // Created by the first call, which may come from the constructor of a static object. Intentional:
    // never deleted, because the destructor of a static object may call this too.
    // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): out of memory ends the process
    static const auto *const levels = new QHash<QString, int>{
            {u"critical"_s, critical}, {u"error"_s, 1},     {u"warning"_s, 2}, {u"info"_s, 3},
            {u"debug"_s, 4},           {u"trace"_s, trace},
    };
    return *levels;
}

int LogsConfigWrapper::minLevel()
{
    return critical;
}

int LogsConfigWrapper::maxLevel()
{
    return trace;
}

bool LogsConfigWrapper::isLevelValid(int level)
{
    return level >= minLevel() && level <= maxLevel();
}

namespace {
// Creates the table at load, so that level() needs no memory for it.
[[maybe_unused]] const auto &levelsAtLoad = LogsConfigWrapper::stringLevelToIntLevel();
} // namespace

} // namespace tamsel

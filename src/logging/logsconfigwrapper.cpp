// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/logsconfigwrapper.h>

#include <tamsel/configurationmanager.h>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

// Built at load and only read afterwards, from any thread. clazy:excludeall=non-pod-global-static
const QString loggingGroup = u"Logging"_s;
const QString levelKey = u"level"_s;
const QString blacklistKey = u"blacklist"_s;
const QString whitelistKey = u"whitelist"_s;
const QString jsonLengthLimitKey = u"jsonLengthLimit"_s;
const QString jsonFormattingEnabledKey = u"jsonFormattingEnabled"_s;
const QString imageRequestsEnabledKey = u"imageRequestsEnabled"_s;

const QHash<QString, int> levelNumbers{
        {u"critical"_s, 0}, {u"error"_s, 1}, {u"warning"_s, 2},
        {u"info"_s, 3},     {u"debug"_s, 4}, {u"trace"_s, 5},
};

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
        return manager->value(loggingGroup, key, defaultValue);
    }
    void setValue(const QString &key, const QVariant &value, SettingsType type)
    {
        manager->setValue(loggingGroup, key, value, type);
    }

    LogsConfigWrapper *const q;
    ConfigurationManager *const manager; // borrowed
};

LogsConfigWrapper::LogsConfigWrapper(ConfigurationManager *manager)
    : d(std::make_unique<LogsConfigWrapperPrivate>(this, manager))
{
}

LogsConfigWrapper::~LogsConfigWrapper() = default;

logging::Level LogsConfigWrapper::level() const
{
    const QVariant stored = d->value(levelKey);
    if (!stored.isValid())
        return logging::Level(noLevel);
    const auto named = levelNumbers.constFind(stored.toString());
    if (named != levelNumbers.cend())
        return logging::Level(*named);
    const int number = stored.toInt(); // kept as it is: text that is no number counts as 0
    return logging::Level(isLevelValid(number) ? number : noLevel);
}

void LogsConfigWrapper::setLevel(logging::Level level, SettingsType type)
{
    d->setValue(levelKey, int(level), type);
}

int LogsConfigWrapper::jsonLengthLimit() const
{
    return d->value(jsonLengthLimitKey, -1).toInt();
}

void LogsConfigWrapper::setJsonLengthLimit(int limit, SettingsType type)
{
    d->setValue(jsonLengthLimitKey, limit, type);
}

bool LogsConfigWrapper::jsonFormattingEnabled() const
{
    return d->value(jsonFormattingEnabledKey, false).toBool();
}

void LogsConfigWrapper::setJsonFormattingEnabled(bool enabled, SettingsType type)
{
    d->setValue(jsonFormattingEnabledKey, enabled, type);
}

bool LogsConfigWrapper::imageRequestsEnabled() const
{
    return d->value(imageRequestsEnabledKey, false).toBool();
}

void LogsConfigWrapper::setImageRequestsEnabled(bool enabled, SettingsType type)
{
    d->setValue(imageRequestsEnabledKey, enabled, type);
}

QString LogsConfigWrapper::modulesBlacklist() const
{
    return d->value(blacklistKey, QString()).toString();
}

QString LogsConfigWrapper::modulesWhitelist() const
{
    return d->value(whitelistKey, QString()).toString();
}

const QHash<QString, int> &LogsConfigWrapper::stringLevelToIntLevel() noexcept
{
    return levelNumbers;
}

int LogsConfigWrapper::minLevel()
{
    return levelNumbers.value(u"critical"_s);
}

int LogsConfigWrapper::maxLevel()
{
    return levelNumbers.value(u"trace"_s);
}

bool LogsConfigWrapper::isLevelValid(int level)
{
    return level >= minLevel() && level <= maxLevel();
}

} // namespace tamsel

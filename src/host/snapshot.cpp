// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/snapshot.h>

#include "settingjson.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/origin.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/tamselversion.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QFileDevice>
#include <QtCore/QIODevice>
#include <QtCore/QSysInfo>
#include <QtCore/QThread>

#include <bitset>
#include <cstddef>
#include <optional>
#include <vector>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

constexpr int schema = 1; // raised when older readers would misread the file

// How often a setting is looked up while other threads change it. A lookup takes microseconds, so few
// are disturbed. After the first attempts the thread yields.
constexpr int mostAttempts = 100;
constexpr int attemptsAtOnce = 10;

// A set of layers, by their ranks.
using Layers = std::bitset<8>;

// A setting that a layer holds.
struct HeldSetting
{
    QString group;
    QString key;
    ShownValue value;
    Layers holding; // those that hold the setting; the highest is the origin
    quint64 changes = 0; // notifications so far
    bool isSettled = false; // all of this was true at one moment
};

struct ShownChange
{
    SettingChange change; // without its value
    ShownValue value;
};

std::size_t rankOf(SettingsType type)
{
    return static_cast<std::size_t>(priorityOf(type));
}

QString programName()
{
    const QString name = QCoreApplication::applicationName();
    return name.isEmpty() ? QString::fromLocal8Bit(program_invocation_short_name) : name;
}

// Whether a reader would see the same value. A NaN is not equal to itself, and some types of hosts
// cannot be compared.
bool isSame(const QVariant &a, const QVariant &b)
{
    return a.metaType() == b.metaType() && (a == b || jsonOf(a) == jsonOf(b));
}

Layers layersHolding(const ConfigurationManager &manager, const QString &group, const QString &key)
{
    Layers result;
    for (const SettingsType type : storagePriority)
        result.set(rankOf(type), manager.contains(group, key, type));
    return result;
}

// The highest of the layers.
std::optional<SettingsType> originIn(Layers layers)
{
    for (const SettingsType type : storagePriority) {
        if (layers[rankOf(type)])
            return type;
    }
    return std::nullopt;
}

QString dateText(const QDateTime &time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

bool put(QIODevice *device, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    return device->write(bytes) == bytes.size();
}

// A file reports a full disk only when its buffer is written.
bool flush(QIODevice *device)
{
    auto *file = qobject_cast<QFileDevice *>(device);
    return file == nullptr || file->flush();
}

bool isFileLayer(SettingsType type)
{
    return type == SettingsType::CustomConfPersistent || type == SettingsType::SelviDb
            || type == SettingsType::RavonaConfDefault;
}

} // namespace

class SnapshotPrivate
{
public:
    void addSetting(const ConfigurationManager &manager, const SettingsCatalogue &catalogue,
                    const QString &group, const QString &key);
    ShownValue shown(const QString &group, const QString &key, const QVariant &value) const;
    QString fileOf(SettingsType type) const;
    QString head() const;
    QString layerLine(std::size_t rank) const;
    QString settingLine(std::size_t index) const;
    QString changeLine(std::size_t index) const;
    bool putAll(QIODevice *device, QLatin1StringView name, std::size_t count,
                QString (SnapshotPrivate::*line)(std::size_t) const) const;

    Redaction redaction;
    QDateTime time;
    QString persistentStoragePath;
    QString assetsPrefix;
    Layers available;
    Layers holding; // those that hold any setting
    std::vector<HeldSetting> settings;
    std::vector<ShownChange> changes;
};

ShownValue SnapshotPrivate::shown(const QString &group, const QString &key,
                                  const QVariant &value) const
{
    if (redaction.matches(group, key))
        return redactedValue(value);
    ShownValue result = shownValue(value);
    result.value = redaction.redacted(group, key, value);
    return result;
}

// Value and origin are two lookups, between which other threads may make changes. So each is made
// twice, and the catalogue's count of changes is compared. That shows every change in between, unless
// two undo each other before either of their threads has notified.
void SnapshotPrivate::addSetting(const ConfigurationManager &manager,
                                 const SettingsCatalogue &catalogue, const QString &group,
                                 const QString &key)
{
    HeldSetting setting;
    setting.group = group;
    setting.key = key;
    const QVariant none = QVariant::fromValue<void *>(&setting); // a value that no layer holds
    QVariant value;
    for (int attempt = 1; attempt <= mostAttempts && !setting.isSettled; ++attempt) {
        if (attempt > attemptsAtOnce)
            QThread::yieldCurrentThread();
        setting.changes = catalogue.changeCount(group, key);
        const QVariant before = manager.value(group, key, none);
        setting.holding = layersHolding(manager, group, key);
        value = manager.value(group, key, none);
        setting.isSettled = isSame(before, value) && isSame(value, none) == setting.holding.none()
                && originIn(setting.holding) == originOf(manager, group, key)
                && catalogue.changeCount(group, key) == setting.changes;
    }
    if (setting.holding.none() || isSame(value, none))
        return;
    setting.value = shown(group, key, value);
    settings.push_back(std::move(setting));
}

// The file that the layer would be created with now; empty if it has none or it is not known.
QString SnapshotPrivate::fileOf(SettingsType type) const
{
    switch (type) {
    case SettingsType::CustomConfPersistent:
        return persistentStoragePath + "custom.conf"_L1;
    case SettingsType::SelviDb:
        return persistentStoragePath + "selvi.db"_L1;
    case SettingsType::RavonaConfDefault:
        return assetsPrefix.isEmpty() ? QString() : assetsPrefix + "ravona.conf"_L1;
    default:
        return {};
    }
}

QString SnapshotPrivate::head() const
{
    return JsonObject(",\n"_L1)
            .addNumber("snapshot"_L1, schema)
            .addText("time"_L1, dateText(time))
            .add("process"_L1,
                 JsonObject()
                         .addText("name"_L1, programName())
                         .add("pid"_L1, QString::number(QCoreApplication::applicationPid()))
                         .addText("host"_L1, QSysInfo::machineHostName())
                         .finished())
            .add("versions"_L1,
                 JsonObject()
                         .addTextOrNull("application"_L1, QCoreApplication::applicationVersion())
                         .addText("tamsel"_L1, QStringLiteral(TAMSEL_VERSION_STRING))
                         .addText("qt"_L1, QString::fromLatin1(qVersion()))
                         .finished())
            .add("paths"_L1,
                 JsonObject()
                         .addText("persistentStorage"_L1, persistentStoragePath)
                         .addTextOrNull("assets"_L1, assetsPrefix)
                         .finished())
            .add("redaction"_L1, jsonOf(QVariant(redaction.patterns())))
            .unfinished();
}

// A file layer that failed and holds nothing cannot be distinguished from a missing one.
QString SnapshotPrivate::layerLine(std::size_t rank) const
{
    const SettingsType type = storagePriority[static_cast<qsizetype>(rank)];
    const bool isPresent = available[rank] || holding[rank];
    JsonObject result;
    result.addNumber("rank"_L1, rank).addText("layer"_L1, layerName(type));
    if (!isPresent && isFileLayer(type))
        result.addTextOrNull("present"_L1, {});
    else
        result.addBool("present"_L1, isPresent);
    return result.addBool("available"_L1, available[rank])
            .addTextOrNull("file"_L1, fileOf(type))
            .finished();
}

QString SnapshotPrivate::settingLine(std::size_t index) const
{
    const HeldSetting &setting = settings[index];
    const SettingsType origin = *originIn(setting.holding);
    QString overridden;
    for (const SettingsType type : storagePriority) {
        if (!setting.holding[rankOf(type)] || type == origin)
            continue;
        overridden += overridden.isEmpty() ? u'[' : u',';
        overridden += layerValueJson(type, {}, fileOf(type), {});
    }
    overridden += overridden.isEmpty() ? "[]"_L1 : "]"_L1;
    return settingJson(setting.group, setting.key, setting.value, origin, fileOf(origin),
                       overridden)
            .addNumber("changes"_L1, setting.changes)
            .addBool("settled"_L1, setting.isSettled)
            .finished();
}

QString SnapshotPrivate::changeLine(std::size_t index) const
{
    const SettingChange &change = changes[index].change;
    return JsonObject()
            .addNumber("number"_L1, change.number)
            .addText("time"_L1, dateText(change.time))
            .addText("group"_L1, change.group)
            .addText("key"_L1, change.key)
            .addValue(changes[index].value)
            .addText("origin"_L1, layerName(change.type))
            .finished();
}

// An array with a line for each of its members.
bool SnapshotPrivate::putAll(QIODevice *device, QLatin1StringView name, std::size_t count,
                             QString (SnapshotPrivate::*line)(std::size_t) const) const
{
    QString start = u",\n\"%1\":["_s.arg(name) + u'\n';
    for (std::size_t i = 0; i < count; ++i) {
        if (!put(device, start + (this->*line)(i)))
            return false;
        start = u",\n"_s;
    }
    return put(device, count == 0 ? start + u']' : u"\n]"_s);
}

Snapshot Snapshot::take(const ConfigurationManager &manager, const SettingsCatalogue &catalogue,
                        const Redaction &redaction)
{
    Snapshot result;
    SnapshotPrivate *const d = result.d.get();
    d->redaction = redaction;
    d->time = QDateTime::currentDateTimeUtc();
    d->persistentStoragePath = manager.persistentStoragePath();
    const auto keys = catalogue.keys();
    for (const auto &[group, key] : keys)
        d->addSetting(manager, catalogue, group, key);
    for (const HeldSetting &setting : std::as_const(d->settings))
        d->holding |= setting.holding;
    for (const SettingsType type : storagePriority)
        d->available.set(rankOf(type), manager.storageAvailable(type));
    const QList<SettingChange> changes = catalogue.lastChanges();
    for (const SettingChange &change : changes) {
        ShownChange shown{change, d->shown(change.group, change.key, change.value)};
        shown.change.value = {};
        d->changes.push_back(shown);
    }
    return result;
}

Snapshot::Snapshot() : d(std::make_unique<SnapshotPrivate>()) { }

Snapshot::Snapshot(Snapshot &&other) noexcept = default;

Snapshot &Snapshot::operator=(Snapshot &&other) noexcept = default;

Snapshot::~Snapshot() = default;

void Snapshot::setAssetsPrefix(const QString &prefix)
{
    d->assetsPrefix = prefix;
}

bool Snapshot::write(QIODevice *device) const
{
    using Private = SnapshotPrivate;
    const auto layerCount = static_cast<std::size_t>(storagePriority.size());
    return put(device, d->head()) && d->putAll(device, "layers"_L1, layerCount, &Private::layerLine)
            && d->putAll(device, "settings"_L1, d->settings.size(), &Private::settingLine)
            && d->putAll(device, "changes"_L1, d->changes.size(), &Private::changeLine)
            && put(device, u",\n\"warnings\":[]}\n"_s) && flush(device);
}

} // namespace tamsel::host

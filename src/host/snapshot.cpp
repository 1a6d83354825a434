// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/snapshot.h>

#include "settingjson.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/tamselversion.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QIODevice>
#include <QtCore/QSysInfo>
#include <QtCore/QThread>

#include <algorithm>
#include <vector>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

constexpr int schema = 1; // rises when a reader of the last one would read something wrong

// How often a setting is looked up while others change it. A lookup that is disturbed is rare, as
// it takes microseconds; the last ones give way to who disturbs it.
constexpr int mostAttempts = 100;
constexpr int attemptsAtOnce = 10;

// A setting that a layer holds.
struct HeldSetting
{
    QString group;
    QString key;
    ShownValue value;
    SettingsType origin = SettingsType::CommandLineArgs;
    QList<SettingsType> overridden; // highest layer first
    quint64 changes = 0; // notifications so far
    bool isSettled = false; // all of this was true at one moment
};

struct ShownChange
{
    SettingChange change; // without its value
    ShownValue value;
};

struct Layer
{
    SettingsType type = SettingsType::CommandLineArgs;
    bool isAvailable = false;
    bool holdsSetting = false;
};

QString programName()
{
    const QString name = QCoreApplication::applicationName();
    return name.isEmpty() ? QString::fromLocal8Bit(program_invocation_short_name) : name;
}

// The same value for a reader. What is not a number is not equal to itself, and some types of hosts
// cannot be compared.
bool isSame(const QVariant &a, const QVariant &b)
{
    return a.metaType() == b.metaType() && (a == b || jsonOf(a) == jsonOf(b));
}

// The layers that hold the setting, the highest first.
QList<SettingsType> layersHolding(const ConfigurationManager &manager, const QString &group,
                                  const QString &key)
{
    QList<SettingsType> result;
    for (const SettingsType type : storagePriority) {
        if (manager.contains(group, key, type))
            result.append(type);
    }
    return result;
}

bool isOrigin(SettingsType origin, const ConfigurationManager &manager, const QString &group,
              const QString &key)
{
    for (const SettingsType type : storagePriority) {
        if (manager.contains(group, key, type))
            return type == origin;
    }
    return false;
}

QString dateText(const QDateTime &time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

QString changeJson(const ShownChange &shown)
{
    const SettingChange &change = shown.change;
    return R"({"number":)"_L1 + QString::number(change.number) + R"(,"time":)"_L1
            + jsonOf(dateText(change.time)) + R"(,"group":)"_L1 + jsonOf(change.group)
            + R"(,"key":)"_L1 + jsonOf(change.key) + u',' + valueMembers(shown.value)
            + R"(,"origin":)"_L1 + jsonOf(layerName(change.type)) + u'}';
}

bool isFileLayer(SettingsType type)
{
    return type == SettingsType::CustomConfPersistent || type == SettingsType::SelviDb
            || type == SettingsType::RavonaConfDefault;
}

QString boolText(bool value)
{
    return value ? u"true"_s : u"false"_s;
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
    QString layerJson(const Layer &layer) const;
    QString settingLine(const HeldSetting &setting) const;

    Redaction redaction;
    QDateTime time;
    QString persistentStoragePath;
    QString assetsPrefix;
    std::vector<Layer> layers;
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

// The value and its origin are two questions, between which other threads make changes. So each is
// asked twice, and the catalogue is asked whether there was a change: a single change that comes
// between shows in one of them, and so do two, unless they undo each other before either of their
// threads could notify.
void SnapshotPrivate::addSetting(const ConfigurationManager &manager,
                                 const SettingsCatalogue &catalogue, const QString &group,
                                 const QString &key)
{
    HeldSetting setting;
    setting.group = group;
    setting.key = key;
    QVariant value;
    QList<SettingsType> holding;
    for (int attempt = 1; attempt <= mostAttempts && !setting.isSettled; ++attempt) {
        if (attempt > attemptsAtOnce)
            QThread::yieldCurrentThread();
        setting.changes = catalogue.changeCount(group, key);
        const QVariant before = manager.value(group, key);
        holding = layersHolding(manager, group, key);
        value = manager.value(group, key);
        setting.isSettled = isSame(before, value)
                && (holding.isEmpty() ? !manager.contains(group, key)
                                      : isOrigin(holding.constFirst(), manager, group, key))
                && catalogue.changeCount(group, key) == setting.changes;
    }
    if (holding.isEmpty())
        return;
    setting.origin = holding.takeFirst();
    setting.overridden = holding;
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
    return R"({"snapshot":)"_L1 + QString::number(schema) + ",\n\"time\":"_L1
            + jsonOf(dateText(time)) + ",\n\"process\":"_L1
            + jsonObject({{"name"_L1, jsonOf(programName())},
                          {"pid"_L1, QString::number(QCoreApplication::applicationPid())},
                          {"host"_L1, jsonOf(QSysInfo::machineHostName())}})
            + ",\n\"versions\":"_L1
            + jsonObject({{"application"_L1, jsonOrNull(QCoreApplication::applicationVersion())},
                          {"tamsel"_L1, jsonOf(QStringLiteral(TAMSEL_VERSION_STRING))},
                          {"qt"_L1, jsonOf(QString::fromLatin1(qVersion()))}})
            + ",\n\"paths\":"_L1
            + jsonObject({{"persistentStorage"_L1, jsonOf(persistentStoragePath)},
                          {"assets"_L1, jsonOrNull(assetsPrefix)}})
            + ",\n\"redaction\":"_L1 + jsonOf(QVariant(redaction.patterns()));
}

// A file layer that failed and holds nothing cannot be told from one that is not there.
QString SnapshotPrivate::layerJson(const Layer &layer) const
{
    const bool isPresent = layer.isAvailable || layer.holdsSetting;
    return jsonObject({{"rank"_L1, QString::number(priorityOf(layer.type))},
                       {"layer"_L1, jsonOf(layerName(layer.type))},
                       {"present"_L1,
                        !isPresent && isFileLayer(layer.type) ? u"null"_s : boolText(isPresent)},
                       {"available"_L1, boolText(layer.isAvailable)},
                       {"file"_L1, jsonOrNull(fileOf(layer.type))}});
}

QString SnapshotPrivate::settingLine(const HeldSetting &setting) const
{
    QStringList overridden;
    for (const SettingsType type : setting.overridden)
        overridden.append(layerValueJson(type, {}, fileOf(type), {}));
    return settingJson(setting.group, setting.key, setting.value, setting.origin,
                       fileOf(setting.origin), overridden,
                       R"(,"changes":)"_L1 + QString::number(setting.changes) + R"(,"settled":)"_L1
                               + boolText(setting.isSettled));
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
    for (const SettingsType type : storagePriority) {
        const auto isHeld = [type](const HeldSetting &setting) {
            return setting.origin == type || setting.overridden.contains(type);
        };
        d->layers.push_back({type, manager.storageAvailable(type),
                             std::any_of(d->settings.cbegin(), d->settings.cend(), isHeld)});
    }
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
    const auto put = [device](const QString &text) {
        const QByteArray bytes = text.toUtf8();
        return device->write(bytes) == bytes.size();
    };
    // An array with a line for each of its members.
    const auto putAll = [&put](QLatin1StringView name, const auto &members, const auto &jsonOfOne) {
        QString start = u",\n\"%1\":["_s.arg(name) + u'\n';
        for (const auto &member : members) {
            if (!put(start + jsonOfOne(member)))
                return false;
            start = u",\n"_s;
        }
        return put(members.empty() ? start + u']' : u"\n]"_s);
    };
    return put(d->head())
            && putAll("layers"_L1, d->layers,
                      [this](const Layer &layer) { return d->layerJson(layer); })
            && putAll("settings"_L1, d->settings,
                      [this](const HeldSetting &setting) { return d->settingLine(setting); })
            && putAll("changes"_L1, d->changes, changeJson) && put(u",\n\"warnings\":[]}\n"_s);
}

} // namespace tamsel::host

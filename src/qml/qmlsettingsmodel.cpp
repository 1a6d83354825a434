// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "qmlsettingsmodel.h"

#include "dispatcher.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/origin.h>
#include <tamsel/host/settingscatalogue.h>

#include <QtQml/QQmlInfo>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace tamsel::qml {

namespace {

// A text without a wildcard is looked for anywhere in group/key.
host::Redaction matcherOf(const QString &filter)
{
    const bool isPattern = std::any_of(filter.cbegin(), filter.cend(),
                                       [](QChar c) { return c == u'*' || c == u'?' || c == u'['; });
    return host::Redaction({isPattern ? filter : QString(u'*' + filter + u'*')});
}

QVariantList overriddenLayers(const ConfigurationManager &settings, SettingsType origin,
                              const QString &group, const QString &key)
{
    QVariantList layers;
    for (qsizetype i = priorityOf(origin) + 1; i < storagePriority.size(); ++i) {
        if (settings.contains(group, key, storagePriority.at(i)))
            layers.append(static_cast<int>(storagePriority.at(i)));
    }
    return layers;
}

// By the same rules as in tamsel-inspect and snapshots.
bool isEmpty(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return value.toByteArray().isEmpty();
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return value.toList().isEmpty();
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return value.toMap().isEmpty();
    default:
        return value.isNull();
    }
}

} // namespace

QmlSettingsModel::QmlSettingsModel(QObject *parent)
    : QAbstractListModel(parent), m_matcher(matcherOf({})), m_redaction(lentRedaction())
{
}

QmlSettingsModel::~QmlSettingsModel()
{
    m_subscription.drop();
    if (m_dispatcher)
        m_dispatcher->remove(this);
}

void QmlSettingsModel::componentComplete()
{
    m_dispatcher = Dispatcher::current(this);
    ConfigurationManager *settings = m_dispatcher ? m_dispatcher->manager(this) : nullptr;
    if (!settings)
        return;
    m_dispatcher->add(this);
    // What comes from here on is notified; what came before, the catalogue knows.
    m_subscription = m_dispatcher->notifier().subscribeAll(
            this, [this](const host::Change &change) { update(change.group, change.key); });
    const host::SettingsCatalogue *catalogue = lentCatalogue();
    if (!catalogue) {
        qmlWarning(this)
                << "no catalogue is lent with tamsel::qml::setQmlSettingsCatalogue(); only "
                   "settings that change from now on are shown";
        return;
    }
    const Keys keys = catalogue->keys();
    std::copy_if(keys.cbegin(), keys.cend(), std::back_inserter(m_known),
                 [&](const Key &key) { return settings->contains(key.first, key.second); });
    showFiltered();
}

void QmlSettingsModel::setFilter(const QString &filter)
{
    if (m_filter == filter)
        return;
    m_filter = filter;
    m_matcher = matcherOf(filter);
    showFiltered();
    Q_EMIT filterChanged();
}

bool QmlSettingsModel::isShown(const Key &key) const
{
    return m_filter.isEmpty() || m_matcher.matches(key.first, key.second);
}

// Brings the rows in step with the filter, in runs of neighbours: views keep what stays.
void QmlSettingsModel::showFiltered()
{
    const qsizetype before = m_rows.size();
    for (qsizetype end = m_rows.size(); end > 0; --end) {
        qsizetype begin = end;
        while (begin > 0 && !isShown(m_rows.at(begin - 1)))
            --begin;
        if (begin == end)
            continue;
        beginRemoveRows({}, static_cast<int>(begin), static_cast<int>(end - 1));
        m_rows.remove(begin, end - begin);
        endRemoveRows();
        end = begin + 1;
    }
    Keys wanted;
    std::copy_if(m_known.cbegin(), m_known.cend(), std::back_inserter(wanted),
                 [this](const Key &key) { return isShown(key); });
    for (qsizetype begin = 0; begin < wanted.size(); ++begin) {
        qsizetype end = begin;
        while (end < wanted.size()
               && (begin == m_rows.size() || wanted.at(end) != m_rows.at(begin)))
            ++end;
        if (begin == end)
            continue;
        beginInsertRows({}, static_cast<int>(begin), static_cast<int>(end - 1));
        m_rows.insert(begin, end - begin, Key());
        std::copy(wanted.cbegin() + begin, wanted.cbegin() + end, m_rows.begin() + begin);
        endInsertRows();
        begin = end;
    }
    if (m_rows.size() != before)
        Q_EMIT countChanged();
}

void QmlSettingsModel::update(const QString &group, const QString &key)
{
    const ConfigurationManager *settings = m_dispatcher->manager(this);
    if (!settings)
        return;
    const Key changed(group, key);
    const bool isHeld = settings->contains(group, key);
    const auto known = std::lower_bound(m_known.cbegin(), m_known.cend(), changed);
    const bool wasHeld = known != m_known.cend() && *known == changed;
    if (isHeld && !wasHeld)
        m_known.insert(known, changed);
    else if (!isHeld && wasHeld)
        m_known.erase(known);
    else if (!isHeld)
        return;
    if (!isShown(changed))
        return;

    const auto place = std::lower_bound(m_rows.cbegin(), m_rows.cend(), changed);
    const int row = static_cast<int>(std::distance(m_rows.cbegin(), place));
    if (isHeld && wasHeld) {
        Q_EMIT dataChanged(index(row), index(row),
                           {ValueRole, TypeRole, OriginRole, OverriddenRole});
        return;
    }
    if (isHeld) {
        beginInsertRows({}, row, row);
        m_rows.insert(row, changed);
        endInsertRows();
    } else {
        beginRemoveRows({}, row, row);
        m_rows.removeAt(row);
        endRemoveRows();
    }
    Q_EMIT countChanged();
}

int QmlSettingsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant QmlSettingsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto &[group, key] = m_rows.at(index.row());
    if (role == GroupRole)
        return group;
    if (role == KeyRole)
        return key;
    const ConfigurationManager *settings = m_dispatcher->manager(this);
    if (!settings)
        return {};
    switch (role) {
    case ValueRole: {
        const QVariant value = settings->value(group, key);
        if (isEmpty(value) && m_redaction.matches(group, key))
            return u"(redacted, empty)"_s;
        return m_redaction.redacted(group, key, value);
    }
    case TypeRole:
        return QString::fromLatin1(settings->value(group, key).typeName());
    case OriginRole: {
        const std::optional<SettingsType> origin = host::originOf(*settings, group, key);
        return origin ? static_cast<int>(*origin) : -1;
    }
    case OverriddenRole: {
        const std::optional<SettingsType> origin = host::originOf(*settings, group, key);
        return origin ? overriddenLayers(*settings, *origin, group, key) : QVariantList();
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> QmlSettingsModel::roleNames() const
{
    return {{GroupRole, "group"}, {KeyRole, "key"},       {ValueRole, "value"},
            {TypeRole, "type"},   {OriginRole, "origin"}, {OverriddenRole, "overridden"}};
}

} // namespace tamsel::qml

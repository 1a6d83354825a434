// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "qmlsetting.h"

#include "dispatcher.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/origin.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QPointer>
#include <QtCore/QStringBuilder>
#include <QtQml/QJSValue>
#include <QtQml/QQmlInfo>

using namespace Qt::StringLiterals;

namespace tamsel::qml {

namespace {

// Arrays and objects arrive wrapped.
QVariant unwrapped(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QJSValue>() ? value.value<QJSValue>().toVariant()
                                                               : value;
}

bool isSame(const QVariant &left, const QVariant &right)
{
    return left.metaType() == right.metaType() && left == right;
}

bool isReadOnly(SettingsType type)
{
    return type == SettingsType::CommandLineArgs || type == SettingsType::Rdm
            || type == SettingsType::FeatureKeys;
}

QString layerName(Layer layer)
{
    const auto number = static_cast<quint8>(layer);
    const char *name = static_cast<Layer>(number) == layer
            ? QMetaEnum::fromType<Layer>().valueToKey(number)
            : nullptr;
    return name ? QString::fromLatin1(name) : QString::number(static_cast<int>(layer));
}

} // namespace

QmlSetting::QmlSetting(QObject *parent) : QObject(parent) { }

QmlSetting::~QmlSetting()
{
    detach();
}

void QmlSetting::onGroupChanged()
{
    const QPointer<QmlSetting> alive = this;
    attach();
    if (alive)
        Q_EMIT groupChanged();
}

void QmlSetting::onKeyChanged()
{
    const QPointer<QmlSetting> alive = this;
    attach();
    if (alive)
        Q_EMIT keyChanged();
}

void QmlSetting::onDefaultValueChanged()
{
    // A default may be read before the component is complete.
    const QPointer<QmlSetting> alive = this;
    refresh(); // NOLINT(clang-analyzer-core.CallAndMessage): it takes `this` for null
    if (alive)
        Q_EMIT defaultValueChanged();
}

void QmlSetting::onLayerChanged()
{
    m_refused = false;
    const QPointer<QmlSetting> alive = this;
    if (m_complete)
        refresh();
    if (alive)
        Q_EMIT layerChanged();
}

void QmlSetting::componentComplete()
{
    m_complete = true;
    const QPointer<QmlSetting> alive = this;
    attach();
    if (alive && m_early.isValid())
        setValue(std::exchange(m_early, {}));
}

// Follows the setting that group and key address now.
void QmlSetting::attach()
{
    if (!m_complete)
        return;
    const std::shared_ptr<Dispatcher> kept = m_dispatcher; // otherwise detach() may destroy it
    detach();
    m_refused = false;
    if (!m_key.value().isEmpty()) {
        m_dispatcher = Dispatcher::current(this);
        if (m_dispatcher) {
            m_attachedGroup = m_group;
            m_attachedKey = m_key;
            m_dispatcher->add(this, m_attachedGroup, m_attachedKey);
        }
    }
    refresh();
}

void QmlSetting::detach()
{
    if (m_dispatcher)
        m_dispatcher->remove(this, m_attachedGroup, m_attachedKey);
    m_dispatcher.reset();
}

ConfigurationManager *QmlSetting::manager() const
{
    return m_dispatcher ? m_dispatcher->manager(this) : nullptr;
}

// The value, converted to the type of the default if possible.
QVariant QmlSetting::inTypeOfDefault(const QVariant &value) const
{
    const QMetaType type = unwrapped(m_defaultValue).metaType();
    if (!type.isValid() || value.metaType() == type || !value.isValid())
        return value;
    QVariant converted = value;
    return converted.convert(type) ? converted : value;
}

void QmlSetting::refresh()
{
    QVariant value = unwrapped(m_defaultValue);
    int origin = -1;
    bool overridden = false;
    bool writable = false;
    if (const ConfigurationManager *settings = manager()) {
        // If another thread makes a change between these lines, a queued notification follows.
        value = inTypeOfDefault(settings->value(m_group, m_key, value));
        const std::optional<SettingsType> layer = host::originOf(*settings, m_group, m_key);
        origin = layer ? static_cast<int>(*layer) : -1;
        overridden = layer && layer != type() && settings->contains(m_group, m_key, type());
        writable = !isReadOnly(type()) && settings->storageAvailable(type());
    } else if (m_dispatcher) {
        return; // the manager is gone; the last value stays
    }

    const bool hasValueChanged = !isSame(m_value, value);
    const bool hasOriginChanged = m_origin != origin;
    const bool hasOverriddenChanged = m_overridden != overridden;
    const bool hasWritableChanged = m_writable != writable;
    m_value = value;
    m_origin = origin;
    m_overridden = overridden;
    m_writable = writable;

    // All fields are up to date before the first signal. A signal may destroy the object.
    const QPointer<QmlSetting> alive = this;
    if (hasOriginChanged) {
        m_boundOrigin.notify();
        if (alive)
            Q_EMIT originChanged();
    }
    if (alive && hasOverriddenChanged) {
        m_boundOverridden.notify();
        if (alive)
            Q_EMIT overriddenChanged();
    }
    if (alive && hasWritableChanged) {
        m_boundWritable.notify();
        if (alive)
            Q_EMIT writableChanged();
    }
    if (alive && hasValueChanged)
        Q_EMIT valueChanged();
}

void QmlSetting::setValue(const QVariant &value)
{
    const QVariant plain = unwrapped(value);
    if (!m_complete) {
        m_early = plain;
        return;
    }
    if (!plain.isValid()) {
        reset();
        return;
    }
    ConfigurationManager *settings = manager();
    if (!settings)
        return refuse(m_key.value().isEmpty() ? u"it has no key"_s : u"no manager is published"_s);
    if (plain.metaType() == QMetaType::fromType<std::nullptr_t>())
        return refuse(u"null is no value; undefined resets"_s);

    const QString group = m_group;
    const QString key = m_key;
    const SettingsType layer = type();
    const QVariant wanted = inTypeOfDefault(plain);
    const QVariant before = settings->value(group, key);
    const QPointer<QmlSetting> alive = this;
    const std::shared_ptr<Dispatcher> dispatcher = m_dispatcher;
    settings->setValue(group, key, wanted, layer);
    // Not every write is notified: an overridden one is not.
    dispatcher->wrote(group, key);
    if (!alive)
        return;

    // The core returns no result, so the setting is read back. An overridden value cannot be read.
    const bool isHeld = settings->contains(group, key, layer);
    const bool isOrigin = host::originOf(*settings, group, key) == layer;
    const QVariant after = settings->value(group, key);
    if (isHeld && (!isOrigin || after == wanted || after != before))
        m_refused = false;
    else if (isReadOnly(layer))
        refuse(u"the layer is read-only"_s);
    else if (!settings->storageAvailable(layer))
        refuse(u"the layer does not exist or has no readable file"_s);
    else
        refuse(u"the layer refused it"_s);
}

void QmlSetting::reset()
{
    if (!m_complete) {
        m_early = {};
        return;
    }
    ConfigurationManager *settings = manager();
    if (!settings)
        return refuse(m_key.value().isEmpty() ? u"it has no key"_s : u"no manager is published"_s);
    const QString group = m_group;
    const QString key = m_key;
    const SettingsType layer = type();
    const QPointer<QmlSetting> alive = this;
    const std::shared_ptr<Dispatcher> dispatcher = m_dispatcher;
    settings->removeValue(group, key, layer);
    dispatcher->wrote(group, key);
    if (!alive)
        return;
    if (!settings->contains(group, key, layer))
        m_refused = false;
    else
        refuse(isReadOnly(layer) ? u"the layer is read-only"_s : u"the layer refused it"_s);
}

// Warns once that a write or a reset had no effect.
void QmlSetting::refuse(const QString &reason)
{
    if (std::exchange(m_refused, true))
        return;
    const QString text = "cannot change "_L1 % m_group.value() % '/'_L1 % m_key.value() % " in "_L1
            % layerName(m_layer) % ": "_L1 % reason;
    qmlWarning(this).noquote() << text;
}

} // namespace tamsel::qml

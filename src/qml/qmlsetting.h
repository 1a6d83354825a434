// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef QMLSETTING_H
#define QMLSETTING_H

#include "qmllayer.h"

#include <QtCore/QObject>
#include <QtCore/QProperty>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtQml/QQmlParserStatus>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace tamsel {
class ConfigurationManager;
}

namespace tamsel::qml {

class Dispatcher;

// One setting, as QML sees it; docs/qml.md describes it. It lives on the thread of its engine.
class QmlSetting : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Setting)
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QString group READ group WRITE setGroup NOTIFY groupChanged BINDABLE bindableGroup
                       FINAL)
    Q_PROPERTY(QString key READ key WRITE setKey NOTIFY keyChanged BINDABLE bindableKey FINAL)
    Q_PROPERTY(QVariant defaultValue READ defaultValue WRITE setDefaultValue NOTIFY
                       defaultValueChanged BINDABLE bindableDefaultValue FINAL)
    Q_PROPERTY(tamsel::qml::Layer layer READ layer WRITE setLayer NOTIFY layerChanged BINDABLE
                       bindableLayer FINAL)
    // Intentional: not bindable. A binding of a bindable property would not go through setValue().
    Q_PROPERTY(QVariant value READ value WRITE setValue RESET reset NOTIFY valueChanged FINAL)
    Q_PROPERTY(int origin READ origin NOTIFY originChanged BINDABLE bindableOrigin FINAL)
    Q_PROPERTY(bool overridden READ isOverridden NOTIFY overriddenChanged BINDABLE
                       bindableOverridden FINAL)
    Q_PROPERTY(bool writable READ isWritable NOTIFY writableChanged BINDABLE bindableWritable FINAL)

public:
    // NOLINTBEGIN(modernize-return-braced-init-list): a QBindable is made of a pointer
    explicit QmlSetting(QObject *parent = nullptr);
    ~QmlSetting() override;

    QString group() const { return m_group; }
    void setGroup(const QString &group) { m_group = group; }
    QBindable<QString> bindableGroup() { return &m_group; }
    QString key() const { return m_key; }
    void setKey(const QString &key) { m_key = key; }
    QBindable<QString> bindableKey() { return &m_key; }
    QVariant defaultValue() const { return m_defaultValue; }
    void setDefaultValue(const QVariant &value) { m_defaultValue = value; }
    QBindable<QVariant> bindableDefaultValue() { return &m_defaultValue; }
    Layer layer() const { return m_layer; }
    void setLayer(Layer layer) { m_layer = layer; }
    QBindable<Layer> bindableLayer() { return &m_layer; }

    QVariant value() const { return m_value; }
    void setValue(const QVariant &value);
    Q_INVOKABLE void reset();

    int origin() const { return m_origin; }
    QBindable<int> bindableOrigin() { return &m_boundOrigin; }
    bool isOverridden() const { return m_overridden; }
    QBindable<bool> bindableOverridden() { return &m_boundOverridden; }
    bool isWritable() const { return m_writable; }
    QBindable<bool> bindableWritable() { return &m_boundWritable; }
    // NOLINTEND(modernize-return-braced-init-list)

    void classBegin() override { }
    void componentComplete() override;

    // Looks the setting up again. A signal may end in the destruction of this object.
    void refresh();

Q_SIGNALS:
    void groupChanged();
    void keyChanged();
    void defaultValueChanged();
    void layerChanged();
    void valueChanged();
    void originChanged();
    void overriddenChanged();
    void writableChanged();

private:
    void onGroupChanged();
    void onKeyChanged();
    void onDefaultValueChanged();
    void onLayerChanged();

    void attach();
    void detach();
    ConfigurationManager *manager() const;
    QVariant inTypeOfDefault(const QVariant &value) const;
    void refuse(const QString &reason);

    // m_layer in the core's type.
    SettingsType type() const { return static_cast<SettingsType>(m_layer.value()); }

    Q_OBJECT_BINDABLE_PROPERTY(QmlSetting, QString, m_group, &QmlSetting::onGroupChanged)
    Q_OBJECT_BINDABLE_PROPERTY(QmlSetting, QString, m_key, &QmlSetting::onKeyChanged)
    Q_OBJECT_BINDABLE_PROPERTY(QmlSetting, QVariant, m_defaultValue,
                               &QmlSetting::onDefaultValueChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(QmlSetting, Layer, m_layer, Layer::Runtime,
                                         &QmlSetting::onLayerChanged)
    Q_OBJECT_COMPUTED_PROPERTY(QmlSetting, int, m_boundOrigin, &QmlSetting::origin)
    Q_OBJECT_COMPUTED_PROPERTY(QmlSetting, bool, m_boundOverridden, &QmlSetting::isOverridden)
    Q_OBJECT_COMPUTED_PROPERTY(QmlSetting, bool, m_boundWritable, &QmlSetting::isWritable)

    // What was looked up last.
    QVariant m_value;
    int m_origin = -1;
    bool m_overridden = false;
    bool m_writable = false;

    bool m_complete = false;
    bool m_refused = false; // and a warning says so
    QVariant m_early; // written before the component was complete
    QString m_attachedGroup; // what m_dispatcher knows this object by
    QString m_attachedKey;
    std::shared_ptr<Dispatcher> m_dispatcher;
};

} // namespace tamsel::qml

#endif // QMLSETTING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef QMLSETTINGSMODEL_H
#define QMLSETTINGSMODEL_H

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/redaction.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtQml/QQmlParserStatus>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <utility>

namespace tamsel::qml {

class Dispatcher;

// Everything that is set, a row for each setting, in ascending order; docs/qml.md describes it. Values
// are looked up when a view asks for them, so a row costs its group and its key.
class QmlSettingsModel : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    QML_NAMED_ELEMENT(SettingsModel)
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged FINAL)
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Role {
        GroupRole = Qt::UserRole + 1,
        KeyRole,
        ValueRole,
        TypeRole,
        OriginRole,
        OverriddenRole,
    };

    explicit QmlSettingsModel(QObject *parent = nullptr);
    ~QmlSettingsModel() override;

    QString filter() const { return m_filter; }
    void setFilter(const QString &filter);
    int count() const { return static_cast<int>(m_rows.size()); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void classBegin() override { }
    void componentComplete() override;

    // A setting may have come, changed or gone.
    void update(const QString &group, const QString &key);

Q_SIGNALS:
    void filterChanged();
    void countChanged();

private:
    using Key = std::pair<QString, QString>;
    using Keys = QList<Key>;

    bool isShown(const Key &key) const;
    void showFiltered();

    QString m_filter;
    host::Redaction m_matcher; // made from m_filter; used for its pattern rules
    host::Redaction m_redaction;
    Keys m_known; // what a layer holds, in ascending order
    Keys m_rows; // those that the filter lets pass
    host::Subscription m_subscription;
    std::shared_ptr<Dispatcher> m_dispatcher;
};

} // namespace tamsel::qml

#endif // QMLSETTINGSMODEL_H

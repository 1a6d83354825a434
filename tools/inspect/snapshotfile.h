// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SNAPSHOTFILE_H
#define SNAPSHOTFILE_H

#include "source.h"

#include <tamsel/host/redaction.h>

#include <QtCore/QHash>

#include <map>
#include <vector>

QT_FORWARD_DECLARE_CLASS(QJsonObject)

// A change that a process was notified of.
struct RecordedChange
{
    qint64 number = 0;
    QString time;
    SettingName name;
    LayerValue value;
};

// A snapshot that tamsel::host::Snapshot has written.
class SnapshotFile final : public Source
{
public:
    // Throws a UserError if the file is not a snapshot. "-" is standard input.
    SnapshotFile(const QString &fileName, const tamsel::host::Redaction &redaction);

    void visit(const std::function<void(const Setting &)> &visitor) const override;
    Setting setting(const SettingName &name) const override;
    QString fileOf(tamsel::SettingsType layer) const override { return m_files.value(layer); }
    std::optional<bool> fileExists(tamsel::SettingsType) const override { return std::nullopt; }
    QString placeText(tamsel::SettingsType layer, const QString &file) const override;
    QStringList warnings() const override { return m_warnings; }

    QString remark() const override { return m_remark; }
    // Oldest first.
    const std::vector<RecordedChange> &changes() const { return m_changes; }

private:
    void readLayer(const QJsonObject &layer);
    void readSetting(const QJsonObject &object);
    void readChange(const QJsonObject &object);
    Value valueIn(const QJsonObject &object, const SettingName &name) const;

    const tamsel::host::Redaction m_redaction;
    std::map<std::pair<QString, QString>, Setting> m_settings;
    QHash<tamsel::SettingsType, QString> m_files;
    std::vector<RecordedChange> m_changes;
    QStringList m_warnings;
    QString m_remark;
};

#endif // SNAPSHOTFILE_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SOURCE_H
#define SOURCE_H

#include "setting.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

// Where settings are shown from: the files of a box, or a snapshot.
class Source
{
public:
    Source() = default;
    virtual ~Source() = default;

    // Visits all settings that some layer holds or lists, sorted by group and key.
    virtual void visit(const std::function<void(const Setting &)> &visitor) const = 0;
    // One setting; without an origin if nothing is known of it.
    virtual Setting setting(const SettingName &name) const = 0;
    // The file of the layer; empty if it has none.
    virtual QString fileOf(tamsel::SettingsType layer) const = 0;
    // Whether that file exists; none if unknown.
    virtual std::optional<bool> fileExists(tamsel::SettingsType layer) const = 0;
    // Where a value of the layer comes from, for people to read: its file, or "--set" or the like.
    virtual QString placeText(tamsel::SettingsType layer, const QString &file) const = 0;
    // A remark for below the table; may be empty.
    virtual QString remark() const { return {}; }
    // A message for each fault of the source.
    virtual QStringList warnings() const = 0;

private:
    Q_DISABLE_COPY_MOVE(Source)
};

#endif // SOURCE_H

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

    // Visits all settings that some layer holds or lists, by group and key.
    virtual void visit(const std::function<void(const Setting &)> &visitor) const = 0;
    // What is known of one setting, which may be nothing.
    virtual Setting setting(const SettingName &name) const = 0;
    // The file of the layer; empty if it has none.
    virtual QString fileOf(tamsel::SettingsType layer) const = 0;
    // Whether there is such a file; none if that is not known.
    virtual std::optional<bool> fileExists(tamsel::SettingsType layer) const = 0;
    // Where a value of the layer is, in words: its file, or what stands in place of one.
    virtual QString placeText(tamsel::SettingsType layer, const QString &file) const = 0;
    // What else there is to say below a table; may be empty.
    virtual QString remark() const { return {}; }
    // What is wrong with it.
    virtual QStringList warnings() const = 0;

private:
    Q_DISABLE_COPY_MOVE(Source)
};

#endif // SOURCE_H

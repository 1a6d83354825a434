// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef SETTING_H
#define SETTING_H

#include "settingjson.h"

#include <tamsel/settingstype.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

namespace tamsel::host {
class Redaction;
}

// A group and a key, shown with a "/" between them.
struct SettingName
{
    QString group;
    QString key;

    QString text() const { return group + u'/' + key; }
};

// A value, shown as far as redaction allows.
class Value
{
public:
    using Redacted = tamsel::host::ShownValue::Redacted;

    // An invalid value from a file.
    Value() = default;
    // A value from a file or the command line.
    Value(const QVariant &value, bool isSecret, const QVariant &shown);
    // A value from a snapshot, as it is shown there.
    explicit Value(const tamsel::host::ShownValue &shown);
    // The value of a layer that a snapshot only names.
    static Value unknown();

    bool isKnown() const { return m_isKnown; }
    const tamsel::host::ShownValue &shown() const { return m_shown; }
    const QVariant &value() const { return m_shown.value; }

    // For people to read; see format.h.
    QString text() const;
    QString type() const;
    // With the types of the values in lists and maps.
    QString wholeType() const;

    // Whether readers get the same value, secrets included. A secret from a snapshot is compared
    // only by whether it is empty.
    bool isSameAs(const Value &other) const;

private:
    bool isFromSnapshot() const { return !m_raw; }

    tamsel::host::ShownValue m_shown;
    std::optional<QVariant> m_raw = QVariant(); // not set for a snapshot; never shown
    bool m_isKnown = true;
};

// What one layer holds for a setting.
struct LayerValue
{
    tamsel::SettingsType layer;
    Value value;
    QString file; // empty for --set
    // The full key of an entry that the layer lists as this setting but reads under another name;
    // empty for all others.
    QString entry;

    // Whether no key reads the entry, because QSettings skips empty parts of a full key.
    bool isLost() const;
};

// A setting, its origin, and the values that readers do not get.
struct Setting
{
    SettingName name;
    std::optional<LayerValue> origin; // none: no reader gets a value
    QList<LayerValue> overridden; // highest layer first, unreadable entries last
};

#endif // SETTING_H

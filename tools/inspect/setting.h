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

// A group and a key, given and shown with a "/" between them.
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

    // An invalid value of a file.
    Value() = default;
    // One from a file or the command line.
    Value(const QVariant &value, bool isSecret, const QVariant &shown);
    // One from a snapshot, as it is shown there.
    explicit Value(const tamsel::host::ShownValue &shown);
    // Of a layer that a snapshot only names.
    static Value unknown();

    bool isKnown() const { return m_isKnown; }
    const tamsel::host::ShownValue &shown() const { return m_shown; }
    const QVariant &value() const { return m_shown.value; }

    // For people to read, see format.h.
    QString text() const;
    QString type() const;
    // With the types of what lists and maps hold.
    QString wholeType() const;

    // The same for a reader, secrets included. Of a secret in a snapshot, no more is known than whether
    // it is empty.
    bool isSameAs(const Value &other) const;

private:
    bool isFromSnapshot() const { return !m_raw; }

    tamsel::host::ShownValue m_shown;
    std::optional<QVariant> m_raw = QVariant(); // of a file: never shown
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

    // Whether the entry cannot be read by any name: QSettings skips empty parts of a full key.
    bool isLost() const;
};

// A setting, where its effective value comes from, and everything that readers do not see of it.
struct Setting
{
    SettingName name;
    std::optional<LayerValue> origin; // none: no reader gets a value
    QList<LayerValue> overridden; // highest layer first, unreadable entries last
};

#endif // SETTING_H

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import Tamsel

// One setting: what it is, where its value comes from, and the value. Left and right change it, OK opens
// its choices.
Card {
    id: row

    required property string title
    required property Setting setting
    // The choices, {value, label}; none for a number from 0 to 100.
    property var options: []
    readonly property bool isRange: options.length === 0
    // A layer above the user's is the origin.
    readonly property bool isLocked: Theme.isAbove(setting.origin, setting.layer)
    // The user's layer holds a value, overridden or not.
    readonly property bool isOwn: setting.origin === setting.layer || setting.overridden
    readonly property string valueText: isRange ? Theme.valueText(setting.value) + " %"
                                                : labelOf(setting.value)

    // What OK offers; nothing for a number that the viewer has not set.
    readonly property string offer: {
        if (isLocked)
            return isOwn ? "Details or reset" : "Details"
        if (isRange)
            return isOwn ? "Reset" : ""
        return isOwn ? "Choose or reset" : "Choose"
    }

    signal opened()

    function labelOf(value: var): string {
        const option = options.find(each => each.value === value)
        return option ? option.label : Theme.valueText(value)
    }

    function open() {
        if (offer !== "")
            opened()
    }

    function step(direction: int) {
        if (isLocked)
            return
        if (isRange) {
            const number = Number(setting.value)
            const start = isNaN(number) ? setting.defaultValue : number // a file may hold any text
            setting.value = Math.max(0, Math.min(100, start + 5 * direction))
            return
        }
        const index = options.findIndex(each => each.value === setting.value)
        const next = index < 0 ? 0 : (index + direction + options.length) % options.length
        setting.value = options[next].value
    }

    implicitHeight: 82
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)
    Keys.onReturnPressed: open()
    Keys.onEnterPressed: open()
    Keys.onSelectPressed: open()

    Column {
        anchors { left: parent.left; leftMargin: 28; verticalCenter: parent.verticalCenter }
        spacing: 4

        Text {
            text: row.title
            color: row.textColor
            font { pixelSize: Theme.label; weight: Font.DemiBold }
        }
        OriginLabel {
            origin: row.setting.origin
            text: Theme.originText(row.setting.origin)
            color: row.secondaryColor
        }
    }

    Row {
        anchors { right: parent.right; rightMargin: 28; verticalCenter: parent.verticalCenter }
        spacing: 22

        Rectangle {
            visible: row.isRange
            anchors.verticalCenter: parent.verticalCenter
            width: 220
            height: 10
            radius: 5
            color: row.isFocused ? "#5c89f0" : Theme.line

            Rectangle {
                // A file may hold any number, and any text.
                width: parent.width * Math.max(0, Math.min(1, Number(row.setting.value) / 100 || 0))
                height: parent.height
                radius: 5
                color: Theme.outline
            }
        }
        Text {
            visible: row.isFocused && !row.isLocked
            anchors.verticalCenter: parent.verticalCenter
            text: "\u25c0"
            color: row.secondaryColor
            font.pixelSize: Theme.small
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(420, Math.max(implicitWidth, row.isRange ? 90 : 150))
            horizontalAlignment: row.isFocused && !row.isLocked ? Text.AlignHCenter : Text.AlignRight
            text: row.valueText
            textFormat: Text.PlainText
            maximumLineCount: 1
            elide: Text.ElideRight
            color: row.textColor
            font { pixelSize: Theme.label; weight: Font.DemiBold }
        }
        Text {
            visible: row.isFocused && !row.isLocked
            anchors.verticalCenter: parent.verticalCenter
            text: "\u25b6"
            color: row.secondaryColor
            font.pixelSize: Theme.small
        }
        Rectangle {
            visible: row.isLocked
            anchors.verticalCenter: parent.verticalCenter
            width: lockText.implicitWidth + 28
            height: 36
            radius: 18
            color: "transparent"
            border { width: 2; color: row.secondaryColor }

            Text {
                id: lockText
                anchors.centerIn: parent
                text: "Fixed"
                color: row.secondaryColor
                font.pixelSize: Theme.small
            }
        }
    }
}

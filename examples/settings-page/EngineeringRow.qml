// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// One setting in the table for engineers.
Item {
    id: row

    required property string group
    required property string key
    required property var value
    required property string type
    required property int origin
    required property var overridden

    property bool isFocused: ListView.isCurrentItem && ListView.view.activeFocus

    implicitHeight: 46

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: row.isFocused ? Theme.cardFocused : "transparent"
        border { width: row.isFocused ? 3 : 0; color: Theme.outline }
    }
    Text {
        x: 16
        width: 350
        anchors.verticalCenter: parent.verticalCenter
        text: Theme.valueText(row.group + "/" + row.key)
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: Theme.text
        font { pixelSize: Theme.small; weight: Font.DemiBold }
    }
    Text {
        x: 376
        width: 220
        anchors.verticalCenter: parent.verticalCenter
        text: Theme.valueText(row.value)
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: Theme.text
        font.pixelSize: Theme.small
    }
    Text {
        x: 606
        width: 110
        anchors.verticalCenter: parent.verticalCenter
        text: row.type
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: row.isFocused ? Theme.secondaryFocused : Theme.secondary
        font.pixelSize: Theme.small
    }
    OriginLabel {
        x: 716
        anchors.verticalCenter: parent.verticalCenter
        origin: row.origin
        text: Theme.layerText(row.origin)
        color: Theme.text
    }
    Row {
        x: 972
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8

        Repeater {
            model: row.overridden
            delegate: Rectangle {
                required property int modelData

                width: 14
                height: 14
                radius: 7
                anchors.verticalCenter: parent ? parent.verticalCenter : undefined
                color: "transparent"
                border { width: 3; color: Theme.layerColor(modelData) }
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            visible: row.overridden.length === 1
            text: row.overridden.length ? Theme.layerText(row.overridden[0]) : ""
            color: row.isFocused ? Theme.secondaryFocused : Theme.secondary
            font.pixelSize: Theme.small
        }
    }
}

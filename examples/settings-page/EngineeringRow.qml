// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// One setting in the list for engineers: key and value, and below them where the value comes from, the
// overridden layers and the type.
Item {
    id: row

    required property string group
    required property string key
    required property var value
    required property string type
    required property int origin
    required property var overridden

    property bool isFocused: ListView.isCurrentItem && ListView.view.activeFocus
    readonly property color secondaryColor: isFocused ? Theme.secondaryFocused : Theme.secondary

    implicitHeight: 64

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: row.isFocused ? Theme.cardFocused : "transparent"
        border { width: row.isFocused ? 3 : 0; color: Theme.outline }
    }
    Rectangle {
        visible: !row.isFocused
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.line
    }
    Text {
        id: keyText
        x: 16
        y: 4
        width: 500
        text: Theme.valueText(row.group + "/" + row.key)
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: Theme.text
        font { pixelSize: Theme.small + 2; weight: Font.DemiBold }
    }
    Text {
        anchors { right: parent.right; rightMargin: 16; baseline: keyText.baseline }
        width: 560
        horizontalAlignment: Text.AlignRight
        text: Theme.valueText(row.value)
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: Theme.text
        font { pixelSize: Theme.small + 2; weight: Font.DemiBold }
    }
    OriginLabel {
        anchors { left: keyText.left; top: keyText.bottom }
        origin: row.origin
        text: Theme.layerText(row.origin)
        color: row.secondaryColor
    }
    Text {
        anchors { left: keyText.left; leftMargin: 300; top: keyText.bottom }
        anchors { right: typeText.left; rightMargin: 24 }
        // The number tells how many there are if not all fit.
        text: row.overridden.length === 0 ? "" : "Overridden"
              + (row.overridden.length > 1 ? " (" + row.overridden.length + ")" : "") + ": "
              + row.overridden.map(layer => Theme.layerText(layer)).join(", ")
        elide: Text.ElideRight
        color: row.secondaryColor
        font.pixelSize: Theme.small
    }
    Text {
        id: typeText
        anchors { right: parent.right; rightMargin: 16; top: keyText.bottom }
        width: Math.min(implicitWidth, 240)
        elide: Text.ElideRight
        text: row.type
        textFormat: Text.PlainText
        color: row.secondaryColor
        font.pixelSize: Theme.small
    }
}

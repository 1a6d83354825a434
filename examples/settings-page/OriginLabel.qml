// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// Where a value comes from: a coloured dot and a text.
Row {
    id: label

    required property int origin
    required property string text
    property color color: Theme.secondary

    spacing: 10

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: 14
        height: 14
        radius: 7
        color: Theme.layerColor(label.origin)
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        text: label.text
        color: label.color
        font.pixelSize: Theme.small
    }
}

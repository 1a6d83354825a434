// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// A choice in the sheet of a setting.
Card {
    id: choice

    required property string label
    property bool isChosen: false

    implicitHeight: 60

    Text {
        anchors { left: parent.left; leftMargin: 24; verticalCenter: parent.verticalCenter }
        text: choice.label
        color: choice.textColor
        font { pixelSize: Theme.label - 2; weight: choice.isChosen ? Font.DemiBold : Font.Normal }
    }
    Text {
        visible: choice.isChosen
        anchors { right: parent.right; rightMargin: 24; verticalCenter: parent.verticalCenter }
        text: "\u2713"
        color: choice.textColor
        font.pixelSize: Theme.label
    }
}

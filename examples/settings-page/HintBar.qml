// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// What the keys of the remote control do here.
Row {
    id: bar

    required property var hints // {key, text}; without a text it is not shown

    spacing: 36

    Repeater {
        model: bar.hints
        delegate: Row {
            id: hint

            required property var modelData

            visible: modelData.text !== ""
            spacing: 12

            Rectangle {
                width: Math.max(44, keyText.implicitWidth + 24)
                height: 36
                radius: 8
                color: "#22304f"

                Text {
                    id: keyText
                    anchors.centerIn: parent
                    text: hint.modelData.key
                    color: Theme.text
                    font { pixelSize: 20; weight: Font.DemiBold }
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: hint.modelData.text
                color: Theme.secondary
                font.pixelSize: Theme.small
            }
        }
    }
}

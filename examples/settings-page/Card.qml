// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// An item that can have the focus, and shows it.
FocusScope {
    id: card

    property bool isFocused: activeFocus
    readonly property color textColor: Theme.text
    readonly property color secondaryColor: isFocused ? Theme.secondaryFocused : Theme.secondary

    Rectangle {
        anchors.fill: parent
        radius: 14
        color: card.isFocused ? Theme.cardFocused : Theme.card
        border.width: card.isFocused ? 4 : 0
        border.color: Theme.outline
    }
}

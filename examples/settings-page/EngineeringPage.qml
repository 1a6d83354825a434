// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import Tamsel

// Everything that is set, for those who look after the box.
FocusScope {
    id: page

    property int chosen: 0
    property string typed: ""
    readonly property var filters: [
        {label: "All", filter: ""},
        {label: "Picture and sound", filter: "Service/*"},
        {label: "Network", filter: "network/*"},
        {label: "Features", filter: "features/*"},
        {label: "Interface", filter: "ui/*"},
    ]

    signal exited()

    // A keyboard, or the letters of a remote control, narrow it down.
    function type(event: var) {
        if (event.key === Qt.Key_Backspace)
            typed = typed.slice(0, -1)
        else if (/^[\w*?\/.]$/.test(event.text))
            typed += event.text
        else
            return
        event.accepted = true
    }

    // The next filter; a search ends.
    function step(direction: int) {
        typed = ""
        chosen = Math.max(0, Math.min(filters.length - 1, chosen + direction))
    }

    Keys.onEscapePressed: exited()
    Keys.onBackPressed: exited()
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)
    Keys.onPressed: event => type(event)

    SettingsModel {
        id: settings
        filter: page.typed !== "" ? page.typed : page.filters[page.chosen].filter
        // An empty table has no row that could show the focus, not even when this page is shown again.
        onCountChanged: {
            if (count === 0 && table.focus)
                filterList.focus = true
        }
    }

    Text {
        x: Theme.marginX
        y: Theme.marginY
        text: "Engineering"
        color: Theme.text
        font { pixelSize: Theme.title; weight: Font.Bold }
    }
    Text {
        anchors { right: parent.right; rightMargin: Theme.marginX }
        y: 50
        text: (page.typed !== "" ? "\u201c" + page.typed + "\u201d: " : "")
              + settings.count + (settings.count === 1 ? " setting" : " settings")
        textFormat: Text.PlainText
        color: Theme.secondary
        font.pixelSize: Theme.label - 2
    }

    ListView {
        id: filterList
        objectName: "filters"
        x: Theme.marginX
        y: 100
        width: parent.width - 2 * x
        height: 54
        orientation: ListView.Horizontal
        spacing: 12
        opacity: page.typed === "" || activeFocus ? 1 : 0.5
        focus: true
        model: page.filters
        keyNavigationEnabled: false // the page's keys do it, whatever has the focus
        currentIndex: page.chosen
        KeyNavigation.down: settings.count > 0 ? table : null
        delegate: Card {
            id: chip

            required property var modelData
            readonly property bool isCurrent: ListView.isCurrentItem

            width: chipText.implicitWidth + 48
            height: 54
            isFocused: ListView.isCurrentItem && ListView.view.activeFocus

            Text {
                id: chipText
                anchors.centerIn: parent
                text: chip.modelData.label
                color: chip.textColor
                font { pixelSize: Theme.small; weight: chip.isCurrent ? Font.Bold : Font.Normal }
            }
            Rectangle {
                visible: chip.isCurrent && !chip.isFocused
                anchors { bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; bottomMargin: 4 }
                width: parent.width - 40
                height: 4
                radius: 2
                color: Theme.cardFocused
            }
        }
    }

    ListView {
        id: table
        objectName: "table"
        x: Theme.marginX
        y: 172
        width: parent.width - 2 * x - (bar.visible ? 20 : 0)
        height: 7 * 64
        clip: true
        model: settings
        KeyNavigation.up: filterList
        highlightMoveDuration: 0
        delegate: EngineeringRow {
            width: ListView.view.width
        }
    }

    Text {
        visible: settings.count === 0
        anchors.centerIn: table
        text: "No setting matches"
        color: Theme.secondary
        font.pixelSize: Theme.label
    }

    Rectangle {
        id: bar
        objectName: "bar"
        visible: table.contentHeight > table.height
        anchors { right: parent.right; rightMargin: Theme.marginX }
        y: table.y + table.height * table.visibleArea.yPosition
        width: 6
        height: table.height * table.visibleArea.heightRatio
        radius: 3
        color: Theme.secondary
    }

    HintBar {
        anchors { left: parent.left; leftMargin: Theme.marginX; bottom: parent.bottom }
        anchors.bottomMargin: Theme.marginY
        hints: [{key: "\u25c0 \u25b6", text: "Filter"}, {key: "\u25b2 \u25bc", text: "Move"},
                {key: "a\u2013z", text: "Search"}, {key: "Back", text: "Settings"}]
    }
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick

// The choices of one row, and a way back to what the box came with. It covers the page from the right.
FocusScope {
    id: sheet

    property SettingRow row: null
    readonly property var choices: {
        if (!row)
            return []
        const value = row.setting.value
        const all = row.isLocked ? [] : row.options.map(
            each => ({label: each.label, value: each.value, chosen: each.value === value}))
        if (row.isOwn)
            all.push({label: "Reset", reset: true})
        all.push({label: "Close", close: true})
        return all
    }

    signal closed()

    function open(settingRow: SettingRow) {
        row = settingRow
        visible = true
        const chosen = choices.findIndex(each => each.chosen)
        list.currentIndex = Math.max(0, chosen)
        list.forceActiveFocus()
    }
    function close() {
        visible = false
        closed()
    }
    function take(choice: var) {
        if (choice.reset)
            row.setting.reset()
        else if (!choice.close)
            row.setting.value = choice.value
        close()
    }

    visible: false
    Keys.onEscapePressed: close()
    Keys.onBackPressed: close()

    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: 0.6
    }
    Rectangle {
        anchors { top: parent.top; bottom: parent.bottom; right: parent.right }
        width: 400 + 40 + Theme.marginX
        color: "#121b30"

        Column {
            anchors {
                fill: parent
                leftMargin: 40
                rightMargin: Theme.marginX
                topMargin: Theme.marginY
                bottomMargin: Theme.marginY
            }
            spacing: 14

            Text {
                text: sheet.row ? sheet.row.title : ""
                color: Theme.text
                font { pixelSize: Theme.title - 6; weight: Font.Bold }
            }
            OriginLabel {
                origin: sheet.row ? sheet.row.setting.origin : -1
                text: sheet.row ? Theme.originText(sheet.row.setting.origin) : ""
            }
            Text {
                visible: sheet.row !== null && sheet.row.isLocked
                width: parent.width
                text: "This value is fixed."
                      + (sheet.row && sheet.row.isOwn ? " Your own choice is kept, but it is not used." : "")
                wrapMode: Text.WordWrap
                color: Theme.secondary
                font.pixelSize: Theme.small
            }
            Item { width: 1; height: 6 }
            ListView {
                id: list
                width: parent.width
                height: 7 * 60 + 6 * spacing // a setting's five choices, Reset and Close
                spacing: 10
                focus: true
                model: sheet.choices
                Keys.onReturnPressed: sheet.take(sheet.choices[currentIndex])
                Keys.onEnterPressed: sheet.take(sheet.choices[currentIndex])
                Keys.onSelectPressed: sheet.take(sheet.choices[currentIndex])
                delegate: ChoiceRow {
                    required property var modelData

                    width: ListView.view.width
                    label: modelData.label
                    isFocused: ListView.isCurrentItem && ListView.view.activeFocus
                    isChosen: modelData.chosen === true
                }
            }
        }
    }
}

// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import Tamsel

// What viewers set themselves.
FocusScope {
    id: page

    signal engineeringWanted()
    signal exited()

    readonly property var languages: [
        {value: "en", label: "English"},
        {value: "de", label: "Deutsch"},
        {value: "fr", label: "Français"},
        {value: "tr", label: "Türkçe"},
    ]

    readonly property var subtitleLanguages: [
        {value: "off", label: "Off"},
        {value: "en", label: "English"},
        {value: "de", label: "Deutsch"},
        {value: "fr", label: "Français"},
        {value: "tr", label: "Türkçe"},
    ]

    // The row that the hints are for.
    readonly property SettingRow currentRow: {
        if (sheet.visible)
            return sheet.row
        for (const row of [languageRow, volumeRow, audioRow, subtitlesRow, themeRow]) {
            if (row.activeFocus)
                return row
        }
        return null
    }

    Keys.onEscapePressed: exited()
    Keys.onBackPressed: exited()

    Setting {
        id: language
        group: "ui"; key: "lang"; defaultValue: "en"; layer: Tamsel.CustomConfPersistent
    }
    Setting {
        id: volume
        group: "player"; key: "volume"; defaultValue: 40; layer: Tamsel.CustomConfPersistent
    }
    Setting {
        id: audio
        group: "Service"; key: "audio"; defaultValue: "en"; layer: Tamsel.CustomConfPersistent
    }
    Setting {
        id: subtitles
        group: "Service"; key: "subs"; defaultValue: "off"; layer: Tamsel.CustomConfPersistent
    }
    Setting {
        id: theme
        group: "ui"; key: "theme"; defaultValue: "light"; layer: Tamsel.CustomConfPersistent
    }

    Text {
        x: Theme.marginX
        y: Theme.marginY
        text: "Settings"
        color: Theme.text
        font { pixelSize: Theme.title; weight: Font.Bold }
    }

    Column {
        id: rows
        anchors { left: parent.left; right: parent.right; margins: Theme.marginX }
        y: 100
        spacing: 10

        SettingRow {
            id: languageRow
            objectName: "language"
            width: rows.width
            title: "Language"
            setting: language
            options: page.languages
            focus: true
            KeyNavigation.down: volumeRow
            onOpened: sheet.open(languageRow)
        }
        SettingRow {
            id: volumeRow
            objectName: "volume"
            width: rows.width
            title: "Volume at start"
            setting: volume
            KeyNavigation.down: audioRow
            onOpened: sheet.open(volumeRow)
        }
        SettingRow {
            id: audioRow
            objectName: "audio"
            width: rows.width
            title: "Audio language"
            setting: audio
            options: page.languages
            KeyNavigation.down: subtitlesRow
            onOpened: sheet.open(audioRow)
        }
        SettingRow {
            id: subtitlesRow
            objectName: "subtitles"
            width: rows.width
            title: "Subtitles"
            setting: subtitles
            options: page.subtitleLanguages
            KeyNavigation.down: themeRow
            onOpened: sheet.open(subtitlesRow)
        }
        SettingRow {
            id: themeRow
            objectName: "theme"
            width: rows.width
            title: "Appearance"
            setting: theme
            options: [{value: "light", label: "Light"}, {value: "dark", label: "Dark"},
                      {value: "operator", label: "Your operator's"}]
            KeyNavigation.down: engineeringRow
            onOpened: sheet.open(themeRow)
        }
        Card {
            id: engineeringRow
            objectName: "engineering"
            width: rows.width
            height: 60
            Keys.onReturnPressed: page.engineeringWanted()
            Keys.onEnterPressed: page.engineeringWanted()
            Keys.onSelectPressed: page.engineeringWanted()

            Text {
                anchors { left: parent.left; leftMargin: 28; verticalCenter: parent.verticalCenter }
                text: "For engineers"
                color: engineeringRow.textColor
                font.pixelSize: Theme.label - 2
            }
            Text {
                anchors { right: parent.right; rightMargin: 28; verticalCenter: parent.verticalCenter }
                text: "\u203a"
                color: engineeringRow.secondaryColor
                font.pixelSize: Theme.title - 4
            }
        }
    }

    HintBar {
        anchors { left: parent.left; leftMargin: Theme.marginX; bottom: parent.bottom }
        anchors.bottomMargin: Theme.marginY
        hints: [{key: "\u25b2 \u25bc", text: "Move"},
                {key: "\u25c0 \u25b6", text: page.currentRow && !page.currentRow.isLocked ? "Change" : ""},
                {key: "OK", text: page.currentRow ? page.currentRow.offer : "Open"},
                {key: "Back", text: "Leave"}]
    }

    ChoiceSheet {
        id: sheet
        objectName: "sheet"
        anchors.fill: parent
        onClosed: row.forceActiveFocus()
    }
}

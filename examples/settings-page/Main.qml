// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import QtQuick.Controls.Basic

// A page of settings for a television: arrow keys, OK and Back; nothing needs a mouse.
Window {
    id: window

    width: 1280
    height: 720
    visible: true
    color: Theme.background
    title: "Settings"

    StackView {
        id: pages
        objectName: "pages"
        anchors.fill: parent
        focus: true
        initialItem: userPage
        // Pages change without an animation: boxes are slow.
        pushEnter: null
        pushExit: null
        popEnter: null
        popExit: null
    }

    UserPage {
        id: userPage
        objectName: "user"
        onEngineeringWanted: {
            pages.push(engineeringPage)
            engineeringPage.forceActiveFocus()
        }
        onExited: window.close()
    }
    EngineeringPage {
        id: engineeringPage
        objectName: "engineers"
        visible: false
        onExited: {
            pages.pop()
            userPage.forceActiveFocus()
        }
    }
}

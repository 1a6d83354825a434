// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

pragma Singleton

import QtQuick
import Tamsel

// Colours, sizes and words that every part of the page shares.
QtObject {
    readonly property color background: "#0a1120"
    readonly property color card: "#1a2745"
    readonly property color cardFocused: "#2f66e8"
    readonly property color line: "#2a3957"
    readonly property color outline: "#ffffff"
    readonly property color text: "#f4f7fd"
    readonly property color secondary: "#a9b8d6"
    readonly property color secondaryFocused: "#dbe6ff"

    // What a television may cut off: a twentieth of each side.
    readonly property int marginX: 64
    readonly property int marginY: 36

    readonly property int title: 44
    readonly property int label: 28
    readonly property int small: 22

    // What a viewer calls the origin of a value.
    function originText(origin: int): string {
        switch (origin) {
        case Tamsel.CommandLineArgs: return "Chosen at start-up"
        case Tamsel.CustomConfPersistent: return "Your choice"
        case Tamsel.Rdm: return "Set by your operator"
        case Tamsel.RavonaConfDefault: return "Factory setting"
        case Tamsel.SystemProperties: return "Set by the system"
        case Tamsel.Runtime: return "Until the box restarts"
        case Tamsel.SelviDb: return "From your profile"
        case Tamsel.FeatureKeys: return "Part of your subscription"
        }
        return "Built-in default"
    }

    // What an engineer calls a layer.
    function layerText(layer: int): string {
        switch (layer) {
        case Tamsel.CommandLineArgs: return "CommandLineArgs"
        case Tamsel.CustomConfPersistent: return "CustomConfPersistent"
        case Tamsel.Rdm: return "Rdm"
        case Tamsel.RavonaConfDefault: return "RavonaConfDefault"
        case Tamsel.SystemProperties: return "SystemProperties"
        case Tamsel.Runtime: return "Runtime"
        case Tamsel.SelviDb: return "SelviDb"
        case Tamsel.FeatureKeys: return "FeatureKeys"
        }
        return ""
    }

    // A stored value on a single line: maps and lists as JSON, bytes that are no printable ASCII as "\xff".
    function valueText(value: var): string {
        if (value === undefined || value === null)
            return ""
        if (value instanceof ArrayBuffer)
            return bytesText(value)
        const plain = String(value)
        // A list of texts is no Array of JavaScript's.
        const isList = typeof value === "object" && value.length !== undefined
        if (isList || plain.startsWith("[object ")) {
            return JSON.stringify(isList ? Array.from(value) : value,
                                  (key, part) => part instanceof ArrayBuffer ? bytesText(part) : part)
        }
        return plain.replace(/[\x00-\x1f\x7f-\x9f\u2028\u2029]/g, character => escapes[character]
            ?? "\\u" + character.charCodeAt(0).toString(16).padStart(4, "0"))
    }
    readonly property var escapes: ({"\n": "\\n", "\r": "\\r", "\t": "\\t"})

    function bytesText(bytes: var): string {
        return Array.from(new Uint8Array(bytes), code => {
            if (code === 0x5c)
                return "\\\\"
            return code >= 0x20 && code <= 0x7e ? String.fromCharCode(code)
                                                : "\\x" + code.toString(16).padStart(2, "0")
        }).join("")
    }

    function layerColor(layer: int): color {
        switch (layer) {
        case Tamsel.CommandLineArgs: return "#f7c948"
        case Tamsel.CustomConfPersistent: return "#5ce0a0"
        case Tamsel.Rdm: return "#ff8f6b"
        case Tamsel.RavonaConfDefault: return "#9aa9c7"
        case Tamsel.SystemProperties: return "#c59bff"
        case Tamsel.Runtime: return "#ff6f9c"
        case Tamsel.SelviDb: return "#56c8f5"
        case Tamsel.FeatureKeys: return "#d8e26a"
        }
        return "#6b7a99"
    }

    readonly property var precedence: [Tamsel.Runtime, Tamsel.Rdm, Tamsel.FeatureKeys,
        Tamsel.SystemProperties, Tamsel.CommandLineArgs, Tamsel.CustomConfPersistent, Tamsel.SelviDb,
        Tamsel.RavonaConfDefault]

    // Whether `origin` is a layer above `layer`; false if it is -1, no layer.
    function isAbove(origin: int, layer: int): bool {
        return origin >= 0 && precedence.indexOf(origin) < precedence.indexOf(layer)
    }
}

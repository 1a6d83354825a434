// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import QtTest
import Tamsel
import TestBox

TestCase {
    id: testCase
    name: "SettingsModel"

    Component {
        id: modelComponent
        SettingsModel { }
    }
    Component {
        id: spyComponent
        SignalSpy { }
    }
    Component {
        id: viewComponent
        ListView {
            width: 100
            height: 1000
            delegate: Text {
                required property string group
                required property string key
                required property var value
                required property string type
                required property int origin
                required property var overridden
                readonly property string row: [group + "/" + key, value, type, origin,
                                               overridden.join("+")].join(" ")

                height: 10
                text: row
            }
        }
    }

    function init() {
        Box.empty()
        failOnWarning(/.?/)
    }

    function modelOf(properties) {
        return createTemporaryObject(modelComponent, testCase, properties ?? {})
    }
    function spyOn(target, signalName) {
        return createTemporaryObject(spyComponent, testCase, {target: target, signalName: signalName})
    }
    function shown(view) {
        view.forceLayout()
        const texts = []
        for (let i = 0; i < view.count; ++i)
            texts.push(view.itemAtIndex(i).row)
        return texts
    }
    // What a view of the model shows.
    function rows(model) {
        const view = createTemporaryObject(viewComponent, testCase, {model: model})
        const texts = shown(view)
        view.destroy()
        return texts
    }
    function keys(model) {
        return rows(model).map(row => row.split(" ")[0])
    }

    function test_roles() {
        Box.write(Tamsel.Runtime, "ui", "lang", "en")
        Box.write(Tamsel.SelviDb, "player", "volume", 7)
        Box.init(Tamsel.Rdm, {ui: {lang: "fr"}, network: {timeout: 20}})
        Box.write(Tamsel.SelviDb, "ui", "lang", "de")
        compare(rows(modelOf()), [
            "network/timeout 20 int " + Tamsel.Rdm + " ",
            "player/volume 7 int " + Tamsel.SelviDb + " ",
            "ui/lang en QString " + Tamsel.Runtime + " " + Tamsel.Rdm + "+" + Tamsel.SelviDb,
        ])
    }

    function test_isLive() {
        Box.write(Tamsel.Runtime, "b", "b", 1)
        const model = modelOf()
        const counts = spyOn(model, "countChanged")
        Box.write(Tamsel.Runtime, "c", "c", 1)
        Box.write(Tamsel.Runtime, "a", "a", 1)
        compare(keys(model), ["a/a", "b/b", "c/c"])
        Box.remove(Tamsel.Runtime, "b", "b")
        compare(keys(model), ["a/a", "c/c"])
        compare(model.count, 2)
        compare(counts.count, 3)
        Box.clear(Tamsel.Runtime)
        compare(model.count, 0)
    }

    function test_layersComeAndGo() {
        const rdm = Tamsel.Rdm
        const runtime = Tamsel.Runtime
        Box.clear(rdm)
        Box.write(runtime, "ui", "lang", "en")
        const model = modelOf()
        const view = createTemporaryObject(viewComponent, testCase, {model: model})
        const resets = spyOn(model, "modelReset")
        compare(shown(view), [`ui/lang en QString ${runtime} `])
        Box.init(rdm, {ui: {lang: "fr", theme: "dark"}, network: {timeout: 20}})
        compare(shown(view), [`network/timeout 20 int ${rdm} `,
                              `ui/lang en QString ${runtime} `, // not notified
                              `ui/theme dark QString ${rdm} `])
        Box.init(rdm, {ui: {lang: "de", theme: "light", zoom: 2}})
        compare(shown(view), [`ui/lang en QString ${runtime} ${rdm}`, // with others it is
                              `ui/theme light QString ${rdm} `,
                              `ui/zoom 2 int ${rdm} `])
        Box.clear(runtime)
        compare(shown(view), [`ui/lang de QString ${rdm} `,
                              `ui/theme light QString ${rdm} `,
                              `ui/zoom 2 int ${rdm} `])
        Box.clear(rdm)
        compare(shown(view), [])
        compare(resets.count, 0)
    }

    function test_filter_data() {
        return [
            {tag: "all", filter: "", keys: ["network/server", "ui/lang", "ui/longest", "ui/theme"]},
            {tag: "group", filter: "ui/*", keys: ["ui/lang", "ui/longest", "ui/theme"]},
            {tag: "wildcards", filter: "UI/L??G", keys: ["ui/lang"]},
            {tag: "text", filter: "er", keys: ["network/server"]},
            {tag: "none", filter: "none", keys: []},
        ]
    }
    function test_filter(row) {
        Box.init(Tamsel.Rdm, {ui: {lang: "fr", longest: 1, theme: "x"}, network: {server: "north"}})
        compare(keys(modelOf({filter: row.filter})), row.keys)
        const model = modelOf()
        model.filter = "theme"
        compare(keys(model), ["ui/theme"])
        model.filter = row.filter
        compare(keys(model), row.keys)
        Box.write(Tamsel.Runtime, "ui", "lang", "de")
        Box.write(Tamsel.Runtime, "a", "a", "de")
        compare(keys(model), row.filter === "" ? ["a/a"].concat(row.keys) : row.keys)
    }

    function test_secretsAreRedacted() {
        Box.write(Tamsel.Runtime, "parental", "pin", "4711")
        Box.write(Tamsel.Runtime, "vpn", "secret", "")
        Box.write(Tamsel.Runtime, "wifi", "password", "hunter2")
        compare(rows(modelOf()), ["parental/pin (redacted) QString " + Tamsel.Runtime + " ",
                                  "vpn/secret (redacted, empty) QString " + Tamsel.Runtime + " ",
                                  "wifi/password (redacted) QString " + Tamsel.Runtime + " "])
    }

    function test_aCoveredWriteOfASettingIsSeen() {
        Box.write(Tamsel.Runtime, "ui", "lang", "en")
        const model = modelOf()
        const setting = createTemporaryQmlObject(
            "import Tamsel; Setting { group: 'ui'; key: 'lang'; layer: Tamsel.SelviDb }", testCase)
        const view = createTemporaryObject(viewComponent, testCase, {model: model})
        setting.value = "de"
        compare(view.itemAtIndex(0).overridden, [Tamsel.SelviDb])
    }
}

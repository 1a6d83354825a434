// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

import QtQuick
import QtTest
import Tamsel
import TestBox

TestCase {
    id: testCase
    name: "Setting"

    Component {
        id: volumeComponent
        Setting { group: "player"; key: "volume"; defaultValue: 5 }
    }
    Component {
        id: settingComponent
        Setting { }
    }
    Component {
        id: languagesComponent
        Setting { group: "ui"; key: "languages"; defaultValue: [] }
    }
    Component {
        id: spyComponent
        SignalSpy { }
    }
    Component {
        id: boundComponent
        Setting {
            property int wanted: 7
            group: "player"; key: "volume"; defaultValue: 5; value: wanted
        }
    }

    function init() {
        Box.empty()
        failOnWarning(/.?/)
    }

    function volume(properties) {
        return createTemporaryObject(volumeComponent, testCase, properties ?? {})
    }
    function spyOn(target, signalName) {
        return createTemporaryObject(spyComponent, testCase, {target: target, signalName: signalName})
    }

    function test_layersHaveTheNumbersOfTheCore_data() {
        return ["CommandLineArgs", "CustomConfPersistent", "Rdm", "RavonaConfDefault",
                "SystemProperties", "Runtime", "SelviDb", "FeatureKeys"].map(name => ({tag: name}))
    }
    function test_layersHaveTheNumbersOfTheCore(row) {
        verify(Box.layer(row.tag) >= 0)
        compare(Tamsel[row.tag], Box.layer(row.tag))
    }

    function test_defaultWhereNoLayerHoldsIt() {
        const setting = volume()
        compare(setting.value, 5)
        compare(setting.origin, -1)
        compare(setting.layer, Tamsel.Runtime)
        compare(setting.overridden, false)
        compare(setting.writable, true)
        setting.defaultValue = 6
        compare(setting.value, 6)
    }

    function test_readsTheEffectiveValueAndItsOrigin() {
        Box.write(Tamsel.SelviDb, "player", "volume", 7)
        const setting = volume()
        compare(setting.value, 7)
        compare(setting.origin, Tamsel.SelviDb)
        Box.write(Tamsel.SystemProperties, "player", "volume", 8)
        compare(setting.value, 8)
        compare(setting.origin, Tamsel.SystemProperties)
        Box.remove(Tamsel.SystemProperties, "player", "volume")
        Box.remove(Tamsel.SelviDb, "player", "volume")
        compare(setting.value, 5)
        compare(setting.origin, -1)
    }

    function test_aNewOriginWithAnEqualValueIsSeen() {
        Box.write(Tamsel.SelviDb, "player", "volume", 7)
        const setting = volume()
        const values = spyOn(setting, "valueChanged")
        const origins = spyOn(setting, "originChanged")
        Box.write(Tamsel.Runtime, "player", "volume", 7)
        compare(setting.origin, Tamsel.Runtime)
        compare(origins.count, 1)
        compare(values.count, 0)
    }

    function test_valueHasTheTypeOfTheDefault_data() {
        return [
            {tag: "text to number", stored: "12", defaultValue: 5, value: 12},
            {tag: "number to text", stored: 12, defaultValue: "", value: "12"},
            {tag: "text to bool", stored: "true", defaultValue: false, value: true},
            {tag: "text that is no number", stored: "loud", defaultValue: 5, value: "loud"},
            {tag: "no default", stored: "12", defaultValue: undefined, value: "12"},
        ]
    }
    function test_valueHasTheTypeOfTheDefault(row) {
        Box.write(Tamsel.Runtime, "player", "volume", row.stored)
        const setting = volume({defaultValue: row.defaultValue})
        compare(setting.value, row.value)
        compare(typeof setting.value, typeof row.value)
    }

    function test_aWriteGoesToTheLayer() {
        const setting = volume({layer: Tamsel.CustomConfPersistent})
        const spy = spyOn(setting, "valueChanged")
        setting.value = 9
        compare(setting.value, 9)
        compare(setting.origin, Tamsel.CustomConfPersistent)
        compare(spy.count, 1)
        verify(!Box.holds(Tamsel.Runtime, "player", "volume"))
        setting.value = 9
        compare(spy.count, 1)
    }

    function test_aWriteHasTheTypeOfTheDefault() {
        const setting = volume()
        setting.value = 7.0
        compare(Box.typeOf("player", "volume"), "int")
        setting.value = "8"
        compare(Box.typeOf("player", "volume"), "int")
        compare(setting.value, 8)
    }

    function test_listsAreStored() {
        const setting = createTemporaryObject(settingComponent, testCase,
                                              {group: "ui", key: "languages", defaultValue: []})
        setting.value = ["de", "fr"]
        compare(setting.value, ["de", "fr"])
        compare(Box.value("ui", "languages"), ["de", "fr"])
    }

    function test_aListMayBeTheDefault() {
        const setting = createTemporaryObject(languagesComponent, testCase)
        const changes = spyOn(setting, "valueChanged")
        setting.value = ["de"]
        compare(changes.count, 1)
        setting.reset()
        compare(setting.value, [])
        compare(changes.count, 2)
        setting.reset()
        compare(changes.count, 2)
    }

    function test_undefinedAndResetRemove() {
        const setting = volume()
        setting.value = 9
        setting.value = undefined
        compare(setting.value, 5)
        verify(!Box.holds(Tamsel.Runtime, "player", "volume"))
        setting.value = 9
        setting.reset()
        compare(setting.value, 5)
        setting.reset()
        compare(setting.value, 5)
    }

    function test_twoObjectsFollowEachOther() {
        const one = volume()
        const other = volume({defaultValue: 6})
        const spy = spyOn(other, "valueChanged")
        one.value = 9
        compare(other.value, 9)
        other.value = 10
        compare(one.value, 10)
        compare(spy.count, 2)
        one.reset()
        compare(one.value, 5)
        compare(other.value, 6)
    }

    function test_overridden() {
        const setting = volume({layer: Tamsel.CustomConfPersistent})
        const other = volume({layer: Tamsel.CustomConfPersistent})
        const spy = spyOn(setting, "overriddenChanged")
        setting.value = 9
        compare(setting.overridden, false)
        Box.write(Tamsel.Runtime, "player", "volume", 3)
        compare(setting.overridden, true)
        compare(setting.value, 3)
        compare(spy.count, 1)
        setting.reset() // nothing is notified: no effective value changes
        compare(setting.overridden, false)
        compare(other.overridden, false)
        setting.value = 10
        compare(setting.overridden, true)
        compare(other.overridden, true)
        compare(setting.value, 3)
    }

    function test_writable_data() {
        return [
            {tag: "Runtime", writable: true},
            {tag: "SystemProperties", writable: true},
            {tag: "CommandLineArgs", writable: false},
            {tag: "Rdm", writable: false},
            {tag: "FeatureKeys", writable: false},
            {tag: "CustomConfPersistent", writable: true},
            {tag: "SelviDb", writable: true},
            {tag: "RavonaConfDefault", writable: true},
        ]
    }
    function test_writable(row) {
        compare(volume({layer: Tamsel[row.tag]}).writable, row.writable)
        Box.clear(Tamsel[row.tag])
        compare(volume({layer: Tamsel[row.tag]}).writable, false)
    }

    function test_aRefusedWriteLeavesTheValueAndWarnsOnce_data() {
        return [
            {tag: "read-only", layer: Tamsel.Rdm, holds: true, reason: "Rdm: the layer is read-only"},
            {tag: "read-only, absent", layer: Tamsel.FeatureKeys, holds: false,
             reason: "FeatureKeys: the layer is read-only"},
            {tag: "missing", layer: Tamsel.Runtime, clear: true, holds: false,
             reason: "Runtime: the layer does not exist or has no readable file"},
            {tag: "no layer", layer: 99, holds: false,
             reason: "99: the layer does not exist or has no readable file"},
        ]
    }
    function test_aRefusedWriteLeavesTheValueAndWarnsOnce(row) {
        if (row.holds)
            Box.init(row.layer, {player: {volume: 7}})
        if (row.clear)
            Box.clear(row.layer)
        const setting = volume({layer: row.layer})
        const spy = spyOn(setting, "valueChanged")
        compare(setting.writable, false)
        ignoreWarning(new RegExp("cannot change player/volume in " + row.reason + "$"))
        setting.value = 9
        setting.value = 10
        if (row.holds)
            setting.reset()
        compare(setting.value, row.holds ? 7 : 5)
        compare(spy.count, 0)
        setting.layer = Tamsel.SystemProperties
        compare(setting.writable, true)
        // What it addresses now has not been refused yet.
        setting.layer = row.layer
        ignoreWarning(new RegExp("cannot change player/volume in " + row.reason + "$"))
        setting.value = 9
        setting.key = "balance"
        ignoreWarning(new RegExp("cannot change player/balance in " + row.reason + "$"))
        setting.value = 9
    }

    function test_aFileThatTakesNoWritesRefuses() {
        const refusal = /player\/volume in CustomConfPersistent: the layer refused it$/
        const setting = volume({layer: Tamsel.CustomConfPersistent})
        setting.value = 7
        tryVerify(() => Box.hasFile(Tamsel.CustomConfPersistent))
        Box.blockFile(Tamsel.CustomConfPersistent)
        ignoreWarning(refusal)
        setting.value = 8
        setting.reset()
        compare(setting.value, 7)
        compare(setting.origin, Tamsel.CustomConfPersistent)
        compare(setting.writable, true)
        // A write that succeeds is the end of it: the next refusal is a warning again.
        Box.unblockFile(Tamsel.CustomConfPersistent)
        setting.value = 9
        compare(setting.value, 9)
        tryVerify(() => Box.hasFile(Tamsel.CustomConfPersistent))
        Box.blockFile(Tamsel.CustomConfPersistent)
        ignoreWarning(refusal)
        setting.reset()
        compare(setting.value, 9)
    }

    function test_nullIsRefused() {
        const setting = volume()
        setting.value = 9
        ignoreWarning(/player\/volume in Runtime: null is no value; undefined resets$/)
        setting.value = null
        compare(setting.value, 9)
    }

    function test_withoutKey() {
        const setting = createTemporaryObject(settingComponent, testCase, {defaultValue: 1})
        compare(setting.value, 1)
        ignoreWarning(/it has no key$/)
        setting.value = 2
        compare(setting.value, 1)
        setting.group = "player"
        setting.key = "volume"
        setting.value = 3
        compare(setting.value, 3)
    }

    function test_anotherKeyIsFollowed() {
        Box.write(Tamsel.Runtime, "player", "volume", 7)
        Box.write(Tamsel.Rdm, "player", "balance", 1)
        Box.write(Tamsel.Runtime, "radio", "volume", 3)
        const setting = volume()
        setting.group = "radio"
        compare(setting.value, 3)
        setting.key = "balance"
        compare(setting.value, 5)
        const spy = spyOn(setting, "valueChanged")
        Box.write(Tamsel.Runtime, "radio", "volume", 4)
        Box.write(Tamsel.Runtime, "player", "volume", 4)
        compare(spy.count, 0)
        Box.write(Tamsel.Runtime, "radio", "balance", 4)
        compare(setting.value, 4)
    }

    function test_aGroupIsFollowedAgain() {
        const other = createTemporaryObject(settingComponent, testCase, {group: "ui", key: "lang"})
        const setting = volume()
        setting.group = "radio" // the last object of the group before
        setting.group = "player"
        Box.write(Tamsel.Runtime, "player", "volume", 7)
        compare(setting.value, 7)
        compare(other.value, undefined)
    }

    function test_layersComeAndGo() {
        const setting = volume()
        const writable = spyOn(setting, "writableChanged")
        Box.init(Tamsel.Rdm, {player: {volume: 7}})
        compare(setting.value, 7)
        compare(setting.origin, Tamsel.Rdm)
        Box.init(Tamsel.Rdm, {player: {volume: 8}})
        compare(setting.value, 8)
        Box.clear(Tamsel.Rdm)
        compare(setting.value, 5)
        compare(setting.origin, -1)
        setting.value = 9
        Box.clear(Tamsel.Runtime)
        compare(setting.value, 5)
        compare(setting.writable, false)
        compare(writable.count, 1)
    }

    function test_aBindingWrites() {
        const setting = createTemporaryObject(boundComponent, testCase)
        compare(Box.value("player", "volume"), 7)
        setting.wanted = 8
        compare(Box.value("player", "volume"), 8)
        compare(setting.value, 8)
    }

    function test_propertiesAreBound() {
        const setting = volume()
        setting.key = Qt.binding(() => testCase.boundKey)
        boundKey = "balance"
        compare(setting.key, "balance")
        Box.write(Tamsel.Runtime, "player", "balance", 2)
        compare(setting.value, 2)
        testCase.boundTo = setting
        // Each step changes one property only.
        compare(boundText, "2 from " + Tamsel.Runtime)
        setting.value = 3
        compare(boundText, "3 from " + Tamsel.Runtime)
        setting.layer = Tamsel.FeatureKeys
        compare(boundText, "3 from " + Tamsel.Runtime + ", read-only")
        setting.layer = Tamsel.SystemProperties
        compare(boundText, "3 from " + Tamsel.Runtime)
        setting.value = 3
        compare(boundText, "3 from " + Tamsel.Runtime + ", overridden")
        setting.reset()
        compare(boundText, "3 from " + Tamsel.Runtime)
        Box.write(Tamsel.SelviDb, "player", "balance", 3)
        Box.remove(Tamsel.Runtime, "player", "balance")
        compare(boundText, "3 from " + Tamsel.SelviDb)
        testCase.boundTo = null
    }
    property string boundKey: "volume"
    property Setting boundTo: null
    readonly property string boundText: boundTo
        ? boundTo.value + " from " + boundTo.origin + (boundTo.overridden ? ", overridden" : "")
          + (boundTo.writable ? "" : ", read-only") : ""

    function test_everyThreadsChangesArrive() {
        const setting = volume()
        const spy = spyOn(setting, "valueChanged")
        Box.writeFromThreads("player", "volume", 2500, 4711)
        compare(spy.count, 0) // not on the thread of the change
        tryCompare(setting, "value", 4711)
        verify(spy.count >= 1)
    }
}

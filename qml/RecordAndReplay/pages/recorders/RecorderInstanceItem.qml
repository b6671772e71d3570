// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "../widgets"

// One recorder on one machine: where it is, what it does, and what can be done with it.
MouseArea {
    id: root

    required property RecorderInstance recorder
    property bool isFirst: false
    property bool isLast: false
    readonly property bool isNarrow: width < 700

    signal chosen
    signal deletionRequested

    objectName: "recorderInstance"
    implicitHeight: Theme.tallRowHeight
    hoverEnabled: true
    acceptedButtons: Qt.NoButton
    cursorShape: Qt.PointingHandCursor
    activeFocusOnTab: true
    Accessible.role: Accessible.ListItem
    Accessible.name: [recorder.name, facts.machine, chip.word].join(", ")
    Accessible.onPressAction: root.chosen()
    Keys.onReturnPressed: root.chosen()
    Keys.onEnterPressed: root.chosen()
    Keys.onSpacePressed: root.chosen()
    Keys.onDeletePressed: {
        if (!root.recorder.isOn) {
            root.deletionRequested();
        }
    }

    RecorderFacts {
        id: facts
        recorder: root.recorder
    }
    // One rounded rectangle, of which a row in the middle of the card shows no rounded end.
    Item {
        anchors.fill: parent
        anchors.margins: 1
        clip: true

        Rectangle {
            y: root.isFirst ? 0 : -radius
            width: parent.width
            height: parent.height + (root.isFirst ? 0 : radius) + (root.isLast ? 0 : radius)
            radius: Theme.cardRadius - 1
            color: root.containsMouse ? Theme.raised : "transparent"
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        visible: !root.isLast
        width: parent.width
        height: 1
        color: Theme.line
    }
    Rectangle {
        visible: root.activeFocus && root.Window.activeFocusItem === root
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: Theme.radius
        border.width: Theme.focusWidth
        border.color: Theme.accent
    }
    TapHandler {
        onTapped: root.chosen()
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        ForeignText {
            Layout.preferredWidth: root.isNarrow ? 110 : 150
            text: facts.machine
            font.weight: Font.Medium
        }
        ForeignText {
            Layout.preferredWidth: 130
            visible: !root.isNarrow
            text: facts.store
            color: Theme.mutedText
        }
        // As wide as its longest word, so that what is beside it stands in one column.
        Item {
            Layout.preferredWidth: root.isNarrow ? chip.implicitWidth : 144
            implicitHeight: chip.implicitHeight

            RecorderState {
                id: chip
                recorder: root.recorder
            }
        }
        ForeignText {
            objectName: "recorderProgress"
            Layout.fillWidth: true
            text: connectButton.problem !== "" ? connectButton.problem : facts.progress
            color: connectButton.problem !== "" ? Theme.recording : root.recorder.isRecording ? chip.ink : Theme.text
            font.features: ({
                    "tnum": 1
                })
        }
        ConnectButton {
            id: connectButton
            recorder: root.recorder
            isShort: root.isNarrow
        }
        DarkOrLightTextButton {
            objectName: "configureButton"
            iconName: "settings"
            hint: qsTr("Open this recorder")
            shortcut: qsTr("Enter")
            onClicked: root.chosen()
        }
        DarkOrLightTextButton {
            objectName: "deleteRecorderButton"
            iconName: "trash"
            hint: qsTr("Delete this recorder")
            shortcut: qsTr("Del")
            available: !root.recorder.isOn
            unavailableHint: qsTr("Disconnect the recorder to delete it")
            onClicked: root.deletionRequested()
        }
    }
}

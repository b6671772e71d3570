// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "../widgets"

// The replay of the record that a recorder has loaded.
FocusScope {
    id: root

    required property RecorderInstance recorder
    // Null for the moment between a record's end and its row's.
    required property RecorderRecord record
    readonly property real duration: record?.durationInSeconds ?? 0

    function moveTo(position: real): void {
        if (!root.recorder.isMovingRecord && !root.recorder.isStoppingRecord) {
            root.recorder.moveCurrentRecordTime(position * root.duration);
        }
    }

    implicitHeight: content.implicitHeight

    RecorderActions {
        id: actions
        recorder: root.recorder
    }
    ColumnLayout {
        id: content
        width: parent.width
        spacing: Theme.spacing

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing

            DarkOrLightTextButton {
                objectName: "playButton"
                focus: true
                primary: true
                iconName: actions.isReplaying ? "pause" : "play"
                hint: actions.isReplaying ? qsTr("Pause") : qsTr("Play")
                shortcut: qsTr("Space")
                available: actions.hasActiveAgent
                unavailableHint: qsTr("Check at least one agent to play")
                onClicked: actions.togglePlaying()
            }
            // Keeps its place, so that nothing beside it jumps.
            Item {
                implicitWidth: Theme.controlHeight
                implicitHeight: Theme.controlHeight

                DarkOrLightTextButton {
                    objectName: "stopButton"
                    visible: !(root.record?.replayIsAtStart ?? true)
                    iconName: "stop"
                    hint: qsTr("Stop, and go back to the start")
                    onClicked: root.recorder.stopRecord(root.record)
                }
            }
            PositionField {
                recorder: root.recorder
                record: root.record
            }
            Figures {
                objectName: "durationText"
                text: qsTr("/%1").arg(RecorderUtils.prettyPrintTime(root.duration, RecorderTimeFormat.HH_MM_SS_ZZZ))
                color: Theme.mutedText
            }
            RecordSlider {
                objectName: "recordSlider"
                Layout.fillWidth: true
                Layout.minimumWidth: 60
                position: root.duration > 0 && root.record !== null ? Math.min(1, root.record.replayProgressInSecond / root.duration) : 0
                step: root.duration > 0 ? Math.min(0.1, 1 / root.duration) : 0
                hint: qsTr("Position in the record")
                valueText: RecorderUtils.prettyPrintTime(root.record?.replayProgressInSecond ?? 0, RecorderTimeFormat.HH_MM_SS_ZZZ)
                onGrabbed: root.recorder.pauseRecord(root.record)
                onReleased: position => root.moveTo(position)
                onStepped: position => root.moveTo(position)
            }
            SpeedChooser {
                recorder: root.recorder
                record: root.record
            }
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Text {
                text: qsTr("Agents")
                color: Theme.mutedText
                font.pixelSize: Theme.textSize
            }
            AgentsFilterItem {
                Layout.fillWidth: true
                Layout.preferredWidth: 360
                Layout.maximumWidth: 360
                recorder: root.recorder
                record: root.record
            }
            Item {
                Layout.fillWidth: true
            }
            DarkOrLightTextButton {
                objectName: "unloadButton"
                text: qsTr("Unload")
                hint: qsTr("End this replay; the record stays")
                onClicked: root.recorder.unloadRecord(root.record)
            }
        }
    }
}

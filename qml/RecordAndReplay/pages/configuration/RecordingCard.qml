// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// What is recorded now, and for how long.
Rectangle {
    id: root

    required property RecorderInstance recorder
    // The recorder keeps its flag when a paused recording ends.
    readonly property bool isPaused: recorder.isRecording && recorder.isRecordingPaused
    readonly property color ink: isPaused ? Theme.paused : recorder.isRecording ? Theme.recording : Theme.mutedText

    implicitHeight: 62
    radius: Theme.cardRadius
    color: Theme.surface
    border.width: 1
    border.color: Theme.line

    // The card's own rounded end, in colour.
    Item {
        visible: root.recorder.isRecording
        width: 5
        height: parent.height
        clip: true

        Rectangle {
            width: root.width
            height: parent.height
            radius: root.radius
            color: root.ink
        }
    }
    RecordingButton {
        id: recordingButton
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingLarge
        anchors.verticalCenter: parent.verticalCenter
        recorder: root.recorder
    }
    Figures {
        id: time
        objectName: "recordingTime"
        anchors.left: recordingButton.right
        anchors.leftMargin: Theme.spacingLarge
        anchors.verticalCenter: parent.verticalCenter
        text: RecorderUtils.prettyPrintTime(root.recorder.isRecording ? root.recorder.recordingProgressInSeconds : 0, RecorderTimeFormat.HH_MM_SS_WITH_SPACES)
        color: root.ink
        font.pixelSize: Theme.runningTimeSize
        font.weight: Font.Medium
        Accessible.role: Accessible.StaticText
        Accessible.name: qsTr("Recorded so far: %1").arg(text)
    }
    Text {
        objectName: "pausedLabel"
        anchors.left: time.right
        anchors.leftMargin: Theme.spacing
        anchors.baseline: time.baseline
        visible: root.isPaused
        text: qsTr("paused")
        color: Theme.paused
        font.pixelSize: Theme.titleSize
        font.weight: Font.Medium
    }
    ImportButton {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingLarge
        anchors.verticalCenter: parent.verticalCenter
        recorder: root.recorder
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// Starts and stops a recording; while it runs, pauses and resumes it.
Row {
    id: root

    required property RecorderInstance recorder

    spacing: Theme.spacingSmall

    RecorderActions {
        id: actions
        recorder: root.recorder
    }

    DarkOrLightTextButton {
        objectName: "recordButton"
        focus: true
        iconName: root.recorder.isRecording ? "stop" : "record"
        text: root.recorder.isRecording ? qsTr("Stop") : qsTr("Record")
        ink: root.recorder.isRecording ? Theme.text : Theme.recording
        frame: root.recorder.isRecording ? Theme.line : Theme.recording
        hint: root.recorder.isRecording ? qsTr("Stop recording") : qsTr("Start recording")
        shortcut: "F5"
        available: root.recorder.isOn
        unavailableHint: qsTr("Connect the recorder to record")
        onClicked: actions.toggleRecording()
    }
    DarkOrLightTextButton {
        objectName: "pauseRecordingButton"
        visible: root.recorder.isRecording
        iconName: root.recorder.isRecordingPaused ? "play" : "pause"
        text: root.recorder.isRecordingPaused ? qsTr("Resume") : qsTr("Pause")
        hint: root.recorder.isRecordingPaused ? qsTr("Go on recording") : qsTr("Leave out what comes until recording goes on")
        onClicked: {
            if (root.recorder.isRecordingPaused) {
                root.recorder.resumeRecording();
            } else {
                root.recorder.pauseRecording();
            }
        }
    }
}

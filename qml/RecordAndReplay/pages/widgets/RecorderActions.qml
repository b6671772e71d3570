// SPDX-License-Identifier: Apache-2.0
import QtQml
import RecordAndReplay

// What a button and a key ask of a recorder alike.
QtObject {
    id: root

    required property RecorderInstance recorder
    readonly property RecorderRecord record: recorder.currentRecord
    readonly property bool isLoaded: recorder.isOn && record !== null && record.isLoaded
    readonly property bool isReplaying: record?.isReplaying ?? false
    readonly property bool hasActiveAgent: (record?.agentsFilterState ?? Qt.Unchecked) !== Qt.Unchecked

    function toggleRecording(): void {
        if (root.recorder.isRecording) {
            root.recorder.stopRecording();
        } else if (root.recorder.isOn) {
            root.recorder.startRecording();
        }
    }

    function togglePlaying(): void {
        if (root.isReplaying) {
            root.recorder.pauseRecord(root.record);
        } else if (root.isLoaded && root.hasActiveAgent) {
            root.recorder.playRecord(root.record);
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import RecordAndReplay

// Asks before a load ends the recording that runs.
ConfirmPopup {
    id: root

    property RecorderInstance recorder: null
    // What is to be loaded; null for a file.
    property RecorderRecord record: null
    property string name
    property var load: null
    readonly property bool isRecording: recorder?.isRecording ?? false

    function ask(recorder: RecorderInstance, record: RecorderRecord, name: string, load: var): void {
        root.recorder = recorder;
        root.record = record;
        root.name = name;
        root.load = load;
        root.open();
    }

    objectName: "confirmEndOfRecording"
    text: qsTr("Do you want to end the recording and load '%1' ?").arg(name)
    acceptText: qsTr("END AND LOAD")
    isDestructive: false
    onAccepted: {
        const load = root.load;
        load();
    }
    // It ended already, or what was to be loaded is gone: there is nothing to ask any more.
    onIsRecordingChanged: {
        if (!isRecording) {
            Qt.callLater(close);
        }
    }
    onRecordChanged: {
        if (record === null) {
            close();
        }
    }
    onHidden: {
        root.recorder = null;
        root.load = null;
    }
}

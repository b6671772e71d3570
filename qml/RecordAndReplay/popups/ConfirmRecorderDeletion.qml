// SPDX-License-Identifier: Apache-2.0
import RecordAndReplay

// Asks before a recorder is deleted from the system.
ConfirmPopup {
    id: root

    property RecorderInstance recorder: null
    readonly property bool isDeletable: recorder !== null && !recorder.isOn

    signal deletionAccepted(RecorderInstance recorder)

    function ask(recorder: RecorderInstance): void {
        root.recorder = recorder;
        root.open();
    }

    objectName: "confirmRecorderDeletion"
    text: recorder === null ? qsTr("Do you want to delete recorder ?") : qsTr("Do you want to delete recorder '%1' ?").arg(recorder.name)
    onAccepted: root.deletionAccepted(root.recorder)
    // Gone, or running by now: there is nothing to ask any more.
    onIsDeletableChanged: {
        if (!isDeletable) {
            Qt.callLater(close);
        }
    }
    onHidden: root.recorder = null
}

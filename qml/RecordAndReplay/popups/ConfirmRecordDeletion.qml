// SPDX-License-Identifier: Apache-2.0
import RecordAndReplay

// Asks before a record is deleted from its recorder.
ConfirmPopup {
    id: root

    property RecorderRecord record: null

    signal deletionAccepted(RecorderRecord record)

    function ask(record: RecorderRecord): void {
        root.record = record;
        root.open();
    }

    objectName: "confirmRecordDeletion"
    text: record === null ? qsTr("Do you want to delete record ?") : qsTr("Do you want to delete record '%1' ?").arg(record.name)
    onAccepted: root.deletionAccepted(root.record)
    // Deleted by somebody else, or its recorder is off: there is nothing to ask any more.
    onRecordChanged: {
        if (record === null) {
            close();
        }
    }
    onHidden: root.record = null
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import RecordAndReplay
import "../widgets"

// The place in a record, shown and typed as a time.
DarkOrLightTextField {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record
    readonly property real typedMilliseconds: toMilliseconds(text)
    readonly property bool isMoving: recorder.isMovingRecord || recorder.isStoppingRecord

    // What is wrong with the typed text; nothing for a place in the record.
    readonly property string problem: {
        if (!isEdited) {
            return "";
        }
        if (typedMilliseconds < 0) {
            return qsTr("Type a time such as 00:02:05.500, 02:05.500 or 5.5");
        }
        const duration = record?.durationInSeconds ?? 0;
        return typedMilliseconds > duration * 1000 ? qsTr("The record ends at %1").arg(RecorderUtils.prettyPrintTime(duration, RecorderTimeFormat.HH_MM_SS_ZZZ)) : "";
    }

    // Of "hh:mm:ss.zzz", "mm:ss.zzz" or "ss.zzz"; -1 for any other text.
    function toMilliseconds(text: string): real {
        const parts = /^(?:(?:(\d{1,6}):)?(\d{1,6}):)?(\d{1,9})(?:\.(\d{1,9}))?$/.exec(text.trim());
        if (parts === null || (parts[1] !== undefined && Number(parts[2]) > 59) || (parts[2] !== undefined && Number(parts[3]) > 59)) {
            return -1;
        }
        const seconds = (Number(parts[1] ?? 0) * 60 + Number(parts[2] ?? 0)) * 60 + Number(parts[3]);
        return seconds * 1000 + Number((parts[4] ?? "").padEnd(3, "0").slice(0, 3));
    }

    objectName: "positionField"
    implicitWidth: 116
    value: RecorderUtils.prettyPrintTime(record?.replayProgressInSecond ?? 0, RecorderTimeFormat.HH_MM_SS_ZZZ)
    readOnly: record?.isReplaying ?? true
    font.features: ({
            "tnum": 1
        })
    hint: problem !== "" ? problem : readOnly ? qsTr("Pause to type a time") : qsTr("Position: type a time to move there")
    accessibleName: qsTr("Position")
    isWrong: problem !== ""
    isInsisting: isWrong
    mayCommit: typedMilliseconds >= 0 && !isMoving
    onReadOnlyChanged: reset()
    onCommitted: text => {
        // An overlay that takes the keyboard ends typing before every flag was told of.
        const isMoving = root.recorder.isMovingRecord || root.recorder.isStoppingRecord;
        if (!isMoving && root.typedMilliseconds !== Math.round(root.record.replayProgressInSecond * 1000)) {
            root.recorder.updateCurrentRecordTime(text);
        }
    }
}

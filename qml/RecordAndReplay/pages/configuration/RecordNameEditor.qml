// SPDX-License-Identifier: Apache-2.0
import QtQuick
import RecordAndReplay

// What a RecordNameField is while somebody types in it.
DarkOrLightTextFieldErrorHandler {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record

    // Renamed or not: the field has done.
    signal finished

    // With everything chosen, to be typed over; or where the pointer is.
    function edit(x: real): void {
        field.forceActiveFocus();
        if (x >= 0) {
            field.cursorPosition = field.positionAt(x, field.height / 2);
        } else {
            field.selectAll();
        }
    }

    objectName: "recordName"
    value: record?.name ?? ""
    isUsed: isEdited && !isBlank(text) && text.trim() !== value && recorder.isRecordNameAlreadyUsed(text.trim())
    errorIsBeside: true
    placeholderText: qsTr("Record name")
    font.weight: Font.Medium
    onCommitted: text => root.recorder.updateRecordName(root.record, text.trim())
    field.onEditingFinished: Qt.callLater(finished)
    // These end typing, and mean nothing to the row around it.
    Keys.onReturnPressed: {}
    Keys.onEnterPressed: {}
    Keys.onEscapePressed: root.finished()
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import "../widgets"

// A field for a name that must not be empty nor used already. What is wrong is said under it, or beside it in a row.
DarkOrLightTextField {
    id: root

    // Another thing has the name that was typed.
    property bool isUsed: false
    property bool errorIsBeside: false
    readonly property string errorText: {
        if (!isEdited) {
            return "";
        }
        return isBlank(text) ? qsTr("Cannot be empty") : isUsed ? qsTr("This name is already used") : "";
    }

    // Blanks and control characters alone would leave nothing of a name. A function, so that who asks whether a name is
    // used gets the answer for the text that it asks for, and not for the one before.
    function isBlank(text: string): bool {
        return !/[^\s\u0000-\u001f\u007f-\u009f]/.test(text);
    }

    isWrong: errorText !== ""
    mayCommit: errorText === ""

    Text {
        objectName: "nameError"
        x: root.errorIsBeside ? root.width + Theme.spacing : 0
        y: root.errorIsBeside ? (root.height - height) / 2 : root.height + 1
        visible: text !== ""
        text: root.errorText
        color: Theme.recording
        font.pixelSize: root.errorIsBeside ? Theme.textSize : Theme.smallTextSize
        textFormat: Text.PlainText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

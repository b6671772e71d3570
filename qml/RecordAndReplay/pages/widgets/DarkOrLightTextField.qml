// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// One line of text to type. It shows `value` until somebody types, and says what was typed when that ends.
Hinted {
    id: root

    property string value
    property alias text: field.text
    property alias placeholderText: field.placeholderText
    property alias echoMode: field.echoMode
    property alias readOnly: field.readOnly
    property alias font: field.font
    property alias field: field
    property string accessibleName: placeholderText
    property bool isWrong: false
    // Else what was typed is given up when typing ends.
    property bool mayCommit: true
    // What was typed stays when typing ends, for a field whose text a button acts on.
    property bool keepsText: false
    // Looks like a plain text, also while nothing can be typed.
    property bool flat: false
    // The text is another one than the value.
    property bool isEdited: false
    // Typing was cut off, because nothing could be typed any more: the text stays, and is said to be no value.
    property bool isHeldBack: false

    // Typing ended with another text than the value.
    signal committed(string text)

    function reset(): void {
        field.text = root.value;
        root.isEdited = false;
        root.isHeldBack = false;
        if (!field.activeFocus) {
            field.cursorPosition = 0; // shows the beginning of a long text
        }
    }

    implicitWidth: 240
    implicitHeight: Theme.controlHeight
    // Whoever is typing, or was kept from ending it, is not interrupted.
    onValueChanged: {
        if ((!field.activeFocus && !root.isHeldBack) || !root.isEdited || field.text === root.value) {
            reset();
        }
    }
    Component.onCompleted: reset()

    TextField {
        id: field

        anchors.fill: parent
        focus: true
        enabled: root.available
        leftPadding: root.flat ? 0 : Theme.spacingSmall
        rightPadding: leftPadding + (root.isHeldBack ? heldBack.width + Theme.spacingSmall : 0)
        topPadding: 0
        bottomPadding: 0
        verticalAlignment: TextInput.AlignVCenter
        // Not dimmed while nothing can be typed: a value is there to be read.
        color: root.available || root.flat ? Theme.text : Theme.mutedText
        placeholderTextColor: Theme.mutedText
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentText
        selectByMouse: true
        font.pixelSize: Theme.textSize
        Accessible.name: root.accessibleName
        Accessible.description: root.available ? root.hint : root.unavailableHint
        onTextChanged: root.isEdited = text !== root.value
        onEditingFinished: {
            if (root.keepsText) {
                return;
            }
            root.isHeldBack = root.isEdited && root.mayCommit && !root.available;
            if (root.isHeldBack) {
                return;
            }
            if (root.isEdited && root.mayCommit) {
                // What is done with the text may take the keyboard away, which ends typing once more.
                root.isEdited = false;
                root.committed(text);
            }
            // The value may have come back changed, or not at all.
            root.reset();
        }
        Keys.onEscapePressed: event => {
            event.accepted = root.isEdited;
            root.reset();
        }

        background: Rectangle {
            visible: !root.flat
            opacity: root.available ? 1 : Theme.disabledOpacity
            radius: Theme.radius
            color: Theme.surface
            border.width: field.activeFocus ? Theme.focusWidth : 1
            border.color: root.isWrong ? Theme.recording : field.activeFocus ? Theme.accent : Theme.line
        }
    }
    Text {
        id: heldBack
        objectName: "heldBack"
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingSmall
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isHeldBack
        text: qsTr("Not in force")
        color: Theme.paused
        font.pixelSize: Theme.smallTextSize
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

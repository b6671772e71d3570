// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// The name of a record, to read and to change: it looks like a text until the pointer or the keyboard comes to it. A list
// may have many thousands, so that what can be typed in is made for the one in which somebody types.
Item {
    id: root

    required property RecorderInstance recorder
    // Null for the moment between a record's end and its row's.
    required property RecorderRecord record
    property alias elide: label.elide
    property bool isEditing: false
    // What is typed cannot be the name. The editor says so: asking the loader for its item as an editor has failed now and
    // then, and the row was drawn over the error.
    property bool hasError: false

    // The keyboard is given back.
    signal finished
    signal editorWanted(x: real)

    // With everything chosen, to be typed over; or where the pointer is.
    function edit(x: real): void {
        root.isEditing = root.recorder.isOn && root.record !== null;
        root.editorWanted(x);
    }

    function end(): void {
        const hadKeyboard = editor.activeFocus;
        root.isEditing = false;
        if (hadKeyboard) {
            root.finished();
        }
    }

    implicitHeight: Theme.controlHeight
    onRecordChanged: isEditing = false
    onIsEditingChanged: hasError = false

    // As far as the name goes: what is beside it belongs to the row.
    Rectangle {
        id: frame

        readonly property bool isPointedAt: root.recorder.isOn && hand.containsMouse

        objectName: "recordNameFrame"
        x: -Theme.spacingSmall
        width: Math.min(root.width, Math.max(48, label.contentWidth)) + 2 * Theme.spacingSmall
        height: root.height
        visible: !root.isEditing
        radius: Theme.radius
        color: frame.isPointedAt ? Theme.surface : "transparent"
        border.width: frame.isPointedAt ? 1 : 0
        border.color: Theme.mutedText
        Accessible.role: Accessible.EditableText
        Accessible.name: qsTr("Record name")
        Accessible.onPressAction: root.edit(-1)

        MouseArea {
            id: hand

            anchors.fill: parent
            hoverEnabled: true
            acceptedButtons: root.recorder.isOn ? Qt.LeftButton : Qt.NoButton
            cursorShape: root.recorder.isOn ? Qt.IBeamCursor : Qt.ArrowCursor
            onClicked: mouse => root.edit(mouse.x)

            ForeignText {
                id: label

                objectName: "recordNameText"
                x: Theme.spacingSmall
                width: root.width
                height: parent.height
                verticalAlignment: Text.AlignVCenter
                text: root.record?.name ?? ""
                font.weight: Font.Medium
            }
        }
    }
    Loader {
        id: editor

        active: root.isEditing
        x: -Theme.spacingSmall
        width: root.width + 2 * Theme.spacingSmall
        height: root.height
        sourceComponent: Component {
            RecordNameEditor {
                id: typed

                recorder: root.recorder
                record: root.record
                onFinished: root.end()
                onIsWrongChanged: root.hasError = isWrong

                Connections {
                    target: root

                    function onEditorWanted(x: real): void {
                        typed.edit(x);
                    }
                }
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import "../pages/widgets"

// Asks before something is done that cannot be taken back.
Popup {
    id: root

    property string text
    property string acceptText: qsTr("DELETE")
    property bool isDestructive: true
    // What was asked stays until it is out of sight, although what was deleted has no name any more.
    property string question
    property bool isAccepted: false

    signal accepted
    // After the answer, whichever it was.
    signal hidden

    anchors.centerIn: parent
    width: Math.min(600, (parent?.width ?? 0) - 80)
    padding: Theme.pageMargin
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    // Whatever had the keyboard when it was last open: what is safe has it now.
    onAboutToShow: {
        root.isAccepted = false;
        cancel.forceActiveFocus(Qt.PopupFocusReason);
    }
    onClosed: root.hidden()

    background: Rectangle {
        radius: Theme.cardRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.dim
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.fadeDuration
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: Theme.fadeDuration
        }
    }

    contentItem: FocusScope {
        implicitHeight: content.implicitHeight
        focus: true
        Accessible.role: Accessible.Dialog
        Accessible.name: root.question

        Binding {
            target: root
            property: "question"
            value: root.text
            when: !root.isAccepted
            restoreMode: Binding.RestoreNone
        }
        Column {
            id: content
            width: parent.width
            spacing: Theme.pageMargin

            Text {
                objectName: "question"
                width: parent.width
                text: root.question
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
                maximumLineCount: 6
                elide: Text.ElideRight
                textFormat: Text.PlainText
            }
            Row {
                anchors.right: parent.right
                spacing: Theme.spacingSmall

                DarkOrLightTextButton {
                    id: cancel
                    objectName: "declineButton"
                    focus: true
                    text: qsTr("Cancel")
                    hint: qsTr("Leave it as it is")
                    shortcut: qsTr("Esc")
                    onClicked: root.close()
                }
                DarkOrLightTextButton {
                    objectName: "acceptButton"
                    text: root.acceptText
                    destructive: root.isDestructive
                    onClicked: {
                        root.isAccepted = true;
                        root.accepted();
                        root.close();
                    }
                }
            }
        }
    }
}

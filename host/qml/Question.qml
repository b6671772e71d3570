// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane

// Asks before something that cannot be taken back. It begins on Cancel.
HostPopup {
    id: root

    property string title: ""
    property string explanation: ""
    property string confirmText: ""
    property string cancelHint: ""
    // The buttons are "cancelNAMEButton" and "confirmNAMEButton".
    property string name: ""

    signal confirmed

    width: Math.min(440, (parent?.width ?? 0) - 80)
    onAboutToShow: cancelButton.button.forceActiveFocus()

    contentItem: ColumnLayout {
        Accessible.role: Accessible.Dialog
        Accessible.name: root.title
        spacing: Theme.spacingLarge

        Text {
            Layout.fillWidth: true
            text: root.title
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
        Text {
            Layout.fillWidth: true
            text: root.explanation
            color: Theme.mutedText
            font.pixelSize: Theme.textSize
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: Theme.spacingSmall

            HostButton {
                id: cancelButton
                objectName: "cancel" + root.name + "Button"
                hint: root.cancelHint
                shortcut: qsTr("Esc")
                text: qsTr("Cancel")
                onClicked: root.close()
            }
            HostButton {
                objectName: "confirm" + root.name + "Button"
                text: root.confirmText
                destructive: true
                onClicked: {
                    root.confirmed();
                    root.close();
                }
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane

// Asks before an instance is taken out of the document.
HostPopup {
    id: root

    property SystemViewBaseInstance instance: null

    function ask(instance: SystemViewBaseInstance): void {
        root.instance = instance;
        root.open();
    }

    width: Math.min(440, (parent?.width ?? 0) - 80)
    onAboutToShow: cancelButton.button.forceActiveFocus()
    onClosed: root.instance = null

    contentItem: ColumnLayout {
        Accessible.role: Accessible.Dialog
        Accessible.name: title.text
        spacing: Theme.spacingLarge

        Text {
            id: title
            Layout.fillWidth: true
            text: root.instance === null ? "" : qsTr("Delete \"%1\" from the system?").arg(root.instance.name)
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
        Text {
            Layout.fillWidth: true
            text: qsTr("Its launch lines go with it. An agent that runs goes on running, and is listed as not placed.")
            color: Theme.mutedText
            font.pixelSize: Theme.textSize
            wrapMode: Text.Wrap
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: Theme.spacingSmall

            HostButton {
                id: cancelButton
                objectName: "cancelDeletionButton"
                hint: qsTr("Keep it")
                shortcut: qsTr("Esc")
                text: qsTr("Cancel")
                onClicked: root.close()
            }
            HostButton {
                objectName: "confirmDeletionButton"
                text: qsTr("Delete")
                destructive: true
                onClicked: {
                    SystemDocumentHandler.deleteInstance(root.instance);
                    root.close();
                }
            }
        }
    }
}

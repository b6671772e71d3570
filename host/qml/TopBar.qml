// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// The open document, and what is done with documents.
Rectangle {
    id: root

    required property HostApplication host
    readonly property SystemDocument document: SystemDocumentHandler.currentSystemDocument

    implicitHeight: 56
    color: Theme.surface

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.line
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pageMargin
        anchors.rightMargin: Theme.pageMargin
        spacing: Theme.spacingSmall

        Text {
            text: root.host.documentName
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            elide: Text.ElideMiddle
            textFormat: Text.PlainText
            Layout.maximumWidth: 420
        }
        Text {
            Layout.fillWidth: true
            text: root.document !== null && root.document.isModified ? qsTr("edited") : ""
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
        }
        HostButton {
            iconName: "new"
            text: qsTr("New")
            quiet: true
            onClicked: root.host.createDocumentAsked()
        }
        HostButton {
            iconName: "open"
            text: qsTr("Open…")
            quiet: true
            onClicked: root.host.openDocumentAsked()
        }
        HostButton {
            iconName: "save"
            text: qsTr("Save")
            quiet: true
            onClicked: root.host.saveDocumentAsked(false)
        }
        HostButton {
            text: qsTr("Save as…")
            quiet: true
            onClicked: root.host.saveDocumentAsked(true)
        }
    }
}

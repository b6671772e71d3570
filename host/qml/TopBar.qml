// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// The open document, and what is done with documents.
Rectangle {
    id: root

    required property HostApplication host
    readonly property SystemDocument document: SystemDocumentHandler.currentSystemDocument
    readonly property bool isNarrow: width < 900

    // The place from which a key opens the list of recent documents.
    function showRecent(): void {
        if (recentButton.available) {
            recentMenu.popup(recentButton, 0, recentButton.height + 4);
        }
    }

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
        spacing: root.isNarrow ? 4 : Theme.spacingSmall

        Item {
            Layout.fillWidth: true
            implicitHeight: name.implicitHeight

            ForeignText {
                id: name
                objectName: "documentName"
                width: Math.min(implicitWidth, parent.width - mark.implicitWidth - Theme.spacing)
                text: root.host.documentName
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
                elide: Text.ElideMiddle
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                id: mark
                objectName: "documentMark"
                x: name.width + Theme.spacingSmall
                anchors.baseline: name.baseline
                text: root.document !== null && root.document.isModified ? qsTr("edited") : ""
                color: Theme.mutedText
                font.pixelSize: Theme.smallTextSize
            }
        }
        DocumentButton {
            objectName: "newDocumentButton"
            iconName: "new"
            word: qsTr("New")
            what: qsTr("Begin a new document")
            shortcut: qsTr("Ctrl+N")
            onClicked: root.host.createDocumentAsked()
        }
        DocumentButton {
            objectName: "openDocumentButton"
            iconName: "open"
            word: qsTr("Open…")
            what: qsTr("Open another document")
            shortcut: qsTr("Ctrl+O")
            onClicked: root.host.openDocumentAsked()
        }
        DocumentButton {
            id: recentButton
            objectName: "recentDocumentsButton"
            iconName: "recent"
            word: qsTr("Recent")
            what: qsTr("Open one of the last documents")
            shortcut: qsTr("Ctrl+R")
            available: root.host.recentDocuments.length > 0
            unavailableHint: qsTr("No document was opened or saved yet")
            onClicked: root.showRecent()

            RecentMenu {
                id: recentMenu
                host: root.host
            }
        }
        DocumentButton {
            objectName: "saveDocumentButton"
            iconName: "save"
            word: qsTr("Save")
            what: qsTr("Save this document")
            shortcut: qsTr("Ctrl+S")
            onClicked: root.host.saveDocumentAsked(false)
        }
        DocumentButton {
            objectName: "saveDocumentAsButton"
            iconName: "saveas"
            word: qsTr("Save as…")
            what: qsTr("Save this document under another name")
            shortcut: qsTr("Ctrl+Shift+S")
            onClicked: root.host.saveDocumentAsked(true)
        }
    }

    // Without its word where room is scarce.
    component DocumentButton: HostButton {
        property string word
        property string what

        quiet: true
        text: root.isNarrow ? "" : word
        accessibleName: word
        hint: what
    }
}

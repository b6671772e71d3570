// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Dialogs
import Corvane

// The path of a certificate, or of a folder of them, typed or chosen; under it what is there, or what is wrong with it.
FocusScope {
    id: root

    property alias text: field.text
    property alias placeholderText: field.placeholderText
    readonly property string path: text.trim()
    property string label
    property bool isFolder: false
    property bool available: true
    // The other half of what secures a network is there, and this one is not.
    property bool isMissing: false
    property string problem
    // Names, as their owners wrote them.
    property string names

    signal accepted

    function take(file: url): void {
        field.text = decodeURIComponent(file.toString().replace(/^file:\/\//, ""));
        dialog.active = false;
    }

    implicitHeight: content.implicitHeight

    Column {
        id: content
        width: parent.width
        spacing: 2

        Row {
            width: parent.width
            spacing: Theme.spacingSmall

            HostField {
                id: field
                width: parent.width - browse.width - parent.spacing
                focus: true
                enabled: root.available
                isWrong: root.isMissing || root.problem !== ""
                onAccepted: root.accepted()
                Accessible.name: root.label
            }
            HostButton {
                id: browse
                iconName: "open"
                hint: root.isFolder ? qsTr("Choose a folder") : qsTr("Choose a file")
                available: root.available
                onClicked: dialog.active = true
            }
        }
        Text {
            objectName: "certificateState"
            width: parent.width
            visible: text !== ""
            text: root.problem !== "" ? root.problem : root.names
            color: root.problem !== "" ? Theme.recording : Theme.mutedText
            font.pixelSize: Theme.smallTextSize
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            textFormat: Text.PlainText
            Accessible.role: root.problem !== "" ? Accessible.AlertMessage : Accessible.StaticText
            Accessible.name: text
        }
    }
    Loader {
        id: dialog
        active: false
        sourceComponent: root.isFolder ? folderDialog : fileDialog
    }
    Component {
        id: fileDialog

        FileDialog {
            title: root.label
            Component.onCompleted: open()
            onAccepted: root.take(selectedFile)
            onRejected: dialog.active = false
        }
    }
    Component {
        id: folderDialog

        FolderDialog {
            title: root.label
            Component.onCompleted: open()
            onAccepted: root.take(selectedFolder)
            onRejected: dialog.active = false
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Dialogs
import Corvane
import "../widgets"
import "../widgets/urls.js" as Urls

// A file or a folder of the recorder's machine, typed or, when that machine is this one, chosen.
Column {
    id: root

    required property string label
    required property string value
    property bool isFolder: false
    property bool available: true
    property string unavailableHint: ""
    property bool isLocal: true

    signal committed(string path)

    function toPath(url: url): string {
        return Urls.decoded(url.toString().replace(/^file:\/\//, ""));
    }

    function take(chosen: url): void {
        dialog.active = false;
        root.committed(root.toPath(chosen));
    }

    spacing: 4

    Text {
        text: root.label
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
        textFormat: Text.PlainText
    }
    Row {
        width: parent.width
        spacing: Theme.spacingSmall

        DarkOrLightTextField {
            objectName: "pathField"
            width: parent.width - Theme.controlHeight - parent.spacing
            value: root.value
            accessibleName: root.label
            available: root.available
            hint: field.contentWidth > field.width ? text : ""
            unavailableHint: root.unavailableHint
            onCommitted: text => root.committed(text)
        }
        DarkOrLightTextButton {
            objectName: "pathBrowseButton"
            iconName: "folder"
            hint: root.isFolder ? qsTr("Choose a folder") : qsTr("Choose a file")
            available: root.available && root.isLocal
            unavailableHint: root.available ? qsTr("Cannot browse local files to give to remote Recorders") : root.unavailableHint
            onClicked: dialog.active = true
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

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
    // What is there, with its problem and its names; null when that is not looked at.
    property var found: null
    readonly property string problem: found ? found.problem : ""
    // As their owners wrote them: also beside a problem, which may be that of one file among many.
    readonly property string names: found ? found.names.join(", ") : ""

    signal accepted

    function take(file: url): void {
        dialog.active = false;
        const path = file.toString().replace(/^file:\/\//, "");
        try {
            field.text = decodeURIComponent(path);
        } catch (error) {
            // Bytes that are no text: below it is said that there is no such file.
            field.text = path;
        }
    }

    implicitHeight: content.implicitHeight

    component State: Text {
        width: content.width
        visible: text !== ""
        font.pixelSize: Theme.smallTextSize
        wrapMode: Text.Wrap
        maximumLineCount: 3
        elide: Text.ElideRight
        textFormat: Text.PlainText
        Accessible.name: text
    }

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
        State {
            objectName: "certificateProblem"
            text: root.problem
            color: Theme.recording
            Accessible.role: Accessible.AlertMessage
        }
        State {
            objectName: "certificateNames"
            text: root.names
            color: Theme.mutedText
            Accessible.role: Accessible.StaticText
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

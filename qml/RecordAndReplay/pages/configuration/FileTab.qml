// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "../widgets"

// Replays a CSV file of the recorder's machine without making a record of it.
FocusScope {
    id: root

    required property RecorderInstance recorder
    // The last load was asked for here.
    property bool showsFailure: false
    readonly property RecorderRecord fileRecord: recorder.recordFromFile
    readonly property string path: pathField.text.trim()

    signal loadRequested(string path)
    signal loadOfUrlRequested(url file)

    function load(): void {
        if (root.recorder.isOn && root.path !== "") {
            root.loadRequested(root.path);
        }
    }

    RecorderFacts {
        id: facts
        recorder: root.recorder
    }
    Connections {
        function onFilePathSelectedForLoad(path: string): void {
            pathField.text = path;
        }

        target: root.recorder
    }
    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.spacingLarge

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            DarkOrLightTextField {
                id: pathField
                objectName: "filePathField"
                Layout.fillWidth: true
                focus: true
                keepsText: true
                value: root.recorder.currentFilePath
                placeholderText: qsTr("Path to record in CSV format")
                hint: field.contentWidth > field.width ? text : qsTr("A file on the recorder's machine")
                field.onAccepted: root.load()
            }
            DarkOrLightTextButton {
                objectName: "browseButton"
                iconName: "folder"
                hint: qsTr("Choose a file")
                available: facts.isLocal
                unavailableHint: qsTr("Cannot browse local files to give to remote Recorders")
                onClicked: root.recorder.browseFileToLoad(root.path)
            }
            DarkOrLightTextButton {
                objectName: "loadButton"
                primary: true
                text: qsTr("LOAD")
                hint: qsTr("Load the file for a replay")
                available: root.recorder.isOn && root.path !== ""
                unavailableHint: root.recorder.isOn ? qsTr("Give the path of a file first") : qsTr("Connect the recorder to load a file")
                onClicked: root.load()
            }
        }
        LoadFailure {
            Layout.fillWidth: true
            visible: root.showsFailure && root.recorder.loadingFailReason !== ""
            recorder: root.recorder
        }
        Loader {
            id: loaded
            Layout.fillWidth: true
            active: root.fileRecord !== null && root.recorder.currentRecord === root.fileRecord
            visible: active
            sourceComponent: Component {
                FileRecordItem {
                    recorder: root.recorder
                    record: root.fileRecord
                }
            }
        }
    }
    EmptyHint {
        anchors.centerIn: parent
        width: Math.min(480, parent.width)
        visible: !loaded.active && parent.height > 160
        title: qsTr("No file is loaded")
        text: qsTr("Choose a record in CSV format, or drop it here.")
    }
    DropAreaWithOverlay {
        objectName: "fileDropArea"
        anchors.fill: parent
        text: qsTr("Drop to load CSV file")
        onCsvDropped: file => {
            if (root.recorder.isOn) {
                root.loadOfUrlRequested(file);
            } else {
                root.recorder.recordCsvFileDropped(file);
            }
        }
    }
}

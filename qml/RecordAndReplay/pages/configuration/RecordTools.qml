// SPDX-License-Identifier: Apache-2.0
import QtQuick
import RecordAndReplay
import "../widgets"

// What can be done with a record beside replaying it.
Row {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record
    property bool isTabStop: false
    property bool showsRename: false

    signal renameRequested

    spacing: 4

    DarkOrLightTextButton {
        objectName: "renameRecordButton"
        anchors.verticalCenter: parent.verticalCenter
        visible: root.showsRename
        quiet: true
        isTabStop: root.isTabStop
        iconName: "rename"
        hint: qsTr("Rename")
        shortcut: "F2"
        available: root.recorder.isOn
        unavailableHint: qsTr("Connect the recorder to rename its records")
        onClicked: root.renameRequested()
    }
    DarkOrLightTextButton {
        objectName: "downloadButton"
        anchors.verticalCenter: parent.verticalCenter
        quiet: true
        isTabStop: root.isTabStop
        iconName: "download"
        hint: root.recorder.isCancelingExport ? qsTr("Download as a CSV file: the cancel of the last download still counts, so that this one ends early") : qsTr("Download as a CSV file")
        available: root.recorder.isOn
        unavailableHint: qsTr("Connect the recorder to download its records")
        onClicked: root.recorder.downloadRecord(root.record)
    }
    DarkOrLightTextButton {
        objectName: "deleteRecordButton"
        anchors.verticalCenter: parent.verticalCenter
        quiet: true
        isTabStop: root.isTabStop
        iconName: "trash"
        hint: qsTr("Delete")
        shortcut: qsTr("Del")
        available: root.recorder.isOn
        unavailableHint: qsTr("Connect the recorder to delete its records")
        onClicked: root.recorder.confirmRecordDeletion(root.record)
    }
}

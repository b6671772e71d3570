// SPDX-License-Identifier: Apache-2.0
import QtQuick
import RecordAndReplay
import "../widgets"

// Makes a record out of a CSV file of this machine.
DarkOrLightTextButton {
    id: root

    required property RecorderInstance recorder

    objectName: "importButton"
    visible: !recorder.isRecording && !recorder.offlineMode
    iconName: "import"
    text: qsTr("Import")
    hint: qsTr("Make a record out of a CSV file")
    available: recorder.isOn
    unavailableHint: qsTr("Connect the recorder to import a file")
    onClicked: recorder.importRecord()
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// The CSV file that is loaded, with its replay. It bears another name as long as it is loaded; the file keeps its own.
Rectangle {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record

    implicitHeight: Theme.rowHeight + item.implicitHeight + Theme.spacingLarge
    radius: Theme.cardRadius
    color: Theme.selection
    border.width: 1
    border.color: Theme.line
    Accessible.role: Accessible.Grouping
    Accessible.name: root.record?.name ?? ""

    RecordNameField {
        id: name
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingLarge
        anchors.right: renameButton.left
        anchors.rightMargin: Theme.spacing
        y: (Theme.rowHeight - height) / 2
        recorder: root.recorder
        record: root.record
        elide: Text.ElideMiddle
        onFinished: renameButton.button.forceActiveFocus()
    }
    DarkOrLightTextButton {
        id: renameButton
        objectName: "renameRecordButton"
        anchors.right: date.left
        anchors.rightMargin: Theme.spacing
        anchors.verticalCenter: name.verticalCenter
        quiet: true
        iconName: "rename"
        hint: qsTr("Rename while it is loaded; the file keeps its name")
        onClicked: name.edit(-1)
    }
    Text {
        id: date
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingLarge
        anchors.verticalCenter: name.verticalCenter
        text: (root.record?.startDateTime ?? new Date(NaN)).toLocaleString(Qt.locale(), qsTr("d MMM yyyy, hh:mm"))
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
    }
    RecordItem {
        id: item
        x: Theme.spacingLarge
        y: Theme.rowHeight
        width: parent.width - 2 * Theme.spacingLarge
        recorder: root.recorder
        record: root.record
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay

// One agent of a record, let through or not.
MouseArea {
    id: root

    // Null for the moment between an agent's end and its row's.
    required property RecordAgentFilter agent
    property bool isCurrent: false

    signal switched(bool checked)

    implicitHeight: 36
    hoverEnabled: true
    acceptedButtons: Qt.NoButton
    Accessible.role: Accessible.CheckBox
    Accessible.name: agent?.name ?? ""
    Accessible.checkable: true
    Accessible.checked: agent?.checked ?? false

    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        radius: 4
        color: root.isCurrent || root.containsMouse ? Theme.selection : "transparent"
    }
    AgentFilterCheckbox {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingSmall
        anchors.rightMargin: Theme.spacingSmall
        text: root.agent?.name ?? ""
        value: (root.agent?.checked ?? false) ? Qt.Checked : Qt.Unchecked
        onSwitched: checked => root.switched(checked)
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane

// A machine on which agents run or may be started, and whether that can be done from here.
Item {
    id: root

    required property Host machine
    readonly property bool isThis: machine.networkName === NetworkConfiguration.localNetworkName

    implicitHeight: Theme.rowHeight

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        ForeignText {
            objectName: "machineName"
            Layout.preferredWidth: 200
            text: root.machine.networkName
        }
        ForeignText {
            objectName: "machineExplanation"
            Layout.fillWidth: true
            color: Theme.mutedText
            text: {
                if (root.isThis) {
                    return root.machine.hasLauncher ? qsTr("This machine: the host starts its agents, its launcher those for other hosts") : qsTr("This machine: the host starts its agents");
                }
                return root.machine.hasLauncher ? qsTr("Its launcher starts agents there") : qsTr("To start agents there, start qnyLauncher on it, on this network");
            }
        }
        StateChip {
            objectName: "machineState"
            visible: !root.isThis || root.machine.hasLauncher
            shape: root.machine.hasLauncher ? "dot" : "ring"
            ink: root.machine.hasLauncher ? Theme.text : Theme.mutedText
            text: root.machine.hasLauncher ? qsTr("Launcher") : qsTr("No launcher")
        }
    }
}

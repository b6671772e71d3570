// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// An agent of the network that stands in no view.
Item {
    id: root

    required property HostApplication host
    required property RunningAgentInfo agent

    implicitHeight: Theme.rowHeight

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        ForeignText {
            Layout.preferredWidth: 200
            Layout.fillWidth: true
            text: root.agent.name
        }
        ForeignText {
            Layout.preferredWidth: 130
            text: root.agent.isAttachedToCorvane ? qsTr("this machine") : root.agent.host.networkName
            color: Theme.mutedText
        }
        Item {
            Layout.preferredWidth: 112
            implicitHeight: chip.implicitHeight

            StateChip {
                id: chip
                objectName: "agentState"
                anchors.verticalCenter: parent.verticalCenter
                shape: root.agent.isStandIn ? "triangle" : "dot"
                ink: root.agent.isStandIn ? Theme.replaying : Theme.text
                text: root.agent.isStandIn ? qsTr("Replayed") : qsTr("Running")
            }
        }
        HostButton {
            objectName: "placeButton"
            iconName: "place"
            text: qsTr("Place")
            hint: qsTr("Add it to the system under this name")
            onClicked: {
                if (SystemDocumentHandler.placeAgent(root.agent) === null) {
                    root.host.addNotice(SystemDocumentHandler.errorText);
                }
            }
        }
    }
}

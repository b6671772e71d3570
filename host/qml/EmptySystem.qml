// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// What to do with a system that holds nothing yet.
Item {
    id: root

    signal addRequested

    implicitHeight: 220

    Column {
        anchors.centerIn: parent
        spacing: Theme.spacing

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Nothing in this system yet")
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Add a recorder, or place an agent that is on the network.")
            color: Theme.mutedText
            font.pixelSize: Theme.textSize
        }
        HostButton {
            anchors.horizontalCenter: parent.horizontalCenter
            iconName: "plus"
            text: qsTr("Add")
            onClicked: root.addRequested()
        }
    }
}

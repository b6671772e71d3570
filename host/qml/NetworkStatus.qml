// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane

// Whether the host is on the network, on which, and whether that is secured.
ColumnLayout {
    id: root

    // A dot and the button, which says the rest.
    property bool isNarrow: false
    readonly property bool isConnected: NetworkConfiguration.isConnected
    readonly property string stateText: isConnected ? qsTr("Connected") : qsTr("Not connected")
    readonly property string place: qsTr("%1, port %2").arg(NetworkConfiguration.device).arg(NetworkConfiguration.port)
    readonly property string security: NetworkConfiguration.isQuenarySecurityActivated ? qsTr("Security on") : qsTr("Security off")

    signal networkRequested

    spacing: 4
    Accessible.role: Accessible.Grouping
    Accessible.name: [qsTr("Network"), stateText, place, security].join(", ")

    GridLayout {
        Layout.fillWidth: true
        Layout.leftMargin: root.isNarrow ? 0 : Theme.spacingSmall
        columns: root.isNarrow ? 1 : 3
        columnSpacing: Theme.spacingSmall
        rowSpacing: Theme.spacingSmall

        Rectangle {
            Layout.alignment: Qt.AlignCenter
            Layout.preferredWidth: 8
            Layout.preferredHeight: 8
            radius: 4
            color: root.isConnected ? Theme.replaying : "transparent"
            border.width: root.isConnected ? 0 : 2
            border.color: Theme.mutedText
        }
        Text {
            Layout.fillWidth: true
            visible: !root.isNarrow
            text: root.stateText
            color: Theme.text
            font.pixelSize: Theme.textSize
            font.weight: Font.Medium
        }
        HostButton {
            objectName: "networkButton"
            Layout.fillWidth: root.isNarrow
            quiet: true
            iconName: root.isNarrow ? "network" : "settings"
            accessibleName: qsTr("Network settings")
            hint: root.isNarrow ? [root.stateText, root.place, root.security].join(", ") : qsTr("Network settings")
            shortcut: qsTr("Ctrl+,")
            onClicked: root.networkRequested()
        }
    }
    ForeignText {
        Layout.leftMargin: Theme.spacingSmall
        Layout.fillWidth: true
        visible: !root.isNarrow
        text: root.place
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
    }
    Text {
        Layout.leftMargin: Theme.spacingSmall
        Layout.bottomMargin: 4
        Layout.fillWidth: true
        visible: !root.isNarrow
        text: root.security
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
    }
}

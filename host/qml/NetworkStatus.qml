// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane

// Whether the host is on the network, on which, and whether that is secured.
ColumnLayout {
    id: root

    readonly property bool isConnected: NetworkConfiguration.isConnected

    signal networkRequested

    spacing: 4

    RowLayout {
        Layout.leftMargin: Theme.spacingSmall
        spacing: Theme.spacingSmall

        Rectangle {
            Layout.preferredWidth: 8
            Layout.preferredHeight: 8
            radius: 4
            color: root.isConnected ? Theme.replaying : "transparent"
            border.width: root.isConnected ? 0 : 2
            border.color: Theme.mutedText
        }
        Text {
            Layout.fillWidth: true
            text: root.isConnected ? qsTr("Connected") : qsTr("Not connected")
            color: Theme.text
            font.pixelSize: Theme.textSize
            font.weight: Font.Medium
        }
        HostButton {
            quiet: true
            iconName: "settings"
            hint: qsTr("Network settings")
            onClicked: root.networkRequested()
        }
    }
    Text {
        Layout.leftMargin: Theme.spacingSmall
        Layout.fillWidth: true
        text: qsTr("%1, port %2").arg(NetworkConfiguration.device).arg(NetworkConfiguration.port)
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
        elide: Text.ElideRight
        textFormat: Text.PlainText
    }
    Text {
        Layout.leftMargin: Theme.spacingSmall
        Layout.bottomMargin: 4
        Layout.fillWidth: true
        text: NetworkConfiguration.isQuenarySecurityActivated ? qsTr("Security on") : qsTr("Security off")
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
    }
}

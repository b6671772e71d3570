// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// Which network to join. Changes take effect with the next connection, so the fields rest while the host is connected.
HostPopup {
    id: root

    required property HostApplication host
    readonly property bool editable: !NetworkConfiguration.isConnected
    readonly property int typedPort: /^[0-9]{1,5}$/.test(portField.text) ? parseInt(portField.text) : 0
    readonly property bool isPortGood: typedPort >= 1 && typedPort <= 65535

    width: Math.min(440, (parent?.width ?? 0) - 80)
    onAboutToShow: {
        NetworkConfiguration.refreshAvailableDevices();
        portField.text = NetworkConfiguration.port;
        peersField.text = NetworkConfiguration.peers;
        deviceField.text = NetworkConfiguration.device;
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing

        Text {
            text: qsTr("Network")
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
        }
        GridLayout {
            Layout.fillWidth: true
            columns: 2
            columnSpacing: Theme.spacing
            rowSpacing: Theme.spacingSmall

            FieldLabel {
                text: qsTr("Device")
            }
            HostField {
                id: deviceField
                Layout.fillWidth: true
                enabled: root.editable
                Accessible.name: qsTr("Network device")
            }
            Item {}
            Flow {
                Layout.fillWidth: true
                spacing: Theme.spacingSmall

                Repeater {
                    model: NetworkConfiguration.availableDevices

                    HostButton {
                        required property string modelData
                        text: modelData
                        available: root.editable
                        onClicked: deviceField.text = modelData
                    }
                }
            }
            FieldLabel {
                text: qsTr("Port")
            }
            HostField {
                id: portField
                Layout.fillWidth: true
                enabled: root.editable
                isWrong: !root.isPortGood
                inputMethodHints: Qt.ImhDigitsOnly
                Accessible.name: qsTr("Discovery port")
            }
            FieldLabel {
                text: qsTr("Peers")
            }
            HostField {
                id: peersField
                Layout.fillWidth: true
                enabled: root.editable
                placeholderText: qsTr("host:port,host:port")
                Accessible.name: qsTr("Peers to try besides discovery")
            }
        }
        Text {
            Layout.fillWidth: true
            visible: text !== ""
            text: !root.editable ? "" : !root.isPortGood ? qsTr("The port is a number from 1 to 65535.") : NetworkConfiguration.errorText
            color: Theme.recording
            font.pixelSize: Theme.smallTextSize
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
        RowLayout {
            Layout.topMargin: Theme.spacingSmall
            Layout.alignment: Qt.AlignRight
            spacing: Theme.spacingSmall

            HostButton {
                text: qsTr("Close")
                onClicked: root.close()
            }
            HostButton {
                visible: !root.editable
                text: qsTr("Disconnect")
                iconName: "plug"
                onClicked: NetworkConfiguration.disconnectFromNetwork()
            }
            HostButton {
                visible: root.editable
                text: qsTr("Connect")
                iconName: "plug"
                primary: true
                available: root.isPortGood
                onClicked: {
                    NetworkConfiguration.device = deviceField.text.trim();
                    NetworkConfiguration.port = root.typedPort;
                    NetworkConfiguration.peers = peersField.text.trim();
                    if (NetworkConfiguration.connectToNetwork()) {
                        root.close();
                    }
                }
            }
        }
    }

    component FieldLabel: Text {
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
    }
}

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
    readonly property bool isSecurityWhole: (privateField.text.trim() === "") === (publicField.text.trim() === "")
    readonly property bool isGood: isPortGood && isSecurityWhole
    // How often the files of the two paths were looked at since the window opened, 0 while it is closed: others add, remove
    // and mend them meanwhile.
    property int looks: 0

    function connectAsTyped(): void {
        if (!root.editable || !root.isGood) {
            return;
        }
        NetworkConfiguration.device = deviceField.text.trim();
        NetworkConfiguration.port = root.typedPort;
        NetworkConfiguration.peers = peersField.text.trim();
        NetworkConfiguration.privateCertificate = privateField.text.trim();
        NetworkConfiguration.publicCertificates = publicField.text.trim();
        if (NetworkConfiguration.connectToNetwork()) {
            root.close();
        }
    }

    width: Math.min(520, (parent?.width ?? 0) - 80)
    onClosed: looks = 0
    onAboutToShow: {
        looks = 1;
        NetworkConfiguration.refreshAvailableDevices();
        portField.text = NetworkConfiguration.port;
        peersField.text = NetworkConfiguration.peers;
        privateField.text = NetworkConfiguration.privateCertificate;
        publicField.text = NetworkConfiguration.publicCertificates;
        deviceField.text = NetworkConfiguration.device;
        if (root.editable) {
            deviceField.forceActiveFocus();
        } else {
            closeButton.button.forceActiveFocus();
        }
    }

    Timer {
        interval: 1000
        repeat: true
        running: root.looks > 0
        onTriggered: ++root.looks
    }

    contentItem: ColumnLayout {
        Accessible.role: Accessible.Dialog
        Accessible.name: qsTr("Network")
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
                objectName: "deviceField"
                enabled: root.editable
                onAccepted: root.connectAsTyped()
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
                objectName: "portField"
                enabled: root.editable
                onAccepted: root.connectAsTyped()
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
                objectName: "peersField"
                enabled: root.editable
                onAccepted: root.connectAsTyped()
                placeholderText: qsTr("host:port,host:port")
                Accessible.name: qsTr("Peers to try besides discovery")
            }
            FieldLabel {
                text: qsTr("Private certificate")
            }
            CertificateField {
                id: privateField
                Layout.fillWidth: true
                objectName: "privateCertificateField"
                label: qsTr("Private certificate of this host")
                placeholderText: qsTr("File, if secured")
                available: root.editable
                isMissing: !root.isSecurityWhole && path === ""
                found: root.looks === 0 || path === "" ? null : NetworkConfiguration.privateCertificateAt(path)
                onAccepted: root.connectAsTyped()
            }
            FieldLabel {
                text: qsTr("Public certificates")
            }
            CertificateField {
                id: publicField
                Layout.fillWidth: true
                objectName: "publicCertificatesField"
                label: qsTr("Folder of the public certificates that are let in")
                placeholderText: qsTr("Folder of those who are let in")
                isFolder: true
                available: root.editable
                isMissing: !root.isSecurityWhole && path === ""
                found: root.looks === 0 || path === "" ? null : NetworkConfiguration.publicCertificatesIn(path)
                onAccepted: root.connectAsTyped()
            }
        }
        Text {
            objectName: "securityState"
            Layout.fillWidth: true
            text: privateField.text.trim() !== "" && publicField.text.trim() !== "" ? qsTr("Secured: only those whose certificates are in the folder are met, and what is started from here is secured too.") : qsTr("Open: whoever reaches this network can see and command its agents.")
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            visible: !root.editable
            text: qsTr("Disconnect to change these.")
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
            wrapMode: Text.Wrap
        }
        Text {
            objectName: "networkProblem"
            Layout.fillWidth: true
            visible: text !== ""
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
            text: !root.editable ? "" : !root.isPortGood ? qsTr("The port is a number from 1 to 65535.") : !root.isSecurityWhole ? qsTr("Security needs both, the private certificate and the folder of public ones.") : NetworkConfiguration.errorText
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
                id: closeButton
                objectName: "closeNetworkButton"
                hint: qsTr("Leave it as it is")
                shortcut: qsTr("Esc")
                text: qsTr("Close")
                onClicked: root.close()
            }
            HostButton {
                objectName: "disconnectNetworkButton"
                visible: !root.editable
                text: qsTr("Disconnect")
                iconName: "plug"
                onClicked: NetworkConfiguration.disconnectFromNetwork()
            }
            HostButton {
                objectName: "connectNetworkButton"
                visible: root.editable
                text: qsTr("Connect")
                iconName: "plug"
                primary: true
                available: root.isGood
                onClicked: root.connectAsTyped()
            }
        }
    }

    // In the middle of the field beside it, also where something is said under that.
    component FieldLabel: Text {
        Layout.alignment: Qt.AlignTop
        Layout.preferredHeight: Theme.controlHeight
        verticalAlignment: Text.AlignVCenter
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// The pages to choose from, and what holds for all of them: network, security, theme.
Rectangle {
    id: root

    required property HostApplication host

    signal networkRequested

    implicitWidth: 232
    color: Theme.surface

    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.line
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.rightMargin: 1
        spacing: 0

        Item {
            Layout.fillWidth: true
            Layout.preferredHeight: 56

            Image {
                x: Theme.spacingLarge
                anchors.verticalCenter: parent.verticalCenter
                source: "qrc:/corvane/icons/corvane.svg"
                sourceSize: Qt.size(24, 24)
            }
            Text {
                x: Theme.spacingLarge + 24 + Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                text: "Corvane"
                color: Theme.text
                font.pixelSize: Theme.largeTitleSize
                font.weight: Font.DemiBold
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingSmall
            spacing: 4

            SidebarEntry {
                Layout.fillWidth: true
                text: qsTr("System")
                icon.source: "qrc:/corvane/icons/system.svg"
                current: root.host.currentEntry === null
                onClicked: root.host.currentEntry = null
            }
            Repeater {
                model: PluginManager.modules

                SidebarEntry {
                    required property CorvaneModuleEntry qtObject

                    Layout.fillWidth: true
                    text: qtObject.modulesMenuLabel.replace(/&/g, "&&") // else read as the mark of a shortcut
                    icon.source: qtObject.modulesMenuIcon
                    icon.color: "transparent" // the module's own colours
                    current: root.host.currentEntry === qtObject
                    onClicked: root.host.currentEntry = qtObject
                }
            }
        }

        Item {
            Layout.fillHeight: true
        }

        NetworkStatus {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingSmall
            onNetworkRequested: root.networkRequested()
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }
        ThemeChooser {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingSmall
        }
    }
}

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
    // Icons only, where room is scarce.
    property bool isNarrow: false
    property bool hasShortcuts: true

    signal networkRequested

    implicitWidth: isNarrow ? 57 : 232
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
            Layout.preferredHeight: 55

            Image {
                x: Theme.spacingLarge
                anchors.verticalCenter: parent.verticalCenter
                source: "qrc:/corvane/icons/corvane.svg"
                sourceSize: Qt.size(24, 24)
            }
            Text {
                x: Theme.spacingLarge + 24 + Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                visible: !root.isNarrow
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
            Accessible.role: Accessible.PageTabList
            Accessible.name: qsTr("Pages")

            SidebarEntry {
                objectName: "systemEntry"
                Layout.fillWidth: true
                isNarrow: root.isNarrow
                label: qsTr("System")
                shortcut: qsTr("Ctrl+%1").arg(1)
                hasShortcut: root.hasShortcuts
                icon.source: "qrc:/corvane/icons/system.svg"
                current: root.host.currentEntry === null
                onClicked: root.host.currentEntry = null
            }
            Repeater {
                model: PluginManager.modules

                SidebarEntry {
                    required property int index
                    required property CorvaneModuleEntry qtObject

                    objectName: "moduleEntry"
                    Layout.fillWidth: true
                    isNarrow: root.isNarrow
                    label: qtObject.modulesMenuLabel
                    shortcut: index < 8 ? qsTr("Ctrl+%1").arg(index + 2) : ""
                    hasShortcut: root.hasShortcuts
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
            isNarrow: root.isNarrow
            onNetworkRequested: root.networkRequested()
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }
        ThemeChooser {
            Layout.margins: Theme.spacingSmall
            Layout.alignment: root.isNarrow ? Qt.AlignHCenter : Qt.AlignLeft
            columns: root.isNarrow ? 1 : 3
        }
    }
}

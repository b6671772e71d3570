// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import Corvane.Host

// The host's window: the pages at the left, the chosen one beside them.
ApplicationWindow {
    id: root

    required property HostApplication host
    readonly property CorvaneModuleEntry entry: host.currentEntry

    minimumWidth: 960
    minimumHeight: 600
    title: (entry === null ? qsTr("System") : entry.modulesMenuLabel) + " – " + host.documentName
    color: Theme.background
    font.pixelSize: Theme.textSize
    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.text: Theme.text
    palette.button: Theme.raised
    palette.buttonText: Theme.text
    palette.highlight: Theme.accent
    palette.highlightedText: Theme.accentText
    palette.placeholderText: Theme.mutedText
    palette.mid: Theme.line
    palette.toolTipBase: Theme.raised
    palette.toolTipText: Theme.text
    onClosing: close => close.accepted = root.host.mayClose()

    Shortcut {
        sequences: [StandardKey.New]
        onActivated: root.host.createDocumentAsked()
    }
    Shortcut {
        sequences: [StandardKey.Open]
        onActivated: root.host.openDocumentAsked()
    }
    Shortcut {
        sequences: [StandardKey.Save]
        onActivated: root.host.saveDocumentAsked(false)
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: root.close()
    }

    Sidebar {
        id: sidebar
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: implicitWidth
        host: root.host
        onNetworkRequested: networkPopup.open()
    }

    Item {
        anchors.left: sidebar.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom

        TopBar {
            id: topBar
            width: parent.width
            host: root.host
        }
        NoticeBar {
            id: notices
            anchors.top: topBar.bottom
            width: parent.width
            host: root.host
        }
        SystemPage {
            anchors.top: notices.bottom
            anchors.bottom: parent.bottom
            width: parent.width
            visible: root.entry === null
            host: root.host
        }
        // Every module keeps its page while another one is shown: what was typed or scrolled there stays.
        Repeater {
            model: PluginManager.modules

            ModulePage {
                required property CorvaneModuleEntry qtObject

                y: notices.y + notices.height
                width: parent?.width ?? 0
                height: (parent?.height ?? 0) - y
                visible: root.entry === qtObject
                entry: qtObject
            }
        }
    }

    NetworkPopup {
        id: networkPopup
        host: root.host
    }
}

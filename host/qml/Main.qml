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
    readonly property SystemDocument document: SystemDocumentHandler.currentSystemDocument
    // Keys pass by what is asked.
    readonly property bool hasShortcuts: !networkPopup.visible

    minimumWidth: 800
    minimumHeight: 560 // with its frame on a screen of 800 by 600
    title: (entry === null ? qsTr("System") : entry.modulesMenuLabel) + " – " + host.documentName + (document !== null && document.isModified ? "*" : "")
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
    onClosing: close => close.accepted = root.host.mayClose()

    // The same on every desktop: not each has standard keys for all of them.
    Shortcut {
        sequence: "Ctrl+N"
        enabled: root.hasShortcuts
        onActivated: root.host.createDocumentAsked()
    }
    Shortcut {
        sequence: "Ctrl+O"
        enabled: root.hasShortcuts
        onActivated: root.host.openDocumentAsked()
    }
    Shortcut {
        sequence: "Ctrl+R"
        enabled: root.hasShortcuts
        onActivated: topBar.showRecent()
    }
    Shortcut {
        sequence: "Ctrl+S"
        enabled: root.hasShortcuts
        onActivated: root.host.saveDocumentAsked(false)
    }
    Shortcut {
        sequence: "Ctrl+Shift+S"
        enabled: root.hasShortcuts
        onActivated: root.host.saveDocumentAsked(true)
    }
    Shortcut {
        sequence: "Ctrl+,"
        enabled: root.hasShortcuts
        onActivated: networkPopup.open()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.close()
    }

    Sidebar {
        id: sidebar
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: implicitWidth
        isNarrow: root.width < 1060
        hasShortcuts: root.hasShortcuts
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
            hasShortcuts: root.hasShortcuts
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

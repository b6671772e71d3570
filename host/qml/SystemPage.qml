// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Corvane
import Corvane.Host

// Every class instance of the current system view, and the agents of the network that stand in none.
Item {
    id: root

    required property HostApplication host
    property bool hasShortcuts: true
    readonly property SystemDocument document: SystemDocumentHandler.currentSystemDocument
    readonly property SystemView view: document === null ? null : document.currentSystemView

    function chooseClass(): void {
        classMenu.popup(addButton, addButton.width - classMenu.width, addButton.height + 4);
    }

    Shortcut {
        sequence: "Ins"
        enabled: root.visible && root.hasShortcuts && addButton.available
        onActivated: root.chooseClass()
    }
    RowLayout {
        id: header
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacingSmall

        Text {
            text: root.view === null ? "" : root.view.name
            color: Theme.text
            font.pixelSize: Theme.largeTitleSize
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Text {
            Layout.fillWidth: true
            text: root.view === null ? "" : qsTr("%n instance(s)", "", root.view.instances.count)
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
        }
        HostButton {
            objectName: "plantButton"
            visible: root.host.isPlantAvailable
            hint: root.host.isPlantRunning ? qsTr("End the sample agents") : qsTr("Start a small plant of sample agents")
            iconName: root.host.isPlantRunning ? "stop" : "play"
            text: root.host.isPlantRunning ? qsTr("Stop sample plant") : qsTr("Start sample plant")
            available: root.host.isPlantRunning || NetworkConfiguration.isConnected
            unavailableHint: qsTr("The host is not on the network")
            onClicked: root.host.isPlantRunning ? root.host.stopPlant() : root.host.startPlant()
        }
        HostButton {
            id: addButton
            objectName: "addInstanceButton"
            hint: qsTr("Add an agent to this system")
            shortcut: qsTr("Ins")
            iconName: "plus"
            text: qsTr("Add")
            primary: true
            available: root.view !== null
            onClicked: root.chooseClass()

            ClassMenu {
                id: classMenu
            }
        }
    }

    ListView {
        id: list
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.leftMargin: Theme.pageMargin
        anchors.rightMargin: Theme.pageMargin
        anchors.topMargin: Theme.spacingLarge
        clip: true
        objectName: "instancesList"
        activeFocusOnTab: true
        highlightMoveDuration: 0
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Agents of the system")
        boundsBehavior: Flickable.StopAtBounds
        model: root.view === null ? null : root.view.instances
        ScrollBar.vertical: ScrollBar {}

        delegate: CardRow {
            id: card

            required property int index
            required property SystemViewClassInstance qtObject

            width: ListView.view.width
            isFirst: index === 0
            isLast: index === ListView.view.count - 1
            isCursor: activeFocus
            Accessible.role: Accessible.ListItem
            Accessible.name: [card.qtObject?.name ?? "", row.className, row.control.machineText, row.control.stateWord].join(", ")
            Accessible.onPressAction: row.press()
            Keys.onReturnPressed: row.press()
            Keys.onEnterPressed: row.press()
            Keys.onDeletePressed: confirmDeletion.ask(card.qtObject)

            InstanceRow {
                id: row
                isTabStop: card.ListView.isCurrentItem
                anchors.fill: parent
                host: root.host
                instance: card.qtObject
                onDeletionRequested: confirmDeletion.ask(card.qtObject)
                onEndRequested: confirmEnd.ask(row.control)
            }
        }

        footer: Column {
            width: ListView.view.width
            topPadding: list.count > 0 ? Theme.pageMargin : 0
            bottomPadding: Theme.pageMargin

            EmptySystem {
                width: parent.width
                visible: list.count === 0
                onAddRequested: root.chooseClass()
            }
            SystemFooter {
                width: parent.width
                host: root.host
                document: root.document
            }
        }
    }

    ConfirmDeletion {
        id: confirmDeletion
    }
    ConfirmEnd {
        id: confirmEnd
    }
}

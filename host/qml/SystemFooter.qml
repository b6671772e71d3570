// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import Corvane.Host

// Below the agents of the system: those of the network that stand in no view, and the machines.
Column {
    id: root

    required property HostApplication host
    required property SystemDocument document
    readonly property int unplacedCount: document === null ? 0 : document.unplacedAgents.count
    readonly property int machineCount: document === null ? 0 : document.hosts.count
    readonly property Host onlyMachine: machineCount === 1 ? document.hosts.get(0) as Host : null
    // One machine needs no list, unless it has a launcher: whoever started that looks for it here.
    readonly property bool hasMachines: machineCount > 1 || (onlyMachine?.hasLauncher ?? false)

    component Title: Text {
        bottomPadding: Theme.spacingSmall
        color: Theme.text
        font.pixelSize: Theme.textSize
        font.weight: Font.DemiBold
    }

    Title {
        visible: root.unplacedCount > 0
        text: qsTr("On the network, in no view")
    }
    Repeater {
        model: root.document === null ? null : root.document.unplacedAgents

        CardRow {
            id: unplacedCard

            required property int index
            required property RunningAgentInfo qtObject

            width: root.width
            isFirst: index === 0
            isLast: index === root.unplacedCount - 1
            implicitHeight: Theme.rowHeight

            UnplacedRow {
                anchors.fill: parent
                host: root.host
                agent: unplacedCard.qtObject
            }
        }
    }
    Title {
        visible: root.hasMachines
        topPadding: root.unplacedCount > 0 ? Theme.pageMargin : 0
        text: qsTr("Machines")
    }
    Repeater {
        model: root.hasMachines ? root.document.hosts : null

        CardRow {
            id: machineCard

            required property int index
            required property Host qtObject

            width: root.width
            isFirst: index === 0
            isLast: index === root.machineCount - 1
            implicitHeight: Theme.rowHeight

            MachineRow {
                anchors.fill: parent
                machine: machineCard.qtObject
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "../widgets"

// Which agents of a record are replayed: a summary, and behind it the list to choose from.
Hinted {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record
    readonly property int count: record?.agentsFilters.count ?? 0
    readonly property bool isUsable: record !== null && record.replayIsAtStart && count > 0
    // Read once for all the changes of one turn: hundreds of agents may be switched together.
    property string recapText

    function readRecap(): void {
        root.recapText = root.record?.agentsFilterRecap ?? qsTr("N/A");
    }
    function finish(): void {
        choice.active = false;
        summary.forceActiveFocus();
    }

    implicitHeight: Theme.controlHeight
    hint: qsTr("Choose the agents to replay")
    unavailableHint: count === 0 ? qsTr("There is no agent to choose") : qsTr("Stop the replay to choose its agents: they can only change at its start")
    available: isUsable
    onRecordChanged: readRecap()
    onIsUsableChanged: {
        if (!isUsable && choice.active) {
            finish();
        }
    }

    Connections {
        function onAgentsFilterRecapChanged(): void {
            Qt.callLater(root.readRecap);
        }

        target: root.record
    }
    AbstractButton {
        id: summary

        objectName: "agentsFilter"
        anchors.fill: parent
        focus: true
        enabled: root.available
        Accessible.role: Accessible.ButtonDropDown
        Accessible.name: qsTr("Agents: %1").arg(root.recapText)
        Accessible.description: root.available ? root.hint : root.unavailableHint
        onClicked: choice.active = true

        background: Rectangle {
            radius: Theme.radius
            opacity: root.available ? 1 : Theme.disabledOpacity
            color: summary.hovered ? Theme.hovered : Theme.raised
            border.width: 1
            border.color: Theme.line

            FocusRing {
                visible: summary.visualFocus
            }
        }

        Text {
            id: recap
            objectName: "agentsFilterRecap"
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacing
            anchors.right: total.left
            anchors.rightMargin: Theme.spacingSmall
            anchors.verticalCenter: parent.verticalCenter
            text: root.recapText
            // Not dimmed while nothing can be chosen: it is there to be read.
            color: root.available ? Theme.text : Theme.mutedText
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Figures {
            id: total
            anchors.right: chevron.left
            anchors.rightMargin: 4
            anchors.verticalCenter: parent.verticalCenter
            text: root.record?.agentsFilterState === Qt.PartiallyChecked ? qsTr("of %1").arg(root.count) : ""
            color: Theme.mutedText
        }
        Glyph {
            id: chevron
            opacity: root.available ? 1 : Theme.disabledOpacity
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingSmall
            anchors.verticalCenter: parent.verticalCenter
            path: "M4.5 6.5 8 10l3.5-3.5"
            ink: Theme.mutedText
        }
    }
    Loader {
        id: choice
        active: false
        sourceComponent: Component {
            AgentsFilterPopup {
                parent: root
                y: root.height + 4
                width: Math.max(280, root.width)
                record: root.record
                isBusy: root.recorder.isFilteringRecord
                visible: true
                onChanged: root.recorder.beforeUpdateRecordAgentsFilter(root.record)
                onClosed: root.finish()
            }
        }
    }
}

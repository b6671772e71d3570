// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "../widgets"

// The agents of a record with their check marks. Space switches the agent that the arrow keys are on.
Popup {
    id: root

    required property RecorderRecord record
    // The recorder takes over the last change.
    required property bool isBusy
    readonly property string wanted: search.text.trim().toLowerCase()
    // Read anew when the record's agents change.
    readonly property int count: record?.agentsFilters.count ?? 0
    readonly property var found: count > 0 ? find(wanted) : []
    // Of those that were found. Read once for all the changes of one turn: hundreds may be switched together.
    property int foundState: Qt.Unchecked

    // Check marks were changed, by the person who looks at them.
    signal changed

    function find(wanted: string): var {
        return root.record.agentsFilters.toVariantList().filter(agent => agent.name.toLowerCase().includes(wanted));
    }

    function readFoundState(): void {
        const checked = root.found.filter(agent => agent?.checked ?? false).length;
        root.foundState = checked === 0 ? Qt.Unchecked : checked === root.found.length ? Qt.Checked : Qt.PartiallyChecked;
    }

    function switchOne(agent: RecordAgentFilter, checked: bool): void {
        agent.checked = checked;
        root.changed();
    }

    function switchAll(checked: bool): void {
        for (const agent of root.found) {
            agent.checked = checked;
        }
        root.changed();
    }

    function takeKeyboard(): void {
        root.forceActiveFocus();
    }

    height: Math.min(420, 20 + header.height + list.contentHeight)
    padding: 8
    margins: 8
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    enabled: !isBusy
    // Out of the way when that takes long: what the page says of it is behind.
    opacity: isBusy ? 0 : 1
    // The page takes the keyboard while the recorder is busy, and gives it back to its own parts.
    onEnabledChanged: {
        if (enabled) {
            Qt.callLater(root.takeKeyboard);
        }
    }
    onFoundChanged: readFoundState()
    onOpened: {
        search.text = "";
        list.forceActiveFocus();
    }

    Behavior on opacity {
        SequentialAnimation {
            PauseAnimation {
                duration: root.isBusy ? 200 : 0
            }
            NumberAnimation {
                duration: Theme.fadeDuration
            }
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }

    Connections {
        // It counts them, so that no change leaves it as it was.
        function onAgentsFilterRecapChanged(): void {
            Qt.callLater(root.readFoundState);
        }

        target: root.record
    }
    Column {
        id: header
        width: parent.width
        spacing: 4

        TextField {
            id: search

            objectName: "agentsSearch"
            visible: root.count > 12
            width: parent.width
            implicitHeight: Theme.controlHeight
            topPadding: 0
            bottomPadding: 0
            leftPadding: Theme.spacingSmall
            verticalAlignment: TextInput.AlignVCenter
            placeholderText: qsTr("Find an agent")
            placeholderTextColor: Theme.mutedText
            color: Theme.text
            font.pixelSize: Theme.textSize
            KeyNavigation.down: list
            Accessible.name: placeholderText
            background: Rectangle {
                radius: Theme.radius
                color: Theme.background
                border.width: search.activeFocus ? Theme.focusWidth : 1
                border.color: search.activeFocus ? Theme.accent : Theme.line
            }
        }
        AgentFilterCheckbox {
            objectName: "allAgents"
            x: Theme.spacingSmall
            width: parent.width - 2 * x
            isTabStop: true
            text: root.wanted === "" ? qsTr("All agents") : qsTr("All that were found")
            value: root.foundState
            onSwitched: checked => root.switchAll(checked)
        }
        Rectangle {
            width: parent.width
            height: 1
            color: Theme.line
        }
    }
    ListView {
        id: list

        objectName: "agentsList"
        anchors.top: header.bottom
        anchors.topMargin: 4
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        focus: true
        activeFocusOnTab: true
        reuseItems: true
        highlightMoveDuration: 0
        highlightResizeDuration: 0
        boundsBehavior: Flickable.StopAtBounds
        model: root.found
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Agents")
        ScrollBar.vertical: PageScrollBar {}
        Keys.onSpacePressed: {
            const agent = root.found[currentIndex] as RecordAgentFilter;
            if (agent !== null) {
                root.switchOne(agent, !agent.checked);
            }
        }
        Keys.onReturnPressed: root.close()

        delegate: AgentFilterListItem {
            required property int index
            required property RecordAgentFilter modelData

            width: ListView.view?.width ?? 0
            agent: modelData
            isCurrent: ListView.isCurrentItem && list.activeFocus
            onSwitched: checked => root.switchOne(agent, checked)
        }
    }
}

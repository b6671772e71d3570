// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// One class instance of the system view: where it runs, and the way to start, stop and delete it.
Item {
    id: root

    required property HostApplication host
    // Null for the moment between an instance's end and its row's.
    required property SystemViewClassInstance instance
    readonly property string className: instance?.systemViewClass?.name ?? ""
    // Its buttons are reached with Tab: only those of the row that the arrow keys are on.
    property bool isTabStop: true
    readonly property string machineText: machine()
    readonly property string stateWord: stateText()
    readonly property RunningAgentInfo agent: firstAgent()
    readonly property EncounteredAgentInfo launchLine: launchableLine()
    readonly property bool isStandIn: agent !== null && agent.isStandIn
    readonly property bool isRunning: instance?.isRunning ?? false
    // Where room is scarce the class stands under the name.
    readonly property bool isNarrow: width < 820
    // Why the last thing asked for did not happen; empty once something else was asked for.
    property string problem: ""
    // What was asked and has not been seen on the network yet: "start", "stop" or nothing.
    property string pending: ""

    signal deletionRequested

    function firstAgent(): RunningAgentInfo {
        return root.instance !== null && root.instance.runningAgentInfos.count > 0 ? root.instance.runningAgentInfos.get(0) as RunningAgentInfo : null;
    }

    // The first launch line that can be started from here.
    function launchableLine(): EncounteredAgentInfo {
        if (root.instance === null) {
            return null;
        }
        const groups = root.instance.encounteredAgentsOnHosts;
        for (let row = 0; row < groups.count; ++row) {
            const lines = (groups.get(row) as EncounteredAgentsOnHost).encounteredAgentInfos;
            for (let line = 0; line < lines.count; ++line) {
                const info = lines.get(line) as EncounteredAgentInfo;
                if (info.canBeLaunched) {
                    return info;
                }
            }
        }
        return null;
    }

    function machine(): string {
        if (root.agent !== null) {
            return root.agent.isAttachedToCorvane ? qsTr("this machine") : root.agent.host.networkName;
        }
        const group = root.instance !== null && root.instance.encounteredAgentsOnHosts.count > 0 ? root.instance.encounteredAgentsOnHosts.get(0) as EncounteredAgentsOnHost : null;
        if (group === null || group.host === null) {
            return "";
        }
        return group.isAttachedToCorvane ? qsTr("this machine") : group.host.networkName;
    }

    function stateText(): string {
        if (root.pending !== "") {
            return root.pending === "start" ? qsTr("Starting") : qsTr("Stopping");
        }
        return root.isStandIn ? qsTr("Replayed") : root.isRunning ? qsTr("Running") : qsTr("Off");
    }

    // What its button does, for keys too; a key is told why it does nothing.
    function press(): void {
        const button = root.isRunning ? stopButton : startButton;
        root.problem = button.available ? "" : button.unavailableHint;
        if (!button.available) {
            return;
        }
        if (root.isRunning) {
            root.pending = "stop";
            root.instance.turnOff(root.agent);
        } else if (SystemViewManager.startAgent(root.launchLine)) {
            root.pending = "start";
        }
    }

    implicitHeight: Theme.tallRowHeight
    onIsRunningChanged: {
        root.pending = "";
        root.problem = "";
    }

    Timer {
        interval: 6000
        running: root.pending !== ""
        onTriggered: {
            const text = root.pending === "start" ? qsTr("\"%1\" was started but did not appear on the network.") : qsTr("\"%1\" was asked to stop but goes on running.");
            root.pending = "";
            root.problem = text.arg(root.instance.name);
        }
    }
    Connections {
        function onTurnOffFailed(agent: RunningAgentInfo, message: string): void {
            root.pending = "";
            root.problem = message;
        }
        target: root.instance
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        Column {
            Layout.preferredWidth: 200
            Layout.fillWidth: true

            ForeignText {
                objectName: "instanceName"
                width: parent.width
                text: root.instance?.name ?? ""
                font.weight: Font.DemiBold
            }
            ForeignText {
                objectName: "instanceProblem"
                width: parent.width
                visible: text !== ""
                text: root.problem !== "" ? root.problem : root.isNarrow ? root.className : ""
                color: root.problem !== "" ? Theme.recording : Theme.mutedText
                font.pixelSize: Theme.smallTextSize
                Accessible.role: root.problem !== "" ? Accessible.AlertMessage : Accessible.StaticText
                Accessible.name: text
            }
        }
        ForeignText {
            Layout.preferredWidth: 170
            visible: !root.isNarrow
            text: root.className
            color: Theme.mutedText
        }
        ForeignText {
            Layout.preferredWidth: root.isNarrow ? 112 : 130
            text: root.machineText
            color: Theme.mutedText
        }
        // As wide as its longest word.
        Item {
            Layout.preferredWidth: 112
            implicitHeight: chip.implicitHeight

            StateChip {
                id: chip
                objectName: "instanceState"
                anchors.verticalCenter: parent.verticalCenter
                shape: root.isStandIn ? "triangle" : root.isRunning ? "dot" : "ring"
                ink: root.isStandIn ? Theme.replaying : root.isRunning ? Theme.text : Theme.mutedText
                text: root.stateWord
            }
        }
        HostButton {
            id: startButton
            objectName: "startInstanceButton"
            Layout.preferredWidth: 144
            visible: !root.isRunning
            isTabStop: root.isTabStop
            hint: qsTr("Start this agent")
            shortcut: qsTr("Enter")
            iconName: "plug"
            text: qsTr("Connect")
            available: root.launchLine !== null && root.pending === "" && !root.isStandIn && NetworkConfiguration.isConnected
            unavailableHint: {
                if (!NetworkConfiguration.isConnected) {
                    return qsTr("The host is not on the network");
                }
                if (root.isStandIn) {
                    return qsTr("A replay plays this agent's part");
                }
                return root.pending !== "" ? "" : qsTr("No launch line of it can be started from here");
            }
            onClicked: root.press()
        }
        HostButton {
            id: stopButton
            objectName: "stopInstanceButton"
            Layout.preferredWidth: 144
            visible: root.isRunning
            isTabStop: root.isTabStop
            hint: qsTr("Ask this agent to stop")
            shortcut: qsTr("Enter")
            iconName: "plug"
            text: qsTr("Disconnect")
            available: root.agent !== null && root.agent.canBeStopped && root.pending === ""
            unavailableHint: root.pending !== "" ? "" : qsTr("This agent does not take requests to stop")
            onClicked: root.press()
        }
        HostButton {
            objectName: "deleteInstanceButton"
            iconName: "trash"
            quiet: true
            isTabStop: root.isTabStop
            shortcut: qsTr("Del")
            hint: qsTr("Delete from the system")
            onClicked: root.deletionRequested()
        }
    }
}

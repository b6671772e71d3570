// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// One class instance of the system view: where it runs, and the way to start, stop and delete it.
Item {
    id: root

    required property HostApplication host
    required property SystemViewClassInstance instance
    readonly property RunningAgentInfo agent: firstAgent()
    readonly property EncounteredAgentInfo launchLine: launchableLine()
    readonly property bool isStandIn: agent !== null && agent.isStandIn
    readonly property bool isRunning: instance.isRunning
    // What was asked and has not been seen on the network yet: "start", "stop" or nothing.
    property string pending: ""

    signal deletionRequested

    function firstAgent(): RunningAgentInfo {
        return root.instance.runningAgentInfos.count > 0 ? root.instance.runningAgentInfos.get(0) as RunningAgentInfo : null;
    }

    // The first launch line that can be started from here.
    function launchableLine(): EncounteredAgentInfo {
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
        const group = root.instance.encounteredAgentsOnHosts.count > 0 ? root.instance.encounteredAgentsOnHosts.get(0) as EncounteredAgentsOnHost : null;
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

    implicitHeight: Theme.tallRowHeight
    onIsRunningChanged: root.pending = ""

    Timer {
        interval: 6000
        running: root.pending !== ""
        onTriggered: {
            const text = root.pending === "start" ? qsTr("\"%1\" was started but did not appear on the network.") : qsTr("\"%1\" was asked to stop but goes on running.");
            root.pending = "";
            root.host.addNotice(text.arg(root.instance.name));
        }
    }
    Connections {
        function onTurnOffFailed(agent: RunningAgentInfo, message: string): void {
            root.pending = "";
            root.host.addNotice(message);
        }
        target: root.instance
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        Text {
            Layout.preferredWidth: 200
            Layout.fillWidth: true
            text: root.instance.name
            color: Theme.text
            font.pixelSize: Theme.textSize
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Text {
            Layout.preferredWidth: 170
            text: root.instance.systemViewClass.name
            color: Theme.mutedText
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Text {
            Layout.preferredWidth: 130
            text: root.machine()
            color: Theme.mutedText
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Item {
            Layout.preferredWidth: 110
            implicitHeight: chip.implicitHeight

            StateChip {
                id: chip
                anchors.verticalCenter: parent.verticalCenter
                shape: root.isStandIn ? "triangle" : root.isRunning ? "dot" : "ring"
                ink: root.isStandIn ? Theme.replaying : root.isRunning ? Theme.text : Theme.mutedText
                text: root.stateText()
            }
        }
        HostButton {
            Layout.preferredWidth: 128
            visible: !root.isRunning
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
            onClicked: {
                if (SystemViewManager.startAgent(root.launchLine)) {
                    root.pending = "start";
                }
            }
        }
        HostButton {
            Layout.preferredWidth: 128
            visible: root.isRunning
            iconName: "plug"
            text: qsTr("Disconnect")
            available: root.agent !== null && root.agent.canBeStopped && root.pending === ""
            unavailableHint: root.pending !== "" ? "" : qsTr("This agent does not take requests to stop")
            onClicked: {
                root.pending = "stop";
                root.instance.turnOff(root.agent);
            }
        }
        HostButton {
            iconName: "trash"
            hint: qsTr("Delete from the system")
            onClicked: root.deletionRequested()
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// What can be done with one class instance now: start it, ask it to stop, and have it ended when it does not answer.
// Shows nothing.
Item {
    id: root

    // Null for the moment between an instance's end and its row's.
    required property SystemViewClassInstance instance
    readonly property RunningAgentInfo agent: firstAgent()
    readonly property EncounteredAgentInfo launchLine: launchableLine()
    readonly property bool isStandIn: agent !== null && agent.isStandIn
    readonly property bool isRunning: instance?.isRunning ?? false
    readonly property string machineText: machine()
    readonly property string stateWord: stateText()
    // Why the last thing asked for did not happen; empty once something else was asked for.
    property string problem: ""
    // What was asked and has not been seen on the network yet: "start", "stop", "end" or nothing.
    property string pending: ""
    // It runs unseen where its launcher started it by this line.
    property EncounteredAgentInfo hiddenLine: null
    // It was asked to stop, and did not.
    property bool isDeaf: false
    readonly property bool canBeEnded: pending === "" && (hiddenLine !== null || (isDeaf && agent !== null && !agent.isAttachedToCorvane && agent.host.hasLauncher))
    // Why the button that starts or stops it does nothing; empty when it does, and while it waits.
    readonly property string obstacle: isRunning ? stopObstacle() : startObstacle()
    readonly property bool isAvailable: pending === "" && obstacle === ""

    function firstAgent(): RunningAgentInfo {
        return root.instance !== null && root.instance.runningAgentInfos.count > 0 ? root.instance.runningAgentInfos.get(0) as RunningAgentInfo : null;
    }

    function firstGroup(): EncounteredAgentsOnHost {
        return root.instance !== null && root.instance.encounteredAgentsOnHosts.count > 0 ? root.instance.encounteredAgentsOnHosts.get(0) as EncounteredAgentsOnHost : null;
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
        const group = root.firstGroup();
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

    function startObstacle(): string {
        if (!NetworkConfiguration.isConnected) {
            return qsTr("The host is not on the network");
        }
        if (root.isStandIn) {
            return qsTr("A replay plays this agent's part");
        }
        if (root.launchLine !== null) {
            return "";
        }
        const group = root.firstGroup();
        if (group !== null && group.host !== null && !group.isAttachedToCorvane && !group.host.hasLauncher) {
            return qsTr("%1 has no launcher: start qnyLauncher there, on this network").arg(group.host.networkName);
        }
        return qsTr("No launch line of it can be started from here");
    }

    function stopObstacle(): string {
        return root.agent !== null && root.agent.canBeStopped ? "" : qsTr("This agent does not take requests to stop");
    }

    // A key is told why it does nothing.
    function press(): void {
        root.problem = root.obstacle;
        if (!root.isAvailable) {
            return;
        }
        if (root.isRunning) {
            root.pending = "stop";
            root.instance.turnOff(root.agent);
        } else if (SystemViewManager.startAgent(root.launchLine)) {
            root.pending = "start";
        }
    }

    function end(): void {
        root.problem = "";
        if (SystemViewManager.endAgent(root.agent, root.hiddenLine)) {
            root.pending = "end";
        }
        root.forget();
    }

    function forget(): void {
        root.hiddenLine = null;
        root.isDeaf = false;
    }

    visible: false
    onIsRunningChanged: {
        root.pending = "";
        root.problem = "";
        root.forget();
    }

    Timer {
        interval: root.pending === "end" ? 15000 : 6000
        running: root.pending !== ""
        onTriggered: {
            const wasStart = root.pending === "start";
            const text = wasStart ? qsTr("\"%1\" was started but did not appear on the network.") : qsTr("\"%1\" was asked to stop but goes on running.");
            root.isDeaf = !wasStart;
            root.pending = "";
            root.problem = text.arg(root.instance.name);
        }
    }
    Connections {
        function onTurnOffFailed(agent: RunningAgentInfo, message: string): void {
            root.pending = "";
            root.problem = message;
            root.isDeaf = true;
        }
        function onLaunchFailed(info: EncounteredAgentInfo, message: string, canBeEnded: bool): void {
            root.pending = "";
            root.problem = message;
            root.hiddenLine = canBeEnded ? info : null;
        }
        function onLaunchStopped(): void {
            if (root.pending === "end" && !root.isRunning) {
                root.pending = "";
            }
        }
        target: root.instance
    }
}

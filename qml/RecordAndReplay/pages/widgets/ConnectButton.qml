// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay

// Starts a recorder's agent or asks it to stop. Whether it did is seen on the network: until then the button waits, and
// when nothing was seen for a while it says so in `problem`.
DarkOrLightTextButton {
    id: root

    // Null while no recorder is shown.
    required property RecorderInstance recorder
    readonly property bool isOn: recorder?.isOn ?? false
    // "start", "stop" or nothing.
    property string pending: ""
    property string problem: ""
    // Milliseconds until nothing seen is a problem.
    property int patience: 8000
    // Without its word, where room is scarce.
    property bool isShort: false
    readonly property string word: {
        if (pending !== "") {
            return pending === "start" ? qsTr("Connecting…") : qsTr("Disconnecting…");
        }
        return isOn ? qsTr("Disconnect") : qsTr("Connect");
    }

    function press(): void {
        root.problem = "";
        root.pending = root.isOn ? "stop" : "start";
        refusal.enabled = true;
        if (root.isOn) {
            root.recorder.disconnectAgent();
        } else {
            root.recorder.connectAgent();
        }
        refusal.enabled = false;
    }

    objectName: "connectButton"
    iconName: "plug"
    text: isShort ? "" : word
    button.Accessible.name: word
    hint: isOn ? qsTr("Ask the recorder's agent to stop") : qsTr("Start the recorder's agent")
    available: pending === "" && (isOn || ((recorder?.isRunnable ?? false) && NetworkConfiguration.isConnected))
    unavailableHint: {
        if (pending !== "") {
            return qsTr("Waiting for the recorder to be seen on the network");
        }
        return NetworkConfiguration.isConnected ? qsTr("This recorder cannot be started from here: its machine has no launcher") : qsTr("Please connect your platform");
    }
    onIsOnChanged: {
        root.pending = "";
        root.problem = "";
    }
    onClicked: press()

    Timer {
        interval: root.patience
        running: root.pending !== ""
        onTriggered: {
            root.problem = root.pending === "start" ? qsTr("It was started but did not appear on the network") : qsTr("It was asked to stop but goes on running");
            root.pending = "";
        }
    }
    Connections {
        id: refusal

        function onProblemRaised(message: string): void {
            root.pending = "";
            root.problem = message;
        }

        enabled: false
        target: SystemViewManager
    }
    Connections {
        function onTurnOffFailed(agent: RunningAgentInfo, message: string): void {
            if (agent === root.recorder.runningAgentInfo) {
                root.pending = "";
                root.problem = message;
            }
        }

        target: root.recorder?.instance ?? null
    }
}

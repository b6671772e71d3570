// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay
import "../pages/widgets"

// Offered when a recorder takes long: it may be slow, or it may never answer.
Column {
    id: root

    // Null while no recorder is shown.
    required property RecorderInstance recorder
    // Somebody waits: from here on the time counts.
    required property bool isWaitedFor
    // Changes whenever the recorder was heard of.
    property int news: 0
    // Nothing was heard for a while; or it goes on, but for long.
    property bool isSilent: false
    property bool isLong: false
    // Nothing is under way any more, so that the page can be used at once.
    property bool mayContinue: false
    // Milliseconds until the one and the other.
    property int patience: mayContinue ? 1000 : 5000
    property int longPatience: 15000
    readonly property bool cancelStays: mayContinue && (recorder?.isCancelingExport ?? false)

    signal leaveRequested
    signal continueRequested

    function listen(): void {
        root.isSilent = false;
        if (root.isWaitedFor) {
            silence.restart();
        } else {
            silence.stop();
        }
    }

    objectName: "wayOut"
    visible: isSilent || isLong
    spacing: Theme.spacing
    onNewsChanged: listen()
    onMayContinueChanged: listen()
    onIsWaitedForChanged: {
        root.isLong = false;
        listen();
    }

    Timer {
        id: silence
        interval: root.patience
        onTriggered: root.isSilent = true
    }
    Timer {
        interval: root.longPatience
        running: root.isWaitedFor
        onTriggered: root.isLong = true
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    Text {
        objectName: "wayOutText"
        width: parent.width
        text: {
            if (root.cancelStays) {
                return qsTr("The download had ended already: its file is whole. The cancel still counts for the next download, which will end early.");
            }
            if (root.mayContinue) {
                return qsTr("Nothing is under way any more.");
            }
            return root.isSilent ? qsTr("The recorder has not answered for a while. You can leave this page while it goes on, or disconnect it.") : qsTr("This takes long. You can leave this page while it goes on, or disconnect the recorder.");
        }
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
    }
    Flow {
        width: parent.width
        spacing: Theme.spacingSmall

        DarkOrLightTextButton {
            id: continueButton
            objectName: "continueButton"
            visible: root.mayContinue
            text: qsTr("Continue")
            hint: qsTr("Go back to the recorder")
            onClicked: root.continueRequested()
        }
        DarkOrLightTextButton {
            objectName: "leaveButton"
            text: qsTr("Back to the list")
            hint: qsTr("Show the list of recorders")
            onClicked: root.leaveRequested()
        }
        ConnectButton {
            id: disconnectButton
            objectName: "disconnectButton"
            recorder: root.recorder
        }
    }
    Text {
        objectName: "wayOutProblem"
        width: parent.width
        visible: text !== ""
        text: disconnectButton.problem === "" ? "" : qsTr("%1. Go back to the list and work with another recorder, or end this one's program where it runs: the page is free again as soon as it has left the network.").arg(disconnectButton.problem)
        color: Theme.recording
        font.pixelSize: Theme.textSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

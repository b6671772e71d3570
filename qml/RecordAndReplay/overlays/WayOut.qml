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
    // Grows by one whenever the recorder was heard of.
    property int news: 0
    property bool isOffered: false
    // Nothing is under way any more, so that the page can be used at once.
    property bool mayContinue: false
    readonly property int patience: 5000

    signal leaveRequested
    signal continueRequested

    function wait(): void {
        root.isOffered = false;
        if (root.isWaitedFor) {
            timer.restart();
        } else {
            timer.stop();
        }
    }

    visible: isOffered || mayContinue
    spacing: Theme.spacing
    onNewsChanged: wait()
    onIsWaitedForChanged: wait()

    Timer {
        id: timer
        interval: root.patience
        onTriggered: root.isOffered = true
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    Text {
        objectName: "wayOutText"
        width: parent.width
        text: root.mayContinue ? qsTr("It had ended already: nothing is under way any more.") : qsTr("The recorder has not answered for a while. You can leave this page while it goes on, or disconnect it.")
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
        DarkOrLightTextButton {
            objectName: "disconnectButton"
            iconName: "plug"
            text: qsTr("Disconnect")
            hint: qsTr("Ask the recorder's agent to stop")
            available: root.recorder?.isOn ?? false
            unavailableHint: qsTr("The recorder is off")
            onClicked: root.recorder.disconnectAgent()
        }
    }
}

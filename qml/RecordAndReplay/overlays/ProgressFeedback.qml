// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../pages/widgets"

// Something long goes on and says how far it is.
FeedbackLayer {
    id: root

    // Null while no recorder is shown.
    required property RecorderInstance recorder
    property int progress: 0
    property bool mayCancel: false

    signal cancelRequested
    signal leaveRequested

    objectName: "progressFeedback"

    Row {
        width: parent.width
        spacing: Theme.spacing

        Progressbar {
            objectName: "progressBar"
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - percent.width - parent.spacing
            value: root.progress
        }
        Figures {
            id: percent
            width: 44
            horizontalAlignment: Text.AlignRight
            text: qsTr("%1 %").arg(root.progress)
            color: Theme.mutedText
        }
    }
    DarkOrLightTextButton {
        objectName: "cancelButton"
        anchors.right: parent.right
        visible: root.mayCancel
        text: qsTr("CANCEL")
        hint: qsTr("End it with the next answer of the recorder")
        onClicked: root.cancelRequested()
    }
    WayOut {
        width: parent.width
        recorder: root.recorder
        isWaitedFor: root.visible
        news: root.progress
        onLeaveRequested: root.leaveRequested()
    }
}

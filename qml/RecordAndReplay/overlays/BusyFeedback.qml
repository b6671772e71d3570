// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import RecordAndReplay

// Something short goes on, without a figure.
FeedbackLayer {
    id: root

    // Null while no recorder is shown.
    required property RecorderInstance recorder
    // The flag is up though nothing is under way.
    property bool isStale: false

    signal continueRequested
    signal leaveRequested

    objectName: "busyFeedback"

    WayOut {
        width: parent.width
        recorder: root.recorder
        isWaitedFor: root.visible
        mayContinue: root.isStale
        onLeaveRequested: root.leaveRequested()
        onContinueRequested: root.continueRequested()
    }
}

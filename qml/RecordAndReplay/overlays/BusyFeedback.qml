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

    Loader {
        width: parent.width
        active: root.visible
        visible: (item as WayOut)?.visible ?? false
        focus: true
        sourceComponent: Component {
            WayOut {
                width: parent?.width ?? 0
                recorder: root.recorder
                mayContinue: root.isStale
                onLeaveRequested: root.leaveRequested()
                onContinueRequested: root.continueRequested()
            }
        }
    }
}

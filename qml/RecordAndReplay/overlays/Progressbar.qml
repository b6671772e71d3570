// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// How much of something is done, in percent.
Rectangle {
    id: root

    property int value: 0

    implicitWidth: 320
    implicitHeight: 6
    radius: 3
    color: Theme.line
    Accessible.role: Accessible.ProgressBar
    Accessible.name: qsTr("%1 %").arg(value)

    Rectangle {
        width: parent.width * Math.max(0, Math.min(100, root.value)) / 100
        height: parent.height
        radius: 3
        color: Theme.accent
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// Without the network nothing can be recorded or replayed.
Rectangle {
    objectName: "connectionWarning"
    implicitHeight: 40
    color: Theme.surface

    Image {
        x: Theme.pageMargin
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/resources/RecordAndReplay/orange-fin.svg"
        sourceSize: Qt.size(16, 16)
    }
    Text {
        x: Theme.pageMargin + 16 + Theme.spacingSmall
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("Please connect your platform")
        color: Theme.paused
        font.pixelSize: Theme.textSize
        font.weight: Font.Medium
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.line
    }
}

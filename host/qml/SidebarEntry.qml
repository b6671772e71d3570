// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A page of the host: the system view or a module.
ItemDelegate {
    id: root

    property bool current: false

    height: 40
    leftPadding: Theme.spacing
    rightPadding: Theme.spacing
    spacing: Theme.spacing
    font.pixelSize: Theme.textSize
    font.weight: current ? Font.DemiBold : Font.Medium
    icon.width: 18
    icon.height: 18
    icon.color: current ? Theme.accent : Theme.mutedText
    palette.text: Theme.text
    palette.windowText: Theme.text
    palette.highlight: Theme.text
    Accessible.role: Accessible.PageTab
    Accessible.selected: current

    background: Rectangle {
        radius: Theme.radius
        color: root.current ? Theme.selection : root.hovered ? Theme.hovered : "transparent"
        border.width: root.visualFocus ? Theme.focusWidth : 0
        border.color: Theme.accent

        Rectangle {
            visible: root.current
            width: 3
            height: parent.height - 16
            x: 0
            anchors.verticalCenter: parent.verticalCenter
            radius: 2
            color: Theme.accent
        }
    }
}

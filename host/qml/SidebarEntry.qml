// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A page of the host: the system view or a module.
ItemDelegate {
    id: root

    property string label
    property bool current: false
    // Only the icon; the label is its tooltip.
    property bool isNarrow: false
    // The key that leads to the page; none for an empty text.
    property string shortcut: ""
    property bool hasShortcut: true

    height: 40
    leftPadding: Theme.spacing
    rightPadding: Theme.spacing
    spacing: Theme.spacing
    display: isNarrow ? AbstractButton.IconOnly : AbstractButton.TextBesideIcon
    text: label.replace(/&/g, "&&") // else read as the mark of a shortcut
    font.pixelSize: Theme.textSize
    font.weight: current ? Font.DemiBold : Font.Medium
    icon.width: 18
    icon.height: 18
    icon.color: current ? Theme.accent : Theme.mutedText
    palette.text: Theme.text
    palette.windowText: Theme.text
    palette.highlight: Theme.text
    Accessible.role: Accessible.PageTab
    Accessible.name: label
    Accessible.selected: current
    Keys.onReturnPressed: click()
    Keys.onEnterPressed: click()

    HoverHint {
        isHovered: root.hovered && (root.isNarrow || root.shortcut !== "")
        isBeside: true
        text: root.shortcut === "" ? root.label : qsTr("%1 (%2)").arg(root.label).arg(root.shortcut)
    }
    Shortcut {
        sequence: root.shortcut
        enabled: root.hasShortcut && root.shortcut !== ""
        onActivated: root.click()
    }

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

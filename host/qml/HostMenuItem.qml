// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// One line of a HostMenu. Its words are shown as they are, "&" included.
MenuItem {
    id: root

    property string label
    // Why it is told from others of the same label; shown small beside it.
    property string detail

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spacing
    rightPadding: Theme.spacing
    Accessible.name: root.detail === "" ? root.label : root.label + ", " + root.detail

    contentItem: Item {
        opacity: root.enabled ? 1 : Theme.disabledOpacity

        Text {
            id: words
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, parent.width)
            text: root.label
            color: Theme.text
            font.pixelSize: Theme.textSize
            elide: Text.ElideMiddle
            textFormat: Text.PlainText
        }
        Text {
            anchors.baseline: words.baseline
            x: words.width + Theme.spacing
            width: Math.max(0, parent.width - x)
            text: root.detail
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
            horizontalAlignment: Text.AlignRight
            elide: Text.ElideMiddle
            textFormat: Text.PlainText
        }
    }
    background: Rectangle {
        radius: Theme.radius - 2
        color: root.highlighted ? Theme.selection : "transparent"
    }
}

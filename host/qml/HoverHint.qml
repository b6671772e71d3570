// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A hint under the pointer, of the item that holds it; made when it is needed.
Loader {
    id: root

    property string text: ""
    property bool isHovered: false
    // To the right of its item, and not above it.
    property bool isBeside: false
    // Was pressed: what that opened is not covered, until the pointer comes anew.
    property bool isSpent: false

    active: root.isHovered && root.text !== "" && !root.isSpent
    onIsHoveredChanged: root.isSpent = false
    sourceComponent: Component {
        ToolTip {
            id: tip
            parent: root.parent
            x: root.isBeside ? (root.parent?.width ?? 0) + 4 : ((root.parent?.width ?? 0) - implicitWidth) / 2
            y: root.isBeside ? ((root.parent?.height ?? 0) - implicitHeight) / 2 : -implicitHeight - 4
            delay: 500
            padding: Theme.spacingSmall
            margins: 4
            text: root.text
            visible: true

            contentItem: Text {
                text: tip.text
                color: Theme.text
                font.pixelSize: Theme.smallTextSize
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
                // As wide as its longest line, up to a limit that still reads well.
                width: Math.min(implicitWidth, 360)
            }
            background: Rectangle {
                radius: Theme.radius
                color: Theme.raised
                border.width: 1
                border.color: Theme.line
            }
        }
    }
}

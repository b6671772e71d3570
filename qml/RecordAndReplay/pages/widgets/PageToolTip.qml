// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A hint under the pointer. Its text may hold a name from elsewhere, so it is never markup.
ToolTip {
    id: root

    delay: 500
    padding: Theme.spacingSmall
    margins: 4

    contentItem: Text {
        objectName: "hint"
        text: root.text
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

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// What to do with a place that has nothing yet.
Column {
    id: root

    property string title
    property string text

    spacing: 4

    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: root.title
        color: Theme.text
        font.pixelSize: Theme.titleSize
        font.weight: Font.DemiBold
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
    }
    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: root.text
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
    }
}

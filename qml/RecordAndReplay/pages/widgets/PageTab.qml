// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// One tab of a page: a word with a line under the current one.
TabButton {
    id: root

    width: implicitWidth
    leftPadding: 0
    rightPadding: 0
    topPadding: 0
    bottomPadding: 0
    // The arrow keys lead from one tab to the next.
    focusPolicy: checked ? Qt.StrongFocus : Qt.ClickFocus
    font.pixelSize: 13
    font.weight: Font.DemiBold
    font.letterSpacing: 0.3
    Accessible.name: text

    contentItem: Text {
        text: root.text
        color: root.checked ? Theme.text : root.hovered ? Theme.text : Theme.mutedText
        font: root.font
        verticalAlignment: Text.AlignVCenter
        textFormat: Text.PlainText
    }
    background: Item {
        implicitHeight: 40

        Rectangle {
            anchors.bottom: parent.bottom
            visible: root.checked
            width: parent.width
            height: 2
            color: Theme.accent
        }
        Rectangle {
            visible: root.visualFocus
            anchors.fill: parent
            anchors.leftMargin: -6
            anchors.rightMargin: -6
            anchors.bottomMargin: 4
            anchors.topMargin: 4
            color: "transparent"
            radius: Theme.radius
            border.width: Theme.focusWidth
            border.color: Theme.accent
        }
    }
}

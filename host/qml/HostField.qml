// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// One line of text to type.
TextField {
    id: root

    property bool isWrong: false

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spacingSmall
    rightPadding: Theme.spacingSmall
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    // Not dimmed while nothing can be typed: a value is there to be read.
    color: enabled ? Theme.text : Theme.mutedText
    placeholderTextColor: Theme.mutedText
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    font.pixelSize: Theme.textSize

    background: Rectangle {
        opacity: root.enabled ? 1 : Theme.disabledOpacity
        radius: Theme.radius
        color: Theme.raised
        border.width: root.activeFocus ? Theme.focusWidth : 1
        border.color: root.isWrong ? Theme.recording : root.activeFocus ? Theme.accent : Theme.line
    }
}

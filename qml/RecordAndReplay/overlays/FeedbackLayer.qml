// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// Covers the module, takes all that the pointer does, and holds one card that says what is going on.
FocusScope {
    id: root

    property string text
    default property alias parts: content.data

    Accessible.role: Accessible.Dialog
    Accessible.name: text
    // But for the way to its buttons.
    Keys.onPressed: event => event.accepted = event.key !== Qt.Key_Tab && event.key !== Qt.Key_Backtab
    onVisibleChanged: {
        if (visible) {
            fade.restart();
        }
    }

    NumberAnimation {
        id: fade
        targets: [shade, card]
        property: "opacity"
        from: 0
        to: 1
        duration: Theme.fadeDuration
    }
    Rectangle {
        id: shade
        anchors.fill: parent
        color: Theme.dim
    }
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.AllButtons
        cursorShape: Qt.ArrowCursor
        onWheel: wheel => wheel.accepted = true
    }
    // What is dropped or touched here goes nowhere.
    DropArea {
        anchors.fill: parent
        onEntered: drag => drag.accepted = false
    }
    MultiPointTouchArea {
        anchors.fill: parent
        mouseEnabled: false
    }
    Rectangle {
        id: card
        anchors.centerIn: parent
        width: Math.min(520, root.width - 2 * Theme.pageMargin)
        height: content.height + 2 * Theme.pageMargin
        radius: Theme.cardRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line

        Column {
            id: content
            x: Theme.pageMargin
            y: Theme.pageMargin
            width: parent.width - 2 * Theme.pageMargin
            spacing: Theme.spacingLarge

            Text {
                objectName: "feedbackText"
                width: parent.width
                text: root.text
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
        }
    }
}

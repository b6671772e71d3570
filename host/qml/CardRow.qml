// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// A row of a card: the card's outline is drawn by its rows, so that a long card can be a list view.
MouseArea {
    id: root

    property bool isFirst: false
    property bool isLast: false
    // The arrow keys are on it.
    property bool isCursor: false
    default property alias content: holder.data

    implicitHeight: Theme.tallRowHeight
    hoverEnabled: true
    acceptedButtons: Qt.NoButton

    // One rounded rectangle, of which a row in the middle of the card shows no rounded end.
    Item {
        anchors.fill: parent
        clip: true

        Rectangle {
            y: root.isFirst ? 0 : -radius
            width: parent.width
            height: parent.height + (root.isFirst ? 0 : radius) + (root.isLast ? 0 : radius)
            radius: Theme.cardRadius
            color: root.containsMouse ? Theme.raised : Theme.surface
            border.width: 1
            border.color: Theme.line
        }
        Rectangle {
            anchors.bottom: parent.bottom
            visible: !root.isLast
            width: parent.width
            height: 1
            color: Theme.line
        }
    }
    Rectangle {
        visible: root.isCursor
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: Theme.radius
        border.width: Theme.focusWidth
        border.color: Theme.accent
    }
    Item {
        id: holder
        anchors.fill: parent
    }
}

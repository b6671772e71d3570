// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// The ground of a row in a card. The rows share their lines; the first and the last one round the card's corners.
Item {
    id: root

    property bool isFirst: false
    property bool isLast: false
    property color ground: Theme.surface

    // One rounded rectangle, of which a row in the middle of the card shows no rounded end.
    clip: isFirst !== isLast

    Rectangle {
        y: root.isFirst ? 0 : root.isLast ? -Theme.cardRadius : -1
        width: parent.width
        height: parent.height - y + (root.isFirst && !root.isLast ? Theme.cardRadius : 0)
        radius: root.isFirst || root.isLast ? Theme.cardRadius : 0
        color: root.ground
        border.width: 1
        border.color: Theme.line
    }
    Rectangle {
        visible: root.isLast && !root.isFirst
        y: -1
        width: parent.width
        height: 1
        color: Theme.line
    }
}

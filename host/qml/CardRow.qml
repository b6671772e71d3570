// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// A row of a card: the card's outline is drawn by its rows, so that a long card can be a list view.
Item {
    id: root

    property bool isFirst: false
    property bool isLast: false
    default property alias content: holder.data

    implicitHeight: Theme.tallRowHeight

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: root.isFirst ? 0 : -1
        color: hover.hovered ? Theme.raised : Theme.surface
        border.width: 1
        border.color: Theme.line
        topLeftRadius: root.isFirst ? Theme.cardRadius : 0
        topRightRadius: topLeftRadius
        bottomLeftRadius: root.isLast ? Theme.cardRadius : 0
        bottomRightRadius: bottomLeftRadius
    }
    HoverHandler {
        id: hover
    }
    Item {
        id: holder
        anchors.fill: parent
    }
}

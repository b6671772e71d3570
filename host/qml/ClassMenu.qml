// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// The classes of agents that can be added to the view.
Menu {
    id: root

    implicitWidth: 220
    padding: 4

    background: Rectangle {
        implicitWidth: 220
        radius: Theme.radius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }

    Instantiator {
        model: SystemDocumentHandler.library.classes
        onObjectAdded: (index, object) => root.insertItem(index, object as MenuItem)
        onObjectRemoved: (index, object) => root.removeItem(object as MenuItem)

        MenuItem {
            id: item

            required property SystemViewClass qtObject

            text: qtObject.name
            implicitHeight: Theme.controlHeight
            palette.windowText: Theme.text
            font.pixelSize: Theme.textSize
            onTriggered: SystemDocumentHandler.createInstance(qtObject.familyUuid)

            background: Rectangle {
                radius: Theme.radius - 2
                color: item.highlighted ? Theme.selection : "transparent"
            }
        }
    }
}

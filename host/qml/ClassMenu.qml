// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// The classes of agents that can be added to the view.
HostMenu {
    id: root

    Instantiator {
        model: SystemDocumentHandler.library.classes
        onObjectAdded: (index, object) => root.insertItem(index, object as MenuItem)
        onObjectRemoved: (index, object) => root.removeItem(object as MenuItem)

        HostMenuItem {
            required property SystemViewClass qtObject

            label: qtObject.name
            onTriggered: SystemDocumentHandler.createInstance(qtObject.familyUuid)
        }
    }
}

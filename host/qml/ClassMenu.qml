// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// The classes of agents that can be added to the view: for this machine, and for others whose launchers offer them.
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
    Instantiator {
        model: SystemDocumentHandler.currentSystemDocument?.launchOffers ?? []
        onObjectAdded: (index, object) => root.addItem(object as MenuItem)
        onObjectRemoved: (index, object) => root.removeItem(object as MenuItem)

        HostMenuItem {
            required property var modelData

            label: modelData.className
            detail: qsTr("on %1").arg(modelData.hostName)
            onTriggered: SystemDocumentHandler.createInstanceOnHost(modelData.familyUuid, modelData.hostName, modelData.program)
        }
    }
}

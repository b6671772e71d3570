// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import Corvane.Host

// The documents that were opened or saved last.
HostMenu {
    id: root

    required property HostApplication host

    objectName: "recentMenu"
    implicitWidth: 420

    Instantiator {
        model: root.host.recentDocuments
        onObjectAdded: (index, object) => root.insertItem(index, object as MenuItem)
        onObjectRemoved: (index, object) => root.removeItem(object as MenuItem)

        HostMenuItem {
            required property string modelData

            objectName: "recentDocument"
            label: modelData.split("/").pop()
            detail: modelData.slice(0, modelData.lastIndexOf("/"))
            // Not now: the list, and this with it, changes by it.
            onTriggered: Qt.callLater(root.host.openRecentDocumentAsked, modelData)
        }
    }
    MenuSeparator {
        contentItem: Rectangle {
            implicitHeight: 1
            color: Theme.line
        }
    }
    HostMenuItem {
        objectName: "forgetRecentDocuments"
        label: qsTr("Empty this list")
        onTriggered: Qt.callLater(root.host.forgetRecentDocuments)
    }
}

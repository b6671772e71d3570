// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "recorders"
import "widgets"

// Every recorder of the system, with what can be done with it.
FocusScope {
    id: root

    required property RecorderModule module
    readonly property int count: module.sortedRecorders.count
    readonly property bool hasView: (SystemDocumentHandler.currentSystemDocument?.currentSystemView ?? null) !== null

    signal deletionRequested(RecorderInstance recorder)

    // The new recorder is the last of the unsorted list.
    function create(): void {
        const before = root.module.recorders.count;
        root.module.createRecorder();
        if (root.module.recorders.count > before) {
            const made = root.module.recorders.get(root.module.recorders.count - 1) as Recorder;
            root.module.currentRecorder = made.instances.get(0) as RecorderInstance;
        }
    }

    objectName: "recordersPage"

    RowLayout {
        id: header
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacing

        Text {
            Layout.fillWidth: true
            text: qsTr("Recorders list")
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        DarkOrLightTextButton {
            objectName: "createRecorderButton"
            focus: true
            iconName: "plus"
            text: qsTr("New recorder")
            primary: true
            hint: qsTr("Add a recorder to the system and open it")
            available: root.hasView
            unavailableHint: qsTr("Open a system document first")
            onClicked: root.create()
        }
    }
    FollowingFlickable {
        id: flickable
        anchors.top: header.bottom
        anchors.topMargin: Theme.spacing
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        contentHeight: list.height

        Column {
            id: list
            x: Theme.pageMargin
            width: flickable.width - 2 * x // the bar is in the margin
            spacing: Theme.spacingLarge
            bottomPadding: Theme.pageMargin

            Repeater {
                model: root.module.sortedRecorders

                RecorderItem {
                    required property Recorder qtObject

                    width: list.width
                    module: root.module
                    recorder: qtObject
                    onDeletionRequested: instance => root.deletionRequested(instance)
                }
            }
        }
    }
    EmptyHint {
        objectName: "recordersHint"
        anchors.centerIn: parent
        width: Math.min(480, parent.width - 2 * Theme.pageMargin)
        visible: root.count === 0
        title: qsTr("No recorder yet")
        text: root.hasView ? qsTr("Press New recorder to add one, connect it, and record.") : qsTr("Open a system document to add recorders to it.")
    }
}

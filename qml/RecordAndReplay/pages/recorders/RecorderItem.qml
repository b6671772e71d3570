// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// One recorder of the system, and under it each machine and database with which it was met.
Column {
    id: root

    required property RecorderModule module
    required property Recorder recorder
    readonly property int count: recorder.sortedInstances.count

    signal deletionRequested(RecorderInstance instance)

    spacing: Theme.spacingSmall

    Row {
        width: parent.width
        spacing: Theme.spacingSmall

        ForeignText {
            id: title
            objectName: "recorderTitle"
            width: Math.min(implicitWidth, parent.width - number.width - parent.spacing)
            text: root.recorder.classInstance?.name ?? ""
            font.weight: Font.DemiBold
        }
        Text {
            id: number
            anchors.baseline: title.baseline
            visible: root.count !== 1
            text: qsTr("%n instances", "", root.count)
            color: Theme.mutedText
            font.pixelSize: Theme.smallTextSize
        }
    }
    Rectangle {
        width: parent.width
        height: instances.height
        visible: root.count > 0
        radius: Theme.cardRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line

        Column {
            id: instances
            width: parent.width

            Repeater {
                model: root.recorder.sortedInstances

                RecorderInstanceItem {
                    required property int index
                    required property RecorderInstance qtObject

                    width: instances.width
                    isFirst: index === 0
                    isLast: index === root.count - 1
                    recorder: qtObject
                    onChosen: root.module.currentRecorder = qtObject
                    onDeletionRequested: root.deletionRequested(qtObject)
                }
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "../widgets"

// How fast a record is replayed.
Hinted {
    id: root

    required property RecorderInstance recorder
    required property RecorderRecord record
    property alias box: box

    function showSpeed(): void {
        box.currentIndex = root.record === null || root.record.speed === null ? -1 : root.record.speeds.indexOf(root.record.speed);
    }

    implicitWidth: 76
    implicitHeight: Theme.controlHeight
    hint: qsTr("Speed of the replay")

    Connections {
        function onSpeedChanged(): void {
            root.showSpeed();
        }

        target: root.record
    }
    ComboBox {
        id: box

        objectName: "speedChooser"
        anchors.fill: parent
        focus: true
        model: root.record?.speeds ?? null
        textRole: "label"
        displayText: root.record?.speed?.label ?? ""
        font.pixelSize: Theme.textSize
        leftPadding: Theme.spacingSmall
        rightPadding: 28
        topPadding: 0
        bottomPadding: 0
        Accessible.name: root.hint
        Component.onCompleted: root.showSpeed()
        onActivated: index => {
            root.recorder.updateRecordSpeed(root.record, root.record.speeds.get(index) as Speed);
            root.showSpeed();
        }

        contentItem: Figures {
            text: box.displayText
            verticalAlignment: Text.AlignVCenter
        }
        indicator: Glyph {
            x: box.width - width - Theme.spacingSmall
            y: (box.height - height) / 2
            path: "M4.5 6.5 8 10l3.5-3.5"
            ink: Theme.mutedText
        }
        background: Rectangle {
            radius: Theme.radius
            color: box.hovered ? Theme.hovered : Theme.raised
            border.width: 1
            border.color: Theme.line

            FocusRing {
                visible: box.visualFocus
            }
        }
        delegate: ItemDelegate {
            id: choice

            required property int index
            required property string label

            width: ListView.view?.width ?? 0
            height: Theme.controlHeight
            highlighted: box.highlightedIndex === index
            Accessible.name: label

            contentItem: Figures {
                text: choice.label
                font.weight: choice.index === box.currentIndex ? Font.DemiBold : Font.Normal
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 4
                color: choice.highlighted ? Theme.selection : "transparent"
            }
        }
        popup: Popup {
            y: box.height + 4
            width: Math.max(box.width, 88)
            implicitHeight: contentItem.implicitHeight + 8
            padding: 4
            margins: 8

            contentItem: ListView {
                objectName: "speeds"
                implicitHeight: contentHeight
                clip: true
                model: box.delegateModel
                currentIndex: box.highlightedIndex
                highlightMoveDuration: 0
                highlightResizeDuration: 0
                boundsBehavior: Flickable.StopAtBounds
            }
            background: Rectangle {
                radius: Theme.radius
                color: Theme.surface
                border.width: 1
                border.color: Theme.line
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A place between 0 and 1. While it is dragged it shows where the hand is, else `position`.
Hinted {
    id: root

    property real position: 0
    // One press of an arrow key.
    property real step: 0.01
    property string valueText: ""
    property alias slider: slider

    signal grabbed
    signal released(real position)
    // Asked for with a key.
    signal stepped(real position)

    implicitWidth: 200
    implicitHeight: Theme.controlHeight

    Slider {
        id: slider

        function stepTo(position: real): void {
            root.stepped(Math.max(0, Math.min(1, position)));
        }

        anchors.fill: parent
        focus: true
        enabled: root.available
        padding: 0
        from: 0
        to: 1
        Accessible.name: root.hint
        Accessible.description: root.valueText
        // A press also ends when something comes in between, which asks for nothing: then the hand still holds it, or
        // it cannot be held any more.
        onPressedChanged: {
            if (pressed) {
                root.grabbed();
            } else if (!hand.active && enabled && visible) {
                root.released(value);
            }
        }
        Keys.onLeftPressed: stepTo(root.position - root.step)
        Keys.onRightPressed: stepTo(root.position + root.step)
        Keys.onPressed: event => {
            if (event.key === Qt.Key_Home || event.key === Qt.Key_End) {
                stepTo(event.key === Qt.Key_Home ? 0 : 1);
                event.accepted = true;
            } else if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown) {
                stepTo(root.position + (event.key === Qt.Key_PageUp ? 10 : -10) * root.step);
                event.accepted = true;
            }
        }

        // Told of the button before the slider is.
        PointHandler {
            id: hand
        }
        Binding on value {
            when: !slider.pressed
            value: root.position
            restoreMode: Binding.RestoreNone
        }

        background: Rectangle {
            x: 8
            y: (slider.height - height) / 2
            width: slider.width - 16
            height: 4
            radius: 2
            color: Theme.line

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.accent
                opacity: slider.enabled ? 1 : Theme.disabledOpacity
            }
        }
        handle: Image {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            source: "qrc:/resources/RecordAndReplay/sliderButton.svg"
            sourceSize: Qt.size(16, 16)
            opacity: slider.enabled ? 1 : Theme.disabledOpacity

            FocusRing {
                visible: slider.visualFocus
                controlRadius: 8
            }
        }
    }
}

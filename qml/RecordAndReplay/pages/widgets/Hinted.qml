// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick

// A control with a hint under the pointer. While the control is not available the hint says why: a disabled control
// itself is told nothing about the pointer, so the hint is its parent's.
FocusScope {
    id: root

    property bool available: true
    // What the control does; also the accessible name of one without a text.
    property string hint: ""
    property string shortcut: ""
    property string unavailableHint: ""
    readonly property string hintText: {
        if (!root.available && root.unavailableHint !== "") {
            return root.unavailableHint;
        }
        return root.shortcut === "" ? root.hint : (root.hint + " (" + root.shortcut + ")").trim();
    }
    // Shown at once, wherever the pointer is.
    property bool isInsisting: false
    readonly property bool hovered: hover.containsMouse
    default property alias control: hover.data

    // Around the control: one beneath it would be told nothing where the control is told of the pointer.
    MouseArea {
        id: hover
        anchors.fill: parent
        hoverEnabled: true
        // A press on what is not available does not go through to the row behind it.
        acceptedButtons: root.available ? Qt.NoButton : Qt.LeftButton
    }
    // Made when it is needed: a page has more controls than anybody points at.
    Loader {
        active: (hover.containsMouse || root.isInsisting) && root.hintText !== ""
        sourceComponent: Component {
            PageToolTip {
                parent: root
                text: root.hintText
                delay: root.isInsisting ? 0 : 500
                visible: true
            }
        }
    }
}

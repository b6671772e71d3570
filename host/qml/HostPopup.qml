// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// One card over the dimmed window.
Popup {
    id: root

    anchors.centerIn: Overlay.overlay
    modal: true
    focus: true
    padding: Theme.pageMargin
    closePolicy: Popup.CloseOnEscape

    background: Rectangle {
        radius: Theme.cardRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.dim
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.fadeDuration
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: Theme.fadeDuration
        }
    }
}

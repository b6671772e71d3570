// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// Shows where the keyboard is, outside the control that it surrounds.
Rectangle {
    property real controlRadius: Theme.radius

    anchors.fill: parent
    anchors.margins: -Theme.focusWidth - 1
    color: "transparent"
    radius: controlRadius + Theme.focusWidth + 1
    border.width: Theme.focusWidth
    border.color: Theme.accent
}

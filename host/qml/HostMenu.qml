// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A list to choose one thing from, under a button.
Menu {
    id: root

    implicitWidth: 220
    padding: 4
    margins: Theme.spacingSmall

    background: Rectangle {
        radius: Theme.radius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane

// A text from elsewhere: never markup, on one line, and whole under the pointer when it does not fit.
Text {
    id: root

    color: Theme.text
    font.pixelSize: Theme.textSize
    elide: Text.ElideRight
    maximumLineCount: 1
    textFormat: Text.PlainText

    MouseArea {
        id: hover
        anchors.fill: parent
        enabled: root.truncated
        hoverEnabled: true
        acceptedButtons: Qt.NoButton
    }
    Loader {
        active: hover.containsMouse && root.truncated
        sourceComponent: Component {
            PageToolTip {
                parent: root
                text: root.text
                visible: true
            }
        }
    }
}

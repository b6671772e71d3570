// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// The desktop's theme, light or dark.
Grid {
    id: root

    columns: 3
    spacing: 4
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("Theme")

    Repeater {
        model: [
            {
                "mode": Theme.FollowDesktop,
                "name": qsTr("Theme of the desktop"),
                "icon": "desktop"
            },
            {
                "mode": Theme.Light,
                "name": qsTr("Light theme"),
                "icon": "sun"
            },
            {
                "mode": Theme.Dark,
                "name": qsTr("Dark theme"),
                "icon": "moon"
            }
        ]

        AbstractButton {
            id: choice

            required property var modelData
            readonly property bool current: Theme.mode === modelData.mode

            width: Theme.controlHeight
            height: Theme.controlHeight
            hoverEnabled: true
            activeFocusOnTab: true
            Keys.onReturnPressed: click()
            Keys.onEnterPressed: click()
            Accessible.name: modelData.name
            Accessible.role: Accessible.RadioButton
            Accessible.checked: current
            onClicked: Theme.mode = modelData.mode

            HoverHint {
                isHovered: choice.hovered
                text: choice.modelData.name
            }

            background: Rectangle {
                radius: Theme.radius
                color: choice.current ? Theme.selection : choice.hovered ? Theme.hovered : "transparent"
                border.width: choice.visualFocus ? Theme.focusWidth : 0
                border.color: Theme.accent
            }
            contentItem: Item {
                Button {
                    anchors.centerIn: parent
                    enabled: false
                    padding: 0
                    background: null
                    icon.source: "qrc:/corvane/icons/" + choice.modelData.icon + ".svg"
                    icon.width: 16
                    icon.height: 16
                    icon.color: choice.current ? Theme.accent : Theme.mutedText
                    Accessible.ignored: true
                }
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A push button. While it is not available it stays where it is, and says why under the pointer.
Item {
    id: root

    property alias text: button.text
    property alias iconName: button.iconName
    property alias button: button
    // The one thing to do next.
    property bool primary: false
    // Without a frame, for icons in rows.
    property bool quiet: false
    property bool destructive: false
    property bool available: true
    // Tab comes by.
    property bool isTabStop: true
    // Shown under the pointer.
    property string hint: ""
    // The key that does the same, shown with the hint.
    property string shortcut: ""
    // For a button without text; else its text is read out.
    property string accessibleName: hint
    property string unavailableHint: ""

    signal clicked

    implicitWidth: Math.max(Theme.controlHeight, button.implicitWidth)
    implicitHeight: Theme.controlHeight

    HoverHint {
        id: hoverHint
        isHovered: hover.containsMouse
        text: root.available || root.unavailableHint === "" ? (root.shortcut === "" || root.hint === "" ? root.hint : qsTr("%1 (%2)").arg(root.hint).arg(root.shortcut)) : root.unavailableHint
    }

    // Around the button, which is told nothing about the pointer while it is not available.
    MouseArea {
        id: hover

        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.NoButton

        Button {
            id: button

            property string iconName: ""
            readonly property color ink: root.primary ? Theme.accentText : root.destructive ? Theme.recording : Theme.text

            anchors.fill: parent
            enabled: root.available
            // What has the keyboard keeps it until it is left.
            focusPolicy: root.isTabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
            opacity: enabled ? 1 : Theme.disabledOpacity
            leftPadding: text === "" ? 8 : Theme.spacing
            rightPadding: leftPadding
            topPadding: 0
            bottomPadding: 0
            spacing: Theme.spacingSmall
            font.pixelSize: Theme.textSize
            font.weight: Font.Medium
            icon.source: iconName === "" ? "" : "qrc:/corvane/icons/" + iconName + ".svg"
            icon.width: 16
            icon.height: 16
            icon.color: ink
            palette.buttonText: ink
            palette.highlight: ink
            Accessible.name: text !== "" ? text : root.accessibleName
            Accessible.description: root.available ? root.hint : root.unavailableHint
            onClicked: {
                hoverHint.isSpent = true;
                root.clicked();
            }
            // On every platform, and not only where its theme says so.
            Keys.onReturnPressed: click()
            Keys.onEnterPressed: click()

            background: Rectangle {
                radius: Theme.radius
                color: {
                    if (root.primary) {
                        return button.down ? Qt.darker(Theme.accent, 1.15) : button.hovered ? Qt.lighter(Theme.accent, 1.08) : Theme.accent;
                    }
                    if (button.down || button.hovered) {
                        return Theme.hovered;
                    }
                    return root.quiet ? "transparent" : Theme.raised;
                }
                border.width: root.primary || root.quiet ? 0 : 1
                border.color: root.destructive ? Theme.recording : Theme.line

                Rectangle {
                    anchors.fill: parent
                    anchors.margins: -Theme.focusWidth - 1
                    visible: button.visualFocus
                    color: "transparent"
                    radius: Theme.radius + Theme.focusWidth + 1
                    border.width: Theme.focusWidth
                    border.color: Theme.accent
                }
            }
        }
    }
}

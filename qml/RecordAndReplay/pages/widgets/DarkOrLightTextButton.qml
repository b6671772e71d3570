// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A push button with a text, an icon, or both, in the colours of the theme.
Hinted {
    id: root

    property alias text: button.text
    property alias button: button
    // A file of the module's icons, without folder and ending.
    property string iconName: ""
    // The one thing to do next.
    property bool primary: false
    // Without a frame, for icons in rows.
    property bool quiet: false
    property bool destructive: false
    property color ink: primary ? Theme.accentText : destructive ? Theme.recording : Theme.text
    // Of the frame; buttons that mean something special have their own.
    property color frame: destructive ? Theme.recording : Theme.line
    property bool isTabStop: true

    signal clicked

    implicitWidth: Math.max(Theme.controlHeight, button.implicitWidth)
    implicitHeight: Theme.controlHeight

    Button {
        id: button

        anchors.fill: parent
        focus: true
        // What has the keyboard keeps it until it is left.
        focusPolicy: root.isTabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        enabled: root.available
        opacity: root.available ? 1 : Theme.disabledOpacity
        leftPadding: text === "" ? 8 : Theme.spacing
        rightPadding: leftPadding
        topPadding: 0
        bottomPadding: 0
        spacing: Theme.spacingSmall
        font.pixelSize: Theme.textSize
        font.weight: Font.Medium
        icon.source: root.iconName === "" ? "" : "qrc:/resources/RecordAndReplay/icons/" + root.iconName + ".svg"
        icon.width: 16
        icon.height: 16
        icon.color: root.ink
        palette.buttonText: root.ink
        palette.highlight: root.ink
        Accessible.name: text !== "" ? text : root.hint
        Accessible.description: root.available ? root.hint : root.unavailableHint
        onClicked: root.clicked()
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
            border.color: root.frame

            FocusRing {
                visible: button.visualFocus
            }
        }
    }
}

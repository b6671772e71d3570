// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A check box that shows `value`, and says what it was switched to.
Hinted {
    id: root

    property int value: Qt.Unchecked
    property alias text: box.text
    property alias box: box
    property bool isTabStop: true

    signal switched(bool checked)

    // What does not fit.
    hint: label.truncated ? box.text : ""
    implicitWidth: box.implicitWidth
    implicitHeight: Theme.controlHeight
    onValueChanged: box.checkState = root.value

    CheckBox {
        id: box

        anchors.fill: parent
        focus: true
        focusPolicy: root.isTabStop ? Qt.StrongFocus : Qt.ClickFocus
        enabled: root.available
        checkState: root.value
        padding: 0
        spacing: Theme.spacingSmall
        font.pixelSize: Theme.textSize
        nextCheckState: () => checkState === Qt.Checked ? Qt.Unchecked : Qt.Checked
        Accessible.name: text !== "" ? text : root.hint
        Accessible.description: root.available ? "" : root.unavailableHint
        Accessible.onToggleAction: root.switched(root.value !== Qt.Checked)
        Accessible.onPressAction: root.switched(root.value !== Qt.Checked)
        // Not toggled(): a box with its own order of states does not emit it.
        onClicked: {
            const checked = checkState === Qt.Checked;
            root.switched(checked);
            checkState = root.value;
        }

        indicator: Rectangle {
            y: (box.height - height) / 2
            width: 18
            height: 18
            opacity: root.available ? 1 : Theme.disabledOpacity
            radius: 4
            color: box.checkState === Qt.Unchecked ? Theme.surface : Theme.accent
            border.width: box.checkState === Qt.Unchecked ? 1 : 0
            border.color: box.hovered ? Theme.text : Theme.mutedText

            Glyph {
                anchors.centerIn: parent
                visible: box.checkState !== Qt.Unchecked
                ink: Theme.accentText
                path: box.checkState === Qt.Checked ? "M3.5 8.3 6.7 11.4 12.5 4.8" : "M4 8h8"
            }
            FocusRing {
                visible: box.visualFocus
                controlRadius: 4
            }
        }
        contentItem: Text {
            id: label
            leftPadding: box.indicator.width + box.spacing
            text: box.text
            color: root.available ? Theme.text : Theme.mutedText
            font: box.font
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
    }
}

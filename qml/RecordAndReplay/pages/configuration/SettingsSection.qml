// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import "../widgets"

// One group of settings, behind a check box or under a title. While the recorder is on nothing can be changed, so that only what is
// switched on is shown.
Item {
    id: root

    required property bool isOn
    required property bool value
    property string text
    property bool hasBox: true
    // Shown under this section when a later one is shown too.
    property bool hasSeparator: false
    default property alias content: fields.data
    property alias beside: extra.data
    readonly property bool isShown: !isOn || value
    readonly property bool isWide: width >= 560
    readonly property alias box: box
    readonly property string why: qsTr("Disconnect the recorder to change its settings")

    signal switched(bool checked)

    visible: isShown
    implicitHeight: isShown ? line.height + 2 * Theme.spacing : 0

    Item {
        id: line
        y: Theme.spacing
        width: parent.width
        height: root.isWide ? Math.max(box.height, fields.height) : box.height + (fields.height > 0 ? fields.height + Theme.spacingSmall : 0)

        DarkOrLightCheckBox {
            id: box
            visible: root.hasBox
            width: Math.min(implicitWidth, root.width)
            text: root.text
            value: root.value ? Qt.Checked : Qt.Unchecked
            available: !root.isOn
            unavailableHint: root.why
            onSwitched: checked => root.switched(checked)
        }
        Text {
            visible: !root.hasBox
            height: box.height
            verticalAlignment: Text.AlignVCenter
            text: root.text
            color: root.isOn ? Theme.mutedText : Theme.text
            font.pixelSize: Theme.textSize
            textFormat: Text.PlainText
        }
        Row {
            id: extra
            anchors.left: box.right
            anchors.leftMargin: Theme.spacingSmall
            height: box.height
        }
        Column {
            id: fields
            x: root.isWide ? 220 : 26
            y: root.isWide ? 0 : box.height + Theme.spacingSmall
            width: Math.min(480, parent.width - x)
            spacing: Theme.spacingSmall
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        visible: root.hasSeparator
        width: parent.width
        height: 1
        color: Theme.line
    }
}

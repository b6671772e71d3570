// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// The state of something as shape, word and colour.
Rectangle {
    id: root

    // "ring", "dot" or "triangle"
    property string shape: "ring"
    property color ink: Theme.mutedText
    property alias text: label.text

    implicitWidth: row.implicitWidth + 20
    implicitHeight: 24
    radius: height / 2
    color: "transparent"
    border.width: 1
    border.color: shape === "ring" ? Theme.line : ink
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 6

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: 8
            height: 8

            Rectangle {
                anchors.fill: parent
                visible: root.shape !== "triangle"
                radius: 4
                color: root.shape === "ring" ? "transparent" : root.ink
                border.width: 2
                border.color: root.ink
            }
            Canvas {
                anchors.fill: parent
                visible: root.shape === "triangle"
                property color ink: root.ink
                onInkChanged: requestPaint()
                onPaint: {
                    const context = getContext("2d");
                    context.reset();
                    context.fillStyle = root.ink;
                    context.beginPath();
                    context.moveTo(0, 0);
                    context.lineTo(8, 4);
                    context.lineTo(0, 8);
                    context.fill();
                }
            }
        }
        Text {
            id: label
            anchors.verticalCenter: parent.verticalCenter
            color: root.ink
            font.pixelSize: Theme.smallTextSize
            font.weight: Font.DemiBold
            textFormat: Text.PlainText
        }
    }
}

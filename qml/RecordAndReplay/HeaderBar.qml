// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import "pages/widgets"

// The module's head, with the way back to the list of recorders.
Rectangle {
    id: root

    property string title
    property bool hasBack: false

    signal backRequested

    implicitHeight: 56
    color: Theme.surface
    clip: true

    Image {
        objectName: "headerImage"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/resources/RecordAndReplay/header.svg"
        sourceSize: Qt.size(480, 56)
        // Beside the title: of a narrow head it fills what is left.
        width: Math.max(0, Math.min(480, root.width - title.x - title.width - Theme.spacing))
        height: 56
        fillMode: Image.Pad
        horizontalAlignment: Image.AlignRight
        opacity: 0.7
    }
    DarkOrLightTextButton {
        id: back
        objectName: "backButton"
        anchors.left: parent.left
        anchors.leftMargin: Theme.pageMargin
        anchors.verticalCenter: parent.verticalCenter
        visible: root.hasBack
        quiet: true
        iconName: "back"
        hint: qsTr("Back to the list of recorders")
        shortcut: qsTr("Alt+Left")
        onClicked: root.backRequested()
    }
    Text {
        id: title
        objectName: "headerTitle"
        anchors.left: root.hasBack ? back.right : parent.left
        anchors.leftMargin: root.hasBack ? Theme.spacing : Theme.pageMargin
        anchors.verticalCenter: parent.verticalCenter
        text: root.title
        color: Theme.text
        font.pixelSize: Theme.largeTitleSize
        font.weight: Font.DemiBold
        textFormat: Text.PlainText
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.line
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay

// Why the last load failed, on the tab where it was asked for.
Row {
    id: root

    required property RecorderInstance recorder

    spacing: Theme.spacingSmall

    Image {
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/resources/RecordAndReplay/orange-fin.svg"
        sourceSize: Qt.size(16, 16)
    }
    Text {
        objectName: "loadingError"
        width: root.width - 16 - root.spacing
        text: qsTr("Loading error: %1").arg(root.recorder.loadingFailReason)
        color: Theme.recording
        font.pixelSize: Theme.textSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// A place to drop one CSV file, with a frame and a word on it while something is dragged over it.
DropArea {
    id: root

    // What a drop does.
    property string text
    // What is dragged is one file with the right ending.
    property bool usable: false

    // One file with the right ending was dropped.
    signal csvDropped(url file)

    function onlyCsv(urls: list<url>): bool {
        return urls.length === 1 && urls[0].toString().endsWith(".csv");
    }

    onEntered: drag => {
        root.usable = drag.hasUrls && root.onlyCsv(drag.urls);
        drag.accept(Qt.LinkAction);
    }
    onDropped: drop => {
        drop.accept(Qt.LinkAction);
        if (drop.hasUrls && root.onlyCsv(drop.urls)) {
            root.csvDropped(drop.urls[0]);
        }
    }

    Rectangle {
        objectName: "dropOverlay"
        anchors.fill: parent
        visible: root.containsDrag
        radius: Theme.cardRadius
        color: Theme.background

        DashedFrame {
            anchors.fill: parent
            ink: root.usable ? Theme.accent : Theme.mutedText
        }
        Column {
            anchors.centerIn: parent
            width: parent.width - 2 * Theme.pageMargin
            spacing: 4

            Text {
                objectName: "dropText"
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.text
                color: root.usable ? Theme.accent : Theme.mutedText
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
            Text {
                objectName: "dropRefusal"
                width: parent.width
                visible: !root.usable
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Only one file that ends in \".csv\" can be dropped here")
                color: Theme.text
                font.pixelSize: Theme.textSize
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
        }
    }
}

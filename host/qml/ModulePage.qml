// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// The page of a module, or why there is none.
Item {
    id: root

    property alias entry: view.entry

    CorvaneModuleView {
        id: view
        anchors.fill: parent
    }
    Text {
        anchors.centerIn: parent
        width: Math.min(640, parent.width - 2 * Theme.pageMargin)
        visible: text !== ""
        text: {
            if (view.errorText !== "") {
                return view.errorText;
            }
            return view.entry !== null && view.entry.module === null ? qsTr("%1 was not started: a part that it needs is missing.").arg(view.entry.name) : "";
        }
        color: Theme.recording
        font.pixelSize: Theme.textSize
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        textFormat: Text.PlainText
    }
}

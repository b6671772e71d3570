// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Corvane
import Corvane.Host

// What the person must know and can mend, one line each, until it is dismissed. However many, they leave room for the
// page.
Flickable {
    id: root

    required property HostApplication host

    height: Math.min(notices.height, (parent?.height ?? 0) / 3)
    contentHeight: notices.height
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    ScrollBar.vertical: ScrollBar {}

    Column {
        id: notices

        width: root.width

        Repeater {
            model: root.host.notices

            Rectangle {
                id: notice

                required property int index
                required property string modelData

                width: root.width
                height: Math.max(Theme.rowHeight, text.implicitHeight + 24)
                color: Theme.surface
                objectName: "notice"
                Accessible.role: Accessible.AlertMessage
                Accessible.name: modelData

                Rectangle {
                    width: 3
                    height: parent.height
                    color: Theme.paused
                }
                Rectangle {
                    anchors.bottom: parent.bottom
                    width: parent.width
                    height: 1
                    color: Theme.line
                }
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: Theme.pageMargin
                    anchors.rightMargin: Theme.spacing
                    spacing: Theme.spacing

                    Text {
                        id: text
                        Layout.fillWidth: true
                        text: notice.modelData
                        color: Theme.text
                        font.pixelSize: Theme.textSize
                        wrapMode: Text.Wrap
                        textFormat: Text.PlainText
                    }
                    HostButton {
                        objectName: "dismissNoticeButton"
                        quiet: true
                        iconName: "close"
                        hint: qsTr("Dismiss")
                        onClicked: root.host.dismissNotice(notice.index)
                    }
                }
            }
        }
    }
}

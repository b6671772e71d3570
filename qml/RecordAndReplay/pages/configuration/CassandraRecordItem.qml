// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// One record of the database: its name, when it was made and how long it is; opened in place while it is loaded. A list
// may have many thousands, so that a row makes what only few rows need when it needs it.
MouseArea {
    id: root

    required property int index
    required property int count
    required property RecorderInstance recorder
    // Null for the moment between a record's end and its row's.
    required property RecorderRecord record
    // Where the arrow keys are.
    property bool isCursor: false
    readonly property bool isCurrent: record !== null && recorder.currentRecord === record
    readonly property bool isOpen: isCurrent && record.isLoaded
    readonly property bool isNarrow: width < 640
    readonly property real nameWidth: Math.max(140, Math.min(420, width * 0.32))
    readonly property string date: (record?.startDateTime ?? new Date(NaN)).toLocaleString(Qt.locale(), qsTr("d MMM yyyy, hh:mm"))
    readonly property string duration: RecorderUtils.prettyPrintTime(record?.durationInSeconds ?? 0, RecorderTimeFormat.HH_MM_SS_ZZZ)

    // With the pointer, or with a key.
    signal chosen
    signal loadRequested

    implicitHeight: Theme.rowHeight + (isOpen ? transport.height + Theme.spacingLarge : 0)
    hoverEnabled: true
    acceptedButtons: Qt.NoButton
    // The row itself, not the list: from inside a list Tab does not lead back to it.
    activeFocusOnTab: isCursor || activeFocus
    Accessible.role: Accessible.ListItem
    Accessible.name: [record?.name ?? "", date, duration].join(", ")
    Accessible.selected: isCurrent
    Accessible.onPressAction: loadRequested()
    Keys.onReturnPressed: loadRequested()
    Keys.onEnterPressed: loadRequested()
    Keys.onDeletePressed: {
        if (root.recorder.isOn) {
            root.recorder.confirmRecordDeletion(root.record);
        }
    }
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F2) {
            name.edit(-1);
            event.accepted = true;
        }
    }

    CardRow {
        anchors.fill: parent
        isFirst: root.index === 0
        isLast: root.index === root.count - 1
        ground: root.isCurrent ? Theme.selection : root.containsMouse ? Theme.raised : Theme.surface
    }
    Rectangle {
        visible: root.activeFocus
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: Theme.radius
        border.width: Theme.focusWidth
        border.color: Theme.accent
    }
    TapHandler {
        onTapped: root.chosen()
    }
    RecordNameField {
        id: name
        x: Theme.spacingLarge
        y: (Theme.rowHeight - height) / 2
        width: root.nameWidth
        recorder: root.recorder
        record: root.record
        onFinished: root.forceActiveFocus()
    }
    Text {
        x: Theme.spacingLarge + root.nameWidth + Theme.pageMargin
        height: Theme.rowHeight
        visible: !name.hasError && !root.isNarrow
        verticalAlignment: Text.AlignVCenter
        text: root.date
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
        font.features: ({
                "tnum": 1
            })
    }
    Figures {
        objectName: "recordDuration"
        x: Theme.spacingLarge + root.nameWidth + Theme.pageMargin + (root.isNarrow ? 0 : 176)
        height: Theme.rowHeight
        visible: !name.hasError
        verticalAlignment: Text.AlignVCenter
        text: root.duration
    }
    RecordTools {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacing
        height: Theme.rowHeight
        recorder: root.recorder
        record: root.record
        isTabStop: root.isCursor
        showsRename: (root.isCursor || root.isCurrent || root.containsMouse) && !name.isEditing
        onRenameRequested: name.edit(-1)
    }
    Loader {
        id: transport
        active: root.isOpen
        x: Theme.spacingLarge
        y: Theme.rowHeight
        width: parent.width - 2 * Theme.spacingLarge
        sourceComponent: Component {
            RecordItem {
                recorder: root.recorder
                record: root.record
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "../widgets"

// The records that a recorder holds, newest first.
FocusScope {
    id: root

    required property RecorderInstance recorder
    // The last load was asked for here.
    property bool showsFailure: false
    readonly property RecorderRecord current: recorder.currentRecord
    property alias list: list
    // The current record is kept in view while its row grows by its controls, until somebody scrolls.
    property bool isFollowing: false

    signal loadRequested(RecorderRecord record)

    function follow(): void {
        root.isFollowing = true;
        Qt.callLater(showCurrent);
    }

    function showCurrent(): void {
        const row = root.current === null ? -1 : records.indexOf(root.current);
        if (row >= 0) {
            list.currentIndex = row;
            // A row that grew counts only after the next layout, which may be later than this.
            list.forceLayout();
            list.positionViewAtIndex(row, ListView.Contain);
        }
    }

    onCurrentChanged: follow()
    Component.onCompleted: follow()

    SortFilterRecords {
        id: records
        sourceModel: root.recorder.records
    }
    Connections {
        function onIsLoadedChanged(): void {
            root.follow();
        }

        target: root.current
    }
    LoadFailure {
        id: failure
        width: parent.width
        height: visible ? implicitHeight : 0
        visible: root.showsFailure && root.recorder.loadingFailReason !== ""
        recorder: root.recorder
    }
    ListView {
        id: list

        objectName: "recordsList"
        anchors.top: failure.bottom
        anchors.topMargin: failure.visible ? Theme.spacing : 0
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        focus: true
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        // Nothing moves slowly, not even what nobody sees.
        highlightMoveDuration: 0
        highlightResizeDuration: 0
        model: records
        ScrollBar.vertical: PageScrollBar {
            id: bar
            onPressedChanged: root.isFollowing = false
        }
        onMovementStarted: root.isFollowing = false
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Records")
        Keys.onPressed: event => {
            if (event.key === Qt.Key_Home || event.key === Qt.Key_End) {
                currentIndex = event.key === Qt.Key_Home ? 0 : count - 1;
                event.accepted = true;
            } else if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown) {
                const page = Math.max(1, Math.floor(height / Theme.rowHeight) - 1);
                currentIndex = Math.max(0, Math.min(count - 1, currentIndex + (event.key === Qt.Key_PageUp ? -page : page)));
                event.accepted = true;
            }
        }

        delegate: CassandraRecordItem {
            id: row

            required property RecorderRecord qtObject

            // Beside the bar, not under it.
            width: list.width - (bar.size < 1 ? Theme.spacing : 0)
            count: list.count
            recorder: root.recorder
            record: qtObject
            isCursor: ListView.isCurrentItem
            onHeightChanged: {
                if (isCurrent && root.isFollowing) {
                    Qt.callLater(root.showCurrent);
                }
            }
            onChosen: {
                list.currentIndex = index;
                list.forceActiveFocus();
                root.loadRequested(record);
            }
            // A popup gives the keyboard back to the row that it was asked from, though that may be gone by then.
            onActiveFocusChanged: {
                if (activeFocus && index < 0) {
                    list.currentItem?.forceActiveFocus();
                }
            }
            onLoadRequested: root.loadRequested(record)
        }
    }
    EmptyHint {
        objectName: "recordsHint"
        anchors.centerIn: parent
        width: Math.min(480, parent.width)
        visible: list.count === 0
        title: root.recorder.isOn ? qsTr("No record yet") : qsTr("The recorder is off")
        text: {
            if (!root.recorder.isOn) {
                return qsTr("Connect the recorder to see its records.");
            }
            return root.recorder.isRecording ? qsTr("What is recorded now is listed here when it ends.") : qsTr("Press Record to make one, or drop a CSV file here to import it.");
        }
    }
    DropAreaWithOverlay {
        objectName: "recordsDropArea"
        anchors.fill: parent
        enabled: root.recorder.isOn
        text: qsTr("Drop to import file")
        onCsvDropped: file => root.recorder.importRecord(file)
    }
}

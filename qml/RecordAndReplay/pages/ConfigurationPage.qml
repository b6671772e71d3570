// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "configuration"
import "widgets"
import "widgets/urls.js" as Urls

// One recorder: its name and connection, its recording, and in three tabs its settings, its records and a CSV file.
FocusScope {
    id: root

    required property RecorderInstance recorder
    // Nothing is asked that keys must not pass by.
    property bool hasShortcuts: true
    property alias currentTab: tabs.currentIndex
    // Where the last load was asked for: there its failure is told, whatever becomes of the record.
    property bool loadsFile: false

    signal deletionRequested
    // A load ends the recording that runs: that is asked for. `record` is null for a file.
    signal endOfRecordingRequested(RecorderRecord record, string name, var load)

    function load(record: RecorderRecord, name: string, load: var): void {
        if (root.recorder.isRecording) {
            root.endOfRecordingRequested(record, name, load);
        } else {
            load();
        }
    }

    function nameOf(path: string): string {
        return path.slice(path.lastIndexOf("/") + 1);
    }

    objectName: "configurationPage"
    Component.onCompleted: loadsFile = recorder.currentRecord === null || recorder.currentRecord === recorder.recordFromFile
    // What handles Space itself, such as a button or a field, never gets here.
    Keys.onSpacePressed: event => {
        event.accepted = actions.isLoaded;
        actions.togglePlaying();
    }

    RecorderActions {
        id: actions
        recorder: root.recorder
    }
    Connections {
        function onIsLoadingRecordChanged(): void {
            if (root.recorder.isLoadingRecord) {
                root.loadsFile = root.recorder.currentRecord === null;
            }
        }

        target: root.recorder
    }
    Shortcut {
        sequence: "F5"
        enabled: root.visible && root.enabled && root.hasShortcuts
        onActivated: actions.toggleRecording()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.bottomMargin: Theme.spacing
        spacing: Theme.spacingLarge

        RecorderHeader {
            Layout.fillWidth: true
            recorder: root.recorder
            onDeletionRequested: root.deletionRequested()
        }
        RecordingCard {
            Layout.fillWidth: true
            recorder: root.recorder
        }
        Item {
            Layout.fillWidth: true
            implicitHeight: tabs.implicitHeight

            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.line
            }
            TabBar {
                id: tabs

                function show(index: int): void {
                    currentIndex = Math.max(0, Math.min(count - 1, index));
                    currentItem.forceActiveFocus(Qt.TabFocusReason);
                }

                objectName: "recorderTabs"
                anchors.fill: parent
                focus: true
                spacing: Theme.pageMargin
                padding: 0
                background: null
                // The keyboard is seen on a tab, never on the bar around it.
                onActiveFocusChanged: {
                    if (activeFocus && Window.activeFocusItem === tabs) {
                        currentItem?.forceActiveFocus(focusReason);
                    }
                }
                Keys.onLeftPressed: show(currentIndex - 1)
                Keys.onRightPressed: show(currentIndex + 1)
                Accessible.role: Accessible.PageTabList
                Accessible.name: qsTr("Parts of the recorder")
                // Who opens a running recorder comes for its records.
                Component.onCompleted: {
                    currentIndex = root.recorder.isOn ? 1 : 0;
                    // Nobody sees it, but each step of it would draw a frame.
                    (contentItem as ListView).highlightResizeDuration = 0;
                }

                // Space is for the replay, not for the tab that is chosen already.
                PageTab {
                    Keys.forwardTo: [root]
                    text: qsTr("CONFIG")
                }
                PageTab {
                    Keys.forwardTo: [root]
                    text: qsTr("RECORDS (%1)").arg(root.recorder.records.count)
                }
                PageTab {
                    Keys.forwardTo: [root]
                    text: qsTr("CSV FILE")
                }
            }
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex

            ConfigurationTab {
                objectName: "configurationTab"
                recorder: root.recorder
            }
            RecordsTab {
                objectName: "recordsTab"
                recorder: root.recorder
                showsFailure: !root.loadsFile
                onLoadRequested: record => root.load(record, record.name, () => root.recorder.loadRecord(record))
            }
            FileTab {
                objectName: "fileTab"
                recorder: root.recorder
                showsFailure: root.loadsFile
                onLoadRequested: path => root.load(null, root.nameOf(path), () => root.recorder.loadRecordFile(path))
                onLoadOfUrlRequested: file => root.load(null, Urls.decoded(root.nameOf(file.toString())), () => root.recorder.loadRecordUrl(file))
            }
        }
    }
}

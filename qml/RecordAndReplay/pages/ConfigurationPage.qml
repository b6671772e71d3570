// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "configuration"
import "widgets"

// One recorder: its name and connection, its recording, and in three tabs its settings, its records and a CSV file.
FocusScope {
    id: root

    required property RecorderInstance recorder
    readonly property RecordItem replay: recordsTab.replay ?? fileTab.replay
    property alias currentTab: tabs.currentIndex

    signal deletionRequested

    function toggleRecording(): void {
        card.toggleRecording();
    }

    objectName: "configurationPage"
    // What handles Space itself, such as a button or a field, never gets here.
    Keys.onSpacePressed: event => {
        event.accepted = root.replay !== null;
        root.replay?.togglePlaying();
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
            id: card
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

                objectName: "recorderTabs"
                anchors.fill: parent
                focus: true
                spacing: Theme.pageMargin
                padding: 0
                background: null
                Accessible.role: Accessible.PageTabList
                Accessible.name: qsTr("Parts of the recorder")
                // Who opens a running recorder comes for its records.
                Component.onCompleted: currentIndex = root.recorder.isOn ? 1 : 0

                PageTab {
                    text: qsTr("CONFIG")
                }
                PageTab {
                    text: qsTr("RECORDS (%1)").arg(root.recorder.records.count)
                }
                PageTab {
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
                id: recordsTab
                objectName: "recordsTab"
                recorder: root.recorder
            }
            FileTab {
                id: fileTab
                objectName: "fileTab"
                recorder: root.recorder
            }
        }
    }
}

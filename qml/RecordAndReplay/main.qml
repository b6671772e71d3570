// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Corvane
import RecordAndReplay

// The module's page: the recorders with their state and what can be done with them, and the records of the one chosen.
Rectangle {
    id: root

    required property RecorderModule corvaneModule
    readonly property RecorderInstance current: corvaneModule.currentRecorder

    color: Theme.background

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacingLarge

        Text {
            Layout.fillWidth: true
            visible: !NetworkConfiguration.isConnected
            text: qsTr("Please connect your platform")
            color: Theme.paused
            font.pixelSize: Theme.textSize
            font.weight: Font.Medium
        }
        RowLayout {
            spacing: Theme.spacing

            Text {
                Layout.fillWidth: true
                text: qsTr("Recorders list")
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
            }
            PageButton {
                text: qsTr("New recorder")
                primary: true
                onClicked: root.corvaneModule.createRecorder()
            }
        }
        Column {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            Repeater {
                model: root.corvaneModule.sortedRecorders

                Repeater {
                    id: instances

                    required property Recorder qtObject

                    model: qtObject.sortedInstances

                    RecorderRow {
                        required property RecorderInstance qtObject

                        recorder: qtObject
                        width: parent?.width ?? 0
                    }
                }
            }
            Text {
                visible: root.corvaneModule.sortedRecorders.count === 0
                text: qsTr("No recorder yet")
                color: Theme.mutedText
                font.pixelSize: Theme.textSize
            }
        }
        RowLayout {
            spacing: Theme.spacingSmall

            Text {
                text: root.current === null ? qsTr("Choose a recorder to see its records") : qsTr("Records of %1").arg(root.current.name)
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
                textFormat: Text.PlainText
            }
            Text {
                visible: root.current !== null
                text: records.count
                color: Theme.mutedText
                font.pixelSize: Theme.textSize
                font.features: ({
                        "tnum": 1
                    })
            }
        }
        ListView {
            id: records

            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: SortFilterRecords {
                sourceModel: root.current === null ? null : root.current.records
            }
            delegate: RecordRow {
                required property RecorderRecord qtObject

                record: qtObject
                width: ListView.view.width
            }
            ScrollBar.vertical: ScrollBar {}

            Text {
                anchors.centerIn: parent
                visible: root.current !== null && records.count === 0
                text: root.current !== null && root.current.isOn ? qsTr("No record yet: press Record") : qsTr("Connect the recorder to see its records")
                color: Theme.mutedText
                font.pixelSize: Theme.textSize
            }
        }
    }

    // One recorder: shape, word and colour say its state.
    component RecorderRow: Rectangle {
        id: row

        required property RecorderInstance recorder
        readonly property bool isCurrent: root.current === recorder

        height: Theme.tallRowHeight
        radius: Theme.cardRadius
        color: isCurrent ? Theme.selection : Theme.surface
        border.width: activeFocus ? Theme.focusWidth : 1
        border.color: activeFocus ? Theme.accent : Theme.line
        activeFocusOnTab: true
        Accessible.role: Accessible.ListItem
        Accessible.name: recorder.name + ", " + state.text
        Keys.onReturnPressed: root.corvaneModule.currentRecorder = recorder
        Keys.onSpacePressed: root.corvaneModule.currentRecorder = recorder

        TapHandler {
            onTapped: root.corvaneModule.currentRecorder = row.recorder
        }
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.spacingLarge
            anchors.rightMargin: Theme.spacingLarge
            spacing: Theme.spacing

            Text {
                Layout.preferredWidth: 220
                text: row.recorder.name
                color: Theme.text
                font.pixelSize: Theme.textSize
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                textFormat: Text.PlainText
            }
            RecorderState {
                id: state
                recorder: row.recorder
            }
            Text {
                Layout.fillWidth: true
                visible: row.recorder.isRecording
                text: RecorderUtils.prettyPrintTime(row.recorder.recordingProgressInSeconds, RecorderTimeFormat.HH_MM_SS_WITH_SPACES)
                color: row.recorder.isRecordingPaused ? Theme.paused : Theme.recording
                font.pixelSize: Theme.titleSize
                font.weight: Font.Medium
                font.features: ({
                        "tnum": 1
                    })
            }
            Item {
                Layout.fillWidth: true
                visible: !row.recorder.isRecording
            }
            PageButton {
                visible: row.recorder.isOn && !row.recorder.isRecording
                text: qsTr("Record")
                ink: Theme.recording
                onClicked: {
                    root.corvaneModule.currentRecorder = row.recorder;
                    row.recorder.startRecording();
                }
            }
            PageButton {
                visible: row.recorder.isRecording
                text: row.recorder.isRecordingPaused ? qsTr("Resume") : qsTr("Pause")
                onClicked: row.recorder.isRecordingPaused ? row.recorder.resumeRecording() : row.recorder.pauseRecording()
            }
            PageButton {
                visible: row.recorder.isRecording
                text: qsTr("Stop")
                onClicked: row.recorder.stopRecording()
            }
            PageButton {
                text: row.recorder.isOn ? qsTr("Disconnect") : qsTr("Connect")
                enabled: row.recorder.isOn || (row.recorder.isRunnable && NetworkConfiguration.isConnected)
                onClicked: row.recorder.isOn ? row.recorder.disconnectAgent() : row.recorder.connectAgent()
            }
        }
    }

    component RecorderState: Rectangle {
        id: chip

        required property RecorderInstance recorder
        readonly property bool isReplaying: recorder.isOn && recorder.isReplaying
        readonly property string text: {
            if (!recorder.isOn) {
                return qsTr("Off");
            }
            if (recorder.isRecording) {
                return recorder.isRecordingPaused ? qsTr("paused") : qsTr("Recording");
            }
            return isReplaying ? qsTr("Replaying") : qsTr("Ready");
        }
        readonly property color ink: {
            if (!recorder.isOn) {
                return Theme.mutedText;
            }
            if (recorder.isRecording) {
                return recorder.isRecordingPaused ? Theme.paused : Theme.recording;
            }
            return isReplaying ? Theme.replaying : Theme.text;
        }

        implicitWidth: content.implicitWidth + 20
        implicitHeight: 24
        radius: 12
        color: "transparent"
        border.width: 1
        border.color: recorder.isOn && (recorder.isRecording || isReplaying) ? ink : Theme.line

        Row {
            id: content
            anchors.centerIn: parent
            spacing: 6

            Item {
                anchors.verticalCenter: parent.verticalCenter
                width: 8
                height: 8

                Rectangle {
                    anchors.fill: parent
                    visible: !chip.recorder.isRecordingPaused && !chip.isReplaying
                    radius: 4
                    color: chip.recorder.isOn ? chip.ink : "transparent"
                    border.width: 2
                    border.color: chip.ink
                }
                Row {
                    anchors.centerIn: parent
                    visible: chip.recorder.isRecordingPaused
                    spacing: 2

                    Rectangle {
                        width: 3
                        height: 8
                        color: chip.ink
                    }
                    Rectangle {
                        width: 3
                        height: 8
                        color: chip.ink
                    }
                }
                // A triangle: half of a turned square, cut by the surrounding item.
                Item {
                    anchors.fill: parent
                    visible: chip.isReplaying
                    clip: true

                    Rectangle {
                        x: -4
                        anchors.verticalCenter: parent.verticalCenter
                        width: 8
                        height: 8
                        rotation: 45
                        color: chip.ink
                    }
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: chip.text
                color: chip.ink
                font.pixelSize: Theme.smallTextSize
                font.weight: Font.DemiBold
            }
        }
    }

    component RecordRow: Rectangle {
        id: recordRow

        // Null for the moment between a record's end and its row's.
        required property RecorderRecord record

        height: Theme.rowHeight
        color: root.current !== null && root.current.currentRecord === record ? Theme.selection : Theme.surface

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.spacingLarge
            anchors.rightMargin: Theme.spacingLarge
            spacing: Theme.spacingLarge

            Text {
                Layout.fillWidth: true
                text: recordRow.record?.name ?? ""
                color: Theme.text
                font.pixelSize: Theme.textSize
                font.weight: Font.Medium
                elide: Text.ElideRight
                textFormat: Text.PlainText
            }
            Text {
                Layout.preferredWidth: 180
                text: Qt.formatDateTime(recordRow.record?.startDateTime ?? new Date(NaN), "d MMM yyyy, hh:mm")
                color: Theme.mutedText
                font.pixelSize: Theme.textSize
            }
            Text {
                Layout.preferredWidth: 100
                text: RecorderUtils.prettyPrintTime(recordRow.record?.durationInSeconds ?? 0, RecorderTimeFormat.HH_MM_SS_ZZZ)
                color: Theme.text
                font.pixelSize: Theme.textSize
                font.features: ({
                        "tnum": 1
                    })
            }
        }
    }

    component PageButton: Button {
        id: button

        property bool primary: false
        property color ink: primary ? Theme.accentText : Theme.text

        implicitHeight: Theme.controlHeight
        leftPadding: Theme.spacing
        rightPadding: Theme.spacing
        topPadding: 0
        bottomPadding: 0
        font.pixelSize: Theme.textSize
        font.weight: Font.Medium
        opacity: enabled ? 1 : Theme.disabledOpacity
        palette.buttonText: ink
        palette.highlight: ink

        background: Rectangle {
            radius: Theme.radius
            color: button.primary ? Theme.accent : button.hovered || button.down ? Theme.hovered : Theme.raised
            border.width: button.visualFocus ? Theme.focusWidth : button.primary ? 0 : 1
            border.color: button.visualFocus ? Theme.accent : Theme.line
        }
    }
}

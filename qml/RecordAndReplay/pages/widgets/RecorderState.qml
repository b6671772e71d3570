// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane
import RecordAndReplay

// The state of a recorder as shape, word and colour.
Rectangle {
    id: root

    required property RecorderInstance recorder
    readonly property bool isBusy: recorder.isLoadingRecord || recorder.isDownloadingRecord || recorder.isImportingRecord
    readonly property string condition: {
        if (!recorder.isOn) {
            return "off";
        }
        if (recorder.isRecording) {
            return recorder.isRecordingPaused ? "paused" : "recording";
        }
        return isBusy ? "busy" : recorder.isReplaying ? "replaying" : "ready";
    }
    readonly property string word: {
        switch (condition) {
        case "off":
            return qsTr("Off");
        case "paused":
            return qsTr("paused");
        case "recording":
            return qsTr("Recording");
        case "replaying":
            return qsTr("Replaying");
        case "busy":
            return recorder.isLoadingRecord ? qsTr("Loading") : recorder.isDownloadingRecord ? qsTr("Downloading") : qsTr("Importing");
        default:
            return qsTr("Ready");
        }
    }
    readonly property color ink: {
        switch (condition) {
        case "off":
            return Theme.mutedText;
        case "paused":
            return Theme.paused;
        case "recording":
            return Theme.recording;
        case "replaying":
            return Theme.replaying;
        default:
            return Theme.text;
        }
    }
    // On a grid of 16: a ring, a dot, two bars, a triangle, a half dot.
    readonly property string shape: {
        switch (condition) {
        case "paused":
            return "M3 1h4v14H3zM9 1h4v14H9z";
        case "replaying":
            return "M2 1v14L15 8z";
        case "busy":
            return "M8 0a8 8 0 1 0 0 16a8 8 0 1 0 0-16M8 3.5a4.5 4.5 0 0 1 0 9z";
        case "off":
            return "M0 8a8 8 0 1 0 16 0a8 8 0 1 0-16 0M4 8a4 4 0 1 1 8 0a4 4 0 1 1-8 0";
        default:
            return "M0 8a8 8 0 1 0 16 0a8 8 0 1 0-16 0";
        }
    }

    implicitWidth: content.implicitWidth + 22
    implicitHeight: 24
    radius: 12
    color: "transparent"
    border.width: 1
    border.color: condition === "recording" || condition === "paused" || condition === "replaying" ? ink : Theme.line
    Accessible.role: Accessible.StaticText
    Accessible.name: word

    Row {
        id: content
        anchors.centerIn: parent
        spacing: 6

        Glyph {
            anchors.verticalCenter: parent.verticalCenter
            size: 8
            filled: true
            ink: root.ink
            path: root.shape
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.word
            color: root.ink
            font.pixelSize: Theme.smallTextSize
            font.weight: Font.DemiBold
            textFormat: Text.PlainText
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Corvane
import RecordAndReplay
import "../widgets"

// One recorder: its name, its state and where it runs; connects, disconnects and deletes it.
Item {
    id: root

    required property RecorderInstance recorder
    // The last rename that was refused.
    property string renameProblem: ""

    signal deletionRequested

    function rename(text: string): void {
        root.renameProblem = "";
        root.recorder.updateName(text);
    }

    implicitHeight: Theme.controlHeight

    RecorderFacts {
        id: facts
        recorder: root.recorder
    }
    Connections {
        function onProblemRaised(message: string): void {
            root.renameProblem = message;
        }

        target: SystemViewManager
        enabled: root.visible && nameField.field.activeFocus
    }
    RowLayout {
        anchors.fill: parent
        spacing: Theme.spacing

        DarkOrLightTextFieldErrorHandler {
            id: nameField
            objectName: "recorderName"
            Layout.fillWidth: true
            Layout.maximumWidth: 300
            Layout.preferredWidth: root.width < 800 ? 160 : 300
            Layout.minimumWidth: 120
            value: root.recorder.name
            isUsed: isEdited && !isBlank(text) && root.recorder.isRecorderNameAlreadyUsed(text)
            placeholderText: qsTr("Recorder name")
            font.weight: Font.DemiBold
            flat: !available
            hint: field.contentWidth > field.width ? value : qsTr("Recorder name")
            available: facts.mayBeRenamed
            unavailableHint: qsTr("The name cannot be changed while the recorder's agent runs")
            onCommitted: text => root.rename(text)
            // The head of the page never shows a name that the recorder has not.
            onIsHeldBackChanged: {
                if (isHeldBack) {
                    root.renameProblem = qsTr("The agent runs, so that the name did not become “%1”").arg(text);
                    reset();
                }
            }
            onAvailableChanged: {
                if (available) {
                    root.renameProblem = "";
                }
            }
        }
        RecorderState {
            objectName: "recorderState"
            recorder: root.recorder
        }
        ForeignText {
            objectName: "recorderPlace"
            Layout.fillWidth: true
            Layout.preferredWidth: implicitWidth
            visible: root.width >= 560
            text: [facts.machine, facts.store].join(" · ")
            color: Theme.mutedText
        }
        ConnectButton {
            id: connectButton
            recorder: root.recorder
            primary: !root.recorder.isOn
        }
        DarkOrLightTextButton {
            objectName: "deleteRecorderButton"
            iconName: "trash"
            hint: qsTr("Delete this recorder")
            available: !root.recorder.isOn
            unavailableHint: qsTr("Disconnect the recorder to delete it")
            onClicked: root.deletionRequested()
        }
    }
    Text {
        objectName: "recorderProblem"
        anchors.top: parent.bottom
        anchors.topMargin: 1
        anchors.right: parent.right
        width: Math.min(implicitWidth, parent.width * 0.7)
        elide: Text.ElideRight
        text: connectButton.problem !== "" ? connectButton.problem : root.renameProblem
        color: Theme.recording
        font.pixelSize: Theme.smallTextSize
        textFormat: Text.PlainText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

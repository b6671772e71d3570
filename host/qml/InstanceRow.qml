// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Corvane
import Corvane.Host

// One class instance of the system view: where it runs, and the way to start, stop and delete it.
Item {
    id: root

    required property HostApplication host
    // Null for the moment between an instance's end and its row's.
    required property SystemViewClassInstance instance
    readonly property alias control: control
    readonly property string className: instance?.systemViewClass?.name ?? ""
    // Its buttons are reached with Tab: only those of the row that the arrow keys are on.
    property bool isTabStop: true
    // Where room is scarce the class stands under the name.
    readonly property bool isNarrow: width < 820

    signal deletionRequested
    signal endRequested

    // What its button does, for keys too.
    function press(): void {
        if (control.canBeEnded) {
            root.endRequested();
        } else {
            control.press();
        }
    }

    implicitHeight: Theme.tallRowHeight

    InstanceControl {
        id: control
        instance: root.instance
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingLarge
        anchors.rightMargin: Theme.spacingLarge
        spacing: Theme.spacing

        Column {
            Layout.preferredWidth: 200
            Layout.fillWidth: true

            ForeignText {
                objectName: "instanceName"
                width: parent.width
                text: root.instance?.name ?? ""
                font.weight: Font.DemiBold
            }
            ForeignText {
                objectName: "instanceProblem"
                width: parent.width
                visible: text !== ""
                text: control.problem !== "" ? control.problem.split("\n")[0] : root.isNarrow ? root.className : ""
                color: control.problem !== "" ? Theme.recording : Theme.mutedText
                font.pixelSize: Theme.smallTextSize
                Accessible.role: control.problem !== "" ? Accessible.AlertMessage : Accessible.StaticText
                Accessible.name: text
            }
        }
        ForeignText {
            Layout.preferredWidth: 170
            visible: !root.isNarrow
            text: root.className
            color: Theme.mutedText
        }
        ForeignText {
            Layout.preferredWidth: root.isNarrow ? 112 : 130
            text: control.machineText
            color: Theme.mutedText
        }
        // As wide as its longest word.
        Item {
            Layout.preferredWidth: 112
            implicitHeight: chip.implicitHeight

            StateChip {
                id: chip
                objectName: "instanceState"
                anchors.verticalCenter: parent.verticalCenter
                shape: control.isStandIn ? "triangle" : control.isRunning ? "dot" : "ring"
                ink: control.isStandIn ? Theme.replaying : control.isRunning ? Theme.text : Theme.mutedText
                text: control.stateWord
            }
        }
        HostButton {
            objectName: "startInstanceButton"
            Layout.preferredWidth: 144
            visible: !control.isRunning && !control.canBeEnded
            isTabStop: root.isTabStop
            hint: qsTr("Start this agent")
            shortcut: qsTr("Enter")
            iconName: "plug"
            text: qsTr("Connect")
            available: control.isAvailable
            unavailableHint: control.obstacle
            onClicked: root.press()
        }
        HostButton {
            objectName: "stopInstanceButton"
            Layout.preferredWidth: 144
            visible: control.isRunning && !control.canBeEnded
            isTabStop: root.isTabStop
            hint: qsTr("Ask this agent to stop")
            shortcut: qsTr("Enter")
            iconName: "plug"
            text: qsTr("Disconnect")
            available: control.isAvailable
            unavailableHint: control.obstacle
            onClicked: root.press()
        }
        HostButton {
            objectName: "endInstanceButton"
            Layout.preferredWidth: 144
            visible: control.canBeEnded
            isTabStop: root.isTabStop
            hint: qsTr("It does not answer: have its machine's launcher end it")
            shortcut: qsTr("Enter")
            iconName: "stop"
            text: qsTr("End…")
            destructive: true
            onClicked: root.press()
        }
        HostButton {
            objectName: "deleteInstanceButton"
            iconName: "trash"
            quiet: true
            isTabStop: root.isTabStop
            shortcut: qsTr("Del")
            hint: qsTr("Delete from the system")
            onClicked: root.deletionRequested()
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "../widgets"

// What a recorder leaves out, in its own language. The recorder decides what it takes: what is in force comes back.
Column {
    id: root

    required property RecorderInstance recorder
    readonly property bool isApplicable: recorder.isOn && !recorder.offlineMode
    readonly property bool isEditable: isApplicable || !recorder.isOn
    readonly property string why: recorder.offlineMode ? qsTr("Filters can be applied only with a database") : qsTr("Connect the recorder to apply its filters")
    // The filters that the text was taken from.
    property string shown
    readonly property bool isChanged: area.text !== recorder.recordFilters

    function apply(): void {
        if (root.isApplicable) {
            root.recorder.updateRecordFilters(area.text);
        }
    }

    spacing: Theme.spacingSmall
    // Not bound: a binding would come back over what somebody types.
    Component.onCompleted: {
        shown = recorder.recordFilters;
        area.text = shown;
    }

    Connections {
        // What somebody types stays, unless it is what comes.
        function onRecordFiltersChanged(): void {
            if (area.text === root.shown) {
                area.text = root.recorder.recordFilters;
            }
            root.shown = root.recorder.recordFilters;
        }

        target: root.recorder
    }
    Text {
        text: qsTr("Recording filters")
        color: Theme.text
        font.pixelSize: Theme.textSize
        font.weight: Font.Medium
    }
    Text {
        width: parent.width
        text: qsTr("One rule a line: an agent, or agent/output, with * and ?. A leading - leaves out, # begins a comment; the last rule that fits decides.")
        color: Theme.mutedText
        font.pixelSize: Theme.smallTextSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
    }
    Hinted {
        width: parent.width
        height: 112
        available: root.isEditable
        unavailableHint: root.why

        Rectangle {
            anchors.fill: parent
            radius: Theme.radius
            color: Theme.surface
            border.width: area.activeFocus ? Theme.focusWidth : 1
            border.color: area.activeFocus ? Theme.accent : Theme.line
        }
        Flickable {
            anchors.fill: parent
            anchors.margins: 2
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: PageScrollBar {}

            // As large as the frame at least, so that a press anywhere in it is one in the text.
            TextArea.flickable: TextArea {
                id: area

                objectName: "filtersText"
                focus: true
                readOnly: !root.isEditable
                color: root.isEditable ? Theme.text : Theme.mutedText
                placeholderText: root.isEditable ? qsTr("Nothing is left out") : ""
                placeholderTextColor: Theme.mutedText
                selectionColor: Theme.accent
                selectedTextColor: Theme.accentText
                font.pixelSize: Theme.textSize
                textFormat: TextEdit.PlainText
                selectByMouse: true
                wrapMode: TextEdit.Wrap
                // A tab is no part of a filter.
                Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                Accessible.name: qsTr("Recording filters")
                background: null
            }
        }
    }
    Row {
        spacing: Theme.spacing

        DarkOrLightTextButton {
            objectName: "applyFiltersButton"
            text: qsTr("APPLY")
            hint: qsTr("Send the filters to the recorder")
            available: root.isApplicable
            unavailableHint: root.why
            onClicked: root.apply()
        }
        Text {
            objectName: "filtersChanged"
            anchors.verticalCenter: parent.verticalCenter
            visible: root.isEditable && root.isChanged
            text: qsTr("Not in force")
            color: Theme.paused
            font.pixelSize: Theme.smallTextSize
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// One record of the database: its name, when it was made and how long it is; opened in place while it is loaded.
Item {
    id: root

    required property int index
    required property int count
    required property RecorderInstance recorder
    // Null for the moment between a record's end and its row's.
    required property RecorderRecord record
    // Where the arrow keys are.
    property bool isCursor: false
    property bool hasKeyboard: false
    readonly property bool isCurrent: record !== null && recorder.currentRecord === record
    readonly property bool isOpen: isCurrent && record.isLoaded
    readonly property bool isNarrow: width < 640
    readonly property bool showsTools: isCursor || isCurrent || hover.hovered
    readonly property RecordItem replay: transport.item as RecordItem

    signal pressed
    // Asked for by hand or key: a click while a recording runs is no such asking, because loading would end it.
    signal loadRequested

    function rename(): void {
        nameField.isEditing = true;
        nameField.forceActiveFocus();
        nameField.field.selectAll();
    }

    implicitHeight: Theme.rowHeight + (isOpen ? transport.height + Theme.spacingLarge : 0)
    z: nameField.isEditing ? 1 : 0
    Accessible.role: Accessible.ListItem
    Accessible.name: qsTr("Record %1, %2, %3").arg(record?.name ?? "").arg(date.text).arg(duration.text)

    // Rows share their lines, and round the corners of the card that they make up.
    Rectangle {
        y: root.index > 0 ? -1 : 0
        width: parent.width
        height: parent.height - y
        color: root.isCurrent ? Theme.selection : hover.hovered ? Theme.raised : Theme.surface
        border.width: 1
        border.color: Theme.line
        topLeftRadius: root.index === 0 ? Theme.cardRadius : 0
        topRightRadius: topLeftRadius
        bottomLeftRadius: root.index === root.count - 1 ? Theme.cardRadius : 0
        bottomRightRadius: bottomLeftRadius
    }
    Rectangle {
        visible: root.isCursor && root.hasKeyboard
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: Theme.radius
        border.width: Theme.focusWidth
        border.color: Theme.accent
    }
    HoverHandler {
        id: hover
    }
    TapHandler {
        onTapped: root.pressed()
        onDoubleTapped: root.loadRequested()
    }

    DarkOrLightTextFieldErrorHandler {
        id: nameField

        property bool isEditing: false

        objectName: "recordName"
        x: Theme.spacingLarge
        y: (Theme.rowHeight - height) / 2
        width: Math.max(140, Math.min(420, root.width * 0.32))
        flat: !isEditing
        available: isEditing
        isTabStop: false
        value: root.record?.name ?? ""
        isUsed: isEdited && !isBlank && root.recorder.isRecordNameAlreadyUsed(text)
        errorIsBeside: true
        placeholderText: qsTr("Record name")
        hint: qsTr("Record name")
        unavailableHint: field.contentWidth > field.width ? value : ""
        font.weight: Font.Medium
        onCommitted: text => root.recorder.updateRecordName(root.record, text.trim())
        field.onActiveFocusChanged: {
            if (!field.activeFocus) {
                isEditing = false;
                field.cursorPosition = 0;
            }
        }
        field.onEditingFinished: isEditing = false
        Keys.onEscapePressed: isEditing = false
    }
    Text {
        id: date
        x: nameField.x + nameField.width + Theme.pageMargin
        anchors.verticalCenter: nameField.verticalCenter
        visible: nameField.errorText === "" && !root.isNarrow
        text: Qt.formatDateTime(root.record?.startDateTime ?? new Date(NaN), "d MMM yyyy, hh:mm")
        color: Theme.mutedText
        font.pixelSize: Theme.textSize
        font.features: ({
                "tnum": 1
            })
    }
    Figures {
        id: duration
        x: root.isNarrow ? date.x : date.x + 176
        anchors.verticalCenter: nameField.verticalCenter
        visible: nameField.errorText === ""
        text: RecorderUtils.prettyPrintTime(root.record?.durationInSeconds ?? 0, RecorderTimeFormat.HH_MM_SS_ZZZ)
    }
    Row {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacing
        anchors.verticalCenter: nameField.verticalCenter
        spacing: 4

        DarkOrLightTextButton {
            objectName: "renameRecordButton"
            visible: root.showsTools
            quiet: true
            isTabStop: root.isCursor
            iconName: "rename"
            hint: qsTr("Rename")
            shortcut: "F2"
            onClicked: root.rename()
        }
        DarkOrLightTextButton {
            objectName: "downloadButton"
            quiet: true
            isTabStop: root.isCursor
            iconName: "download"
            hint: qsTr("Download as a CSV file")
            available: root.recorder.isOn
            unavailableHint: qsTr("Connect the recorder to download its records")
            onClicked: root.recorder.downloadRecord(root.record)
        }
        DarkOrLightTextButton {
            objectName: "deleteRecordButton"
            quiet: true
            isTabStop: root.isCursor
            iconName: "trash"
            hint: qsTr("Delete")
            shortcut: qsTr("Del")
            available: root.recorder.isOn
            unavailableHint: qsTr("Connect the recorder to delete its records")
            onClicked: root.recorder.confirmRecordDeletion(root.record)
        }
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

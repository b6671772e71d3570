// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane
import RecordAndReplay
import "overlays"
import "pages"
import "popups"

// The module's page: the list of recorders or the one that is open, and over it what is going on and what is asked.
Rectangle {
    id: root

    required property RecorderModule corvaneModule
    readonly property string title: qsTr("Record & Replay")
    readonly property RecorderInstance current: corvaneModule.currentRecorder

    readonly property bool loading: current !== null && current.isLoadingRecord
    readonly property bool filtering: current !== null && current.isFilteringRecord
    readonly property bool stopping: current !== null && current.isStoppingRecord
    readonly property bool moving: current !== null && current.isMovingRecord && !current.isStoppingRecord
    readonly property bool exporting: current !== null && current.isDownloadingRecord && !current.isCancelingExport
    readonly property bool importing: current !== null && current.isImportingRecord && !current.isCancelingImport
    readonly property bool canceling: current !== null && (current.isCancelingImport || current.isCancelingExport)

    readonly property bool isBlocked: progressFeedback.visible || busyFeedback.visible
    readonly property bool isAsked: recordDeletion.visible || recorderDeletion.visible || endOfRecording.visible

    function leave(): void {
        root.corvaneModule.currentRecorder = null;
    }

    // The page of a recorder that goes is emptied before the recorder is: nothing of it may look for the recorder again.
    function showCurrent(): void {
        const before = stack.currentItem as Loader;
        if (before !== null) {
            before.active = false;
        }
        if (root.corvaneModule.currentRecorder === null) {
            stack.replaceCurrentItem(recordersPage, {}, StackView.Immediate);
        } else {
            stack.replaceCurrentItem(configurationPage, {
                "recorder": root.corvaneModule.currentRecorder
            }, StackView.Immediate);
        }
        root.takeKeyboard();
    }

    // To what is in front now; a question keeps the keyboard until it is answered.
    function takeKeyboard(): void {
        if (root.visible && !root.isAsked) {
            (busyFeedback.visible ? busyFeedback : progressFeedback.visible ? progressFeedback : stack).forceActiveFocus();
        }
    }

    objectName: "recordAndReplay"
    color: Theme.background
    onIsBlockedChanged: takeKeyboard()
    onCancelingChanged: busyFeedback.isDismissed = false
    Component.onCompleted: showCurrent()

    Connections {
        function onCurrentRecorderChanged(): void {
            recordDeletion.close();
            endOfRecording.close();
            root.showCurrent();
        }

        target: root.corvaneModule
    }
    Connections {
        function onConfirmRecordDeletion(record: RecorderRecord): void {
            recordDeletion.ask(record);
        }

        target: root.current
    }
    Shortcut {
        sequences: [StandardKey.Back]
        enabled: root.visible && root.current !== null && !root.isBlocked && !root.isAsked
        onActivated: root.leave()
    }

    HeaderBar {
        id: header
        width: parent.width
        title: root.title
        hasBack: root.current !== null
        enabled: !root.isBlocked
        onBackRequested: root.leave()
    }
    ConnectionWarning {
        id: warning
        anchors.top: header.bottom
        width: parent.width
        height: visible ? implicitHeight : 0
        visible: !NetworkConfiguration.isConnected
    }
    StackView {
        id: stack

        objectName: "pages"
        anchors.top: warning.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        focus: true
        enabled: !root.isBlocked
        initialItem: Item {}
    }
    Component {
        id: recordersPage

        RecordersPage {
            module: root.corvaneModule
            onDeletionRequested: recorder => recorderDeletion.ask(recorder)
        }
    }
    Component {
        id: configurationPage

        Loader {
            id: holder

            required property RecorderInstance recorder

            focus: true
            sourceComponent: Component {
                ConfigurationPage {
                    focus: true
                    recorder: holder.recorder
                    hasShortcuts: !root.isAsked
                    onDeletionRequested: recorderDeletion.ask(holder.recorder)
                    onEndOfRecordingRequested: (record, name, load) => endOfRecording.ask(holder.recorder, record, name, load)
                }
            }
        }
    }

    ProgressFeedback {
        id: progressFeedback
        anchors.fill: parent
        visible: root.loading || root.exporting || root.importing
        onVisibleChanged: root.takeKeyboard()
        recorder: root.current
        text: {
            if (root.loading) {
                return qsTr("Loading record, please wait...");
            }
            return root.exporting ? qsTr("Downloading record, please wait...") : qsTr("Importing record, please wait...");
        }
        progress: {
            if (root.current === null) {
                return 0;
            }
            return root.loading ? root.current.loadingProgress : root.exporting ? root.current.exportingProgress : root.current.importingProgress;
        }
        mayCancel: root.exporting || root.importing
        onCancelRequested: {
            if (root.exporting) {
                root.current.stopExport();
            } else if (root.importing) {
                root.current.stopImport();
            }
        }
        onLeaveRequested: root.leave()
    }
    BusyFeedback {
        id: busyFeedback

        // The person went on though a canceling flag stayed up.
        property bool isDismissed: false

        anchors.fill: parent
        visible: root.filtering || root.stopping || root.moving || (root.canceling && !(isStale && isDismissed))
        onVisibleChanged: root.takeKeyboard()
        recorder: root.current
        text: {
            if (root.filtering) {
                return qsTr("Filtering record, please wait...");
            }
            if (root.stopping) {
                return qsTr("Stopping replay, please wait...");
            }
            return root.moving ? qsTr("Moving replay to desired time, please wait...") : qsTr("Canceling...");
        }
        isStale: root.canceling && !root.filtering && !root.stopping && !root.moving && !root.current.isDownloadingRecord && !root.current.isImportingRecord
        onContinueRequested: isDismissed = true
        onLeaveRequested: root.leave()
    }

    ConfirmRecordDeletion {
        id: recordDeletion
        parent: root
        onHidden: root.takeKeyboard()
        onDeletionAccepted: record => root.current?.deleteRecord(record)
    }
    ConfirmEndOfRecording {
        id: endOfRecording
        parent: root
        onHidden: root.takeKeyboard()
    }
    ConfirmRecorderDeletion {
        id: recorderDeletion
        parent: root
        onHidden: root.takeKeyboard()
        onDeletionAccepted: recorder => root.corvaneModule.deleteRecorder(recorder)
    }
}

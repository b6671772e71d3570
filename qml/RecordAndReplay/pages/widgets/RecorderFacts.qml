// SPDX-License-Identifier: Apache-2.0
import QtQml
import Corvane
import RecordAndReplay

// What pages say of a recorder in a few words.
QtObject {
    id: root

    required property RecorderInstance recorder
    readonly property EncounteredAgentsOnHost group: recorder.encounteredAgentsOnHost
    readonly property RecorderRecord record: recorder.currentRecord
    readonly property bool isLocal: group !== null && group.host !== null && group.host.networkName === NetworkConfiguration.localNetworkName
    readonly property string machine: {
        if (group === null || group.host === null) {
            return qsTr("no machine");
        }
        return group.isAttachedToCorvane ? qsTr("this machine") : group.host.networkName;
    }
    readonly property string store: {
        if (recorder.offlineMode) {
            return qsTr("CSV files");
        }
        return recorder.cassandraEndpoint.startsWith("embedded:") ? qsTr("embedded") : recorder.cassandraEndpoint;
    }
    readonly property bool hasReplay: recorder.isOn && record !== null && record.isLoaded
    // What goes on: the time of the recording, or the record and the place in it.
    readonly property string progress: {
        if (recorder.isRecording) {
            return RecorderUtils.prettyPrintTime(recorder.recordingProgressInSeconds, RecorderTimeFormat.HH_MM_SS_WITH_SPACES);
        }
        if (!hasReplay) {
            return "";
        }
        const position = RecorderUtils.prettyPrintTime(record.replayProgressInSecond, RecorderTimeFormat.HH_MM_SS_WITH_SPACES);
        const duration = RecorderUtils.prettyPrintTime(record.durationInSeconds, RecorderTimeFormat.HH_MM_SS_WITH_SPACES);
        // The name comes last, because it is what can be cut off.
        return qsTr("%1 / %2").arg(position).arg(duration) + (record.speed === null ? "" : " · " + record.speed.label) + qsTr("  “%1”").arg(record.name);
    }
    readonly property bool mayBeRenamed: !recorder.isOn && !(recorder.instance?.isRunning ?? false)
}

// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// Where a recorder keeps its records: a node of Cassandra, or the store that is built into the recorder.
SettingsSection {
    id: root

    required property RecorderInstance recorder

    // What is wrong with a text; nothing for a host and a port.
    function problemOf(text: string): string {
        if (text.trim() === "") {
            return qsTr("Cannot be empty");
        }
        const parts = /^(?:tcp:\/\/)?(.*):(\d{1,5})$/.exec(text.trim());
        if (parts === null) {
            return qsTr("Type a host and a port, such as db:9042");
        }
        if (Number(parts[2]) < 1 || Number(parts[2]) > 65535) {
            return qsTr("A port is a number from 1 to 65535");
        }
        return isHost(parts[1]) ? "" : qsTr("This is no name or address of a host");
    }

    function isHost(host: string): bool {
        const address = host.startsWith("[") && host.endsWith("]") ? host.slice(1, -1) : host;
        if (address.includes(":")) {
            // One gap may stand for what is missing of the eight groups.
            const groups = address.split(":");
            const isWhole = groups.length === 8 && groups.every(group => group !== "");
            const hasGap = groups.length >= 3 && groups.length <= 8 && /^(?!.*::.*::|.*:::).*::/.test(address);
            return /^[0-9A-Fa-f:.]+$/.test(address) && (isWhole || hasGap);
        }
        return address === host && /^(?:[A-Za-z0-9_-]+\.)*[A-Za-z0-9_-]+$/.test(host);
    }

    objectName: "databaseSection"
    isOn: recorder.isOn
    hasBox: false
    text: qsTr("Database")
    value: !recorder.offlineMode

    DarkOrLightTextField {
        id: field
        objectName: "databaseField"

        readonly property string problem: isEdited ? root.problemOf(text) : ""

        width: parent.width
        placeholderText: qsTr("Host and port, or embedded:9042")
        accessibleName: root.text
        value: root.recorder.cassandraEndpoint
        available: !root.recorder.isOn
        hint: qsTr("Host and port of a Cassandra node; the host “embedded”, with any port, is the built-in store")
        unavailableHint: root.why
        isWrong: problem !== ""
        // Asked for the text itself: what is bound to it may be one letter behind.
        mayCommit: root.problemOf(text) === ""
        onCommitted: text => root.recorder.updateCassandraEndpoint(text)
    }
    Text {
        objectName: "databaseProblem"
        width: parent.width
        visible: text !== ""
        text: field.problem
        color: Theme.recording
        font.pixelSize: Theme.smallTextSize
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// Asks before an instance is taken out of the document.
Question {
    id: root

    property SystemViewBaseInstance instance: null

    function ask(instance: SystemViewBaseInstance): void {
        root.instance = instance;
        root.open();
    }

    name: "Deletion"
    title: instance === null ? "" : qsTr("Delete \"%1\" from the system?").arg(instance.name)
    explanation: qsTr("Its launch lines go with it. An agent that runs goes on running, and is listed as not placed.")
    confirmText: qsTr("Delete")
    cancelHint: qsTr("Keep it")
    onConfirmed: SystemDocumentHandler.deleteInstance(root.instance)
    onClosed: root.instance = null
}

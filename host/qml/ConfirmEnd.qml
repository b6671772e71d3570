// SPDX-License-Identifier: Apache-2.0
import QtQuick

// Asks before an agent that does not answer is ended by the launcher of its machine.
Question {
    id: root

    // Null once the row is gone.
    property InstanceControl control: null

    function ask(control: InstanceControl): void {
        root.control = control;
        root.open();
    }

    name: "End"
    title: qsTr("End \"%1\"?").arg(control?.instance?.name ?? "")
    explanation: qsTr("The launcher of its machine asks it to end, and kills it when it does not. What it has not written yet is lost.")
    confirmText: qsTr("End")
    cancelHint: qsTr("Leave it running")
    onConfirmed: root.control?.end()
    onClosed: root.control = null
}

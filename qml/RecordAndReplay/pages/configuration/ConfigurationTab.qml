// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Corvane
import RecordAndReplay
import "../widgets"

// The settings with which a recorder's agent is started, and what it records.
FocusScope {
    id: root

    required property RecorderInstance recorder
    readonly property bool isEditable: !recorder.isOn
    readonly property string why: qsTr("Disconnect the recorder to change its settings")

    RecorderFacts {
        id: facts
        recorder: root.recorder
    }
    FollowingFlickable {
        id: flickable
        anchors.fill: parent
        focus: true
        contentHeight: card.height

        Rectangle {
            id: card
            width: flickable.innerWidth
            height: sections.height + Theme.spacingLarge
            radius: Theme.cardRadius
            color: Theme.surface
            border.width: 1
            border.color: Theme.line
        }
        Column {
            id: sections
            x: Theme.spacingLarge
            width: flickable.innerWidth - 2 * Theme.spacingLarge

            SettingsSection {
                objectName: "verboseSection"
                width: parent.width
                isOn: root.recorder.isOn
                text: qsTr("Verbose")
                value: root.recorder.isVerbose
                hasSeparator: true
                onSwitched: checked => root.recorder.updateIsVerbose(checked)
            }
            DatabaseSection {
                width: parent.width
                recorder: root.recorder
                hasSeparator: true
            }
            SettingsSection {
                objectName: "keyspaceSection"
                width: parent.width
                isOn: root.recorder.isOn
                text: qsTr("Custom keyspace")
                value: root.recorder.useCustomKeyspace
                hasSeparator: true
                onSwitched: checked => root.recorder.updateUseCustomKeyspace(checked)

                DarkOrLightTextField {
                    objectName: "keyspaceField"
                    width: parent.width
                    placeholderText: qsTr("Chosen keyspace")
                    value: root.recorder.customKeyspace
                    available: root.isEditable
                    hint: qsTr("Letters, digits and underscores")
                    unavailableHint: root.why
                    onCommitted: text => root.recorder.updateCustomKeyspace(text)
                }
            }
            SettingsSection {
                objectName: "authenticationSection"
                width: parent.width
                isOn: root.recorder.isOn
                text: qsTr("User")
                value: root.recorder.useAuthentication
                hasSeparator: true
                onSwitched: checked => root.recorder.updateUseAuthentication(checked)

                DarkOrLightTextField {
                    objectName: "usernameField"
                    width: parent.width
                    placeholderText: qsTr("Username")
                    value: root.recorder.username
                    available: root.isEditable
                    unavailableHint: root.why
                    onCommitted: text => root.recorder.updateUsername(text)
                }
                DarkOrLightTextField {
                    objectName: "passwordField"
                    width: parent.width
                    placeholderText: qsTr("Password")
                    value: root.recorder.password
                    echoMode: showPassword.value === Qt.Checked ? TextInput.Normal : TextInput.Password
                    available: root.isEditable
                    unavailableHint: root.why
                    onCommitted: text => root.recorder.updatePassword(text)
                }
                DarkOrLightCheckBox {
                    id: showPassword
                    objectName: "showPasswordBox"
                    text: qsTr("Show password")
                    onSwitched: checked => value = checked ? Qt.Checked : Qt.Unchecked
                }
            }
            SettingsSection {
                objectName: "securitySection"
                width: parent.width
                isOn: root.recorder.isOn
                text: qsTr("Quenary security")
                value: root.recorder.isQuenarySecurityActivate
                hasSeparator: true
                onSwitched: checked => root.recorder.updateIsQuenarySecurityActivate(checked)
                beside: Hinted {
                    objectName: "securityWarning"
                    anchors.verticalCenter: parent.verticalCenter
                    width: 16
                    height: 16
                    hint: opacity > 0 ? qsTr("Corvane security is not configured") : ""
                    opacity: root.recorder.isQuenarySecurityActivate && !NetworkConfiguration.isQuenarySecurityActivated ? 1 : 0
                    Accessible.role: Accessible.AlertMessage
                    Accessible.name: hint

                    Behavior on opacity {
                        NumberAnimation {
                            duration: Theme.fadeDuration
                        }
                    }
                    Image {
                        source: "qrc:/resources/RecordAndReplay/orange-fin.svg"
                        sourceSize: Qt.size(16, 16)
                    }
                }

                PathField {
                    objectName: "privateCertificate"
                    width: parent.width
                    label: qsTr("Private agent certificate")
                    value: root.recorder.privateAgentCertificateFilePath
                    available: root.isEditable
                    unavailableHint: root.why
                    isLocal: facts.isLocal
                    onCommitted: path => root.recorder.updatePrivateAgentCertificateFilePath(path)
                }
                PathField {
                    objectName: "publicCertificates"
                    width: parent.width
                    label: qsTr("Public certificates directory")
                    value: root.recorder.publicCertificatesDirectoryPath
                    isFolder: true
                    available: root.isEditable
                    unavailableHint: root.why
                    isLocal: facts.isLocal
                    onCommitted: path => root.recorder.updatePublicCertificatesDirectoryPath(path)
                }
            }
            SettingsSection {
                objectName: "timestampedReplaySection"
                width: parent.width
                isOn: root.recorder.isOn
                text: qsTr("Timestamped replay")
                value: root.recorder.isInTimestampedReplayMode
                hasSeparator: true
                onSwitched: checked => root.recorder.updateTimestampedReplayMode(checked)
            }
            Item {
                width: 1
                height: Theme.spacing
            }
            FiltersEditor {
                objectName: "filtersSection"
                width: parent.width
                recorder: root.recorder
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Corvane

// A figure that does not jump while it runs.
Text {
    color: Theme.text
    font.pixelSize: Theme.textSize
    font.features: ({
            "tnum": 1
        })
    textFormat: Text.PlainText
}

// SPDX-License-Identifier: Apache-2.0
import "../widgets"

// The check mark of one agent, or of all of them.
DarkOrLightCheckBox {
    isTabStop: false
}

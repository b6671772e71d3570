// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Corvane

// A page that is longer than its place: what has the keyboard is kept in view.
Flickable {
    id: root

    readonly property Item focused: root.Window.activeFocusItem
    // Beside the bar, not under it.
    readonly property real innerWidth: width - (contentHeight > height ? Theme.spacing : 0)

    function holds(item: Item): bool {
        while (item !== null && item !== root.contentItem) {
            item = item.parent;
        }
        return item !== null;
    }

    function follow(): void {
        if (!root.holds(root.focused)) {
            return;
        }
        const top = root.contentItem.mapFromItem(root.focused, 0, 0).y - Theme.spacingLarge;
        const bottom = top + root.focused.height + 2 * Theme.spacingLarge;
        if (top < root.contentY) {
            root.contentY = Math.max(0, top);
        } else if (bottom > root.contentY + root.height) {
            root.contentY = Math.max(0, Math.min(bottom, root.contentHeight) - root.height);
        }
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: width
    onFocusedChanged: Qt.callLater(follow)
    ScrollBar.vertical: PageScrollBar {}
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Shapes
import Corvane

// The outline of a place that takes something.
Shape {
    id: root

    property color ink: Theme.accent

    ShapePath {
        strokeColor: root.ink
        strokeWidth: 2
        strokeStyle: ShapePath.DashLine
        dashPattern: [4, 3]
        fillColor: "transparent"

        PathRectangle {
            x: 1
            y: 1
            width: root.width - 2
            height: root.height - 2
            radius: Theme.cardRadius
        }
    }
}

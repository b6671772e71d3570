// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Shapes
import Corvane

// A small drawing in one colour, on a grid of 16.
Item {
    id: root

    property string path
    property color ink: Theme.text
    property bool filled: false
    property real size: 16

    implicitWidth: size
    implicitHeight: size

    Shape {
        width: 16
        height: 16
        scale: root.size / 16
        transformOrigin: Item.TopLeft

        ShapePath {
            strokeColor: root.filled ? "transparent" : root.ink
            strokeWidth: root.filled ? -1 : 1.8
            fillColor: root.filled ? root.ink : "transparent"
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin

            PathSvg {
                path: root.path
            }
        }
    }
}

// The frame of the thermal core's magnified inset, with a mark on its aim point.
import QtQuick

Item {
    id: root

    property bool markVisible
    property color markColor
    property real markOpacity
    property real markOffsetX: 0
    property real markOffsetY: 0

    // The core's inset is 256 x 192 thermal pixels, 16 below the upper edge; a thermal pixel is 1.6
    // display pixels.
    x: (1024 - width) / 2
    y: 16 * 1.6
    width: 256 * 1.6
    height: 192 * 1.6

    component Edge: Rectangle {
        anchors.fill: parent
        color: "transparent"
    }

    Edge {
        anchors.margins: -3
        border { width: 4; color: "#b0000000" }
    }
    Edge {
        anchors.margins: -2
        border { width: 2; color: "#e8ffffff" }
    }

    component Tick: Rectangle {
        property real side

        x: root.width / 2 + root.markOffsetX - width / 2
        y: root.height / 2 + root.markOffsetY - height / 2
        visible: root.markVisible
        opacity: root.markOpacity
        color: root.markColor
    }

    Tick { width: 34; height: 2 }
    Tick { width: 2; height: 34 }
}

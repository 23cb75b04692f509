// The panel's luminance: a sun, and a bar for each of the levels 1 to 4.
import QtQuick

Badge {
    id: root
    property int level: 0

    Icon { source: "icons/sun.svg" }

    Row {
        height: parent.height
        spacing: 4

        Repeater {
            model: 4

            Rectangle {
                required property int index
                readonly property bool lit: index < root.level

                y: 35 - height
                width: 12
                height: 12 + 5 * index
                color: lit ? "#ffffff" : "transparent"
                border { width: 2; color: lit ? "#d0000000" : "#c0ffffff" }
            }
        }
    }
}

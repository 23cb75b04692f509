// A magnification: its symbol and the factor 1, 2 or 4 as the steps 0, 1 and 2.
import QtQuick

Row {
    property url icon
    property int step: 0

    spacing: 8

    Icon { source: parent.icon }
    Label {
        height: 44
        text: Math.pow(2, parent.step) + "\u00d7"
    }
}

// A magnification: its symbol and the factor 1, 2 or 4 as the steps 0, 1 and 2.
import QtQuick

Badge {
    id: root

    property alias icon: symbol.source
    property int step: 0

    Icon { id: symbol }
    Label {
        height: parent.height
        text: Math.pow(2, root.step) + "\u00d7"
    }
}

// A magnification: symbol and factor; steps 0, 1 and 2 are the factors 1, 2 and 4.
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

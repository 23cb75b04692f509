// Tells for about a second that the shutter closes for a correction of the picture.
import QtQuick

Row {
    id: root

    function flash() {
        visible = true
        hide.restart()
    }

    visible: false
    spacing: 8

    Icon { source: "icons/shutter.svg" }
    Label {
        height: 44
        color: "#ffc83d"
        text: "NUC"
    }

    Timer {
        id: hide
        interval: 1000
        onTriggered: root.visible = false
    }
}

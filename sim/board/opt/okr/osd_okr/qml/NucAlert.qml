// Shows for about a second that the shutter closes for a correction.
import QtQuick

Badge {
    id: root

    function flash() {
        visible = true
        hide.restart()
    }

    visible: false

    Icon { source: "icons/shutter.svg" }
    Label {
        height: parent.height
        color: "#ffc83d"
        text: "NUC"
    }

    Timer {
        id: hide
        interval: 1000
        onTriggered: root.visible = false
    }
}

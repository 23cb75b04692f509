// The scale of the leveler, without pointer and angle while no tilt is known.
import QtQuick

Rectangle {
    width: 280
    height: 62
    radius: 8
    color: "#78000000"

    Label {
        anchors { horizontalCenter: parent.horizontalCenter; top: parent.top; topMargin: 2 }
        font.pixelSize: 22
        text: "\u2013\u2009\u2013\u00b0"
    }
    Icon {
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 3 }
        source: "icons/level.svg"
        width: 260
        height: 28
    }
}

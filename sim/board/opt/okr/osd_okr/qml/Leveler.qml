// The scale of the leveler; it carries no pointer and no angle as long as no tilt is known.
import QtQuick

Column {
    spacing: 2

    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        font.pixelSize: 22
        text: "\u2013\u2009\u2013\u00b0"
    }
    Image {
        source: "icons/level.svg"
        width: 260
        height: 28
        sourceSize: Qt.size(width, height)
    }
}

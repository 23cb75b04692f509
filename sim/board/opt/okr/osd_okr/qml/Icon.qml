// A status symbol at the edge, drawn at full sharpness.
import QtQuick

Image {
    width: 44
    height: 44
    sourceSize: Qt.size(width, height)
}

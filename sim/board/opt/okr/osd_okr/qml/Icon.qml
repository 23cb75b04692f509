// A status symbol of the rim, drawn at its full sharpness.
import QtQuick

Image {
    width: 44
    height: 44
    sourceSize: Qt.size(width, height)
}

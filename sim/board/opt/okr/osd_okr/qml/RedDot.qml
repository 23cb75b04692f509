// The aiming dot, centred on a point of the display.
import QtQuick

Rectangle {
    property real centerX
    property real centerY

    x: centerX - width / 2
    y: centerY - height / 2
    width: 9
    height: 9
    radius: width / 2
    color: "#ff0000"
    antialiasing: true
}

// The aiming dot, centred on a point of the display.
import QtQuick

Rectangle {
    property real centerX
    property real centerY

    // Edges lie on whole pixels: its width, even or odd, puts the centre as near to the point as
    // possible.
    function span(center) {
        return Math.round(2 * center) % 2 === 0 ? 10 : 9
    }

    x: Math.round(centerX - width / 2)
    y: Math.round(centerY - height / 2)
    width: span(centerX)
    height: span(centerY)
    radius: width / 2
    color: "#ff0000"
    antialiasing: true
}

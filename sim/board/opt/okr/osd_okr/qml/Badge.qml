// A group at the picture's edge, on a veil that keeps it readable on hot ground.
import QtQuick

Rectangle {
    default property alias content: row.data

    width: row.width + 20
    height: 52
    radius: 8
    color: "#78000000"

    Row {
        id: row
        anchors.centerIn: parent
        height: 44
        spacing: 8
    }
}

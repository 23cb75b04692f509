// A reticle drawing from an SVG file, in the chosen colour and size.
import QtQuick

Item {
    id: root

    property string path: "/opt/okr/Reticles/StandardMilDot.svg"
    property color tint: "#000000"
    property real imageX: 512
    property real imageY: 384
    property real drawnWidth: 370
    property real drawnHeight: 370

    // The colour of all strokes and fills in the drawings.
    readonly property string placeholder: "#000000"
    property string drawing
    property Image shown: first
    property Image next: second

    // Finds files relative to the scene's place in /opt/okr/osd_okr/qml, wherever that tree is.
    function fileUrl(path) {
        return path.startsWith("/opt/okr/") ? Qt.resolvedUrl("../../" + path.slice("/opt/okr/".length))
                                            : "file://" + path
    }

    function load() {
        const wanted = path
        const request = new XMLHttpRequest()
        request.onreadystatechange = () => {
            if (request.readyState !== XMLHttpRequest.DONE || wanted !== path)
                return
            drawing = request.responseText
            if (drawing === "")
                console.warn("no reticle drawing at", wanted)
        }
        request.open("GET", fileUrl(path))
        request.send()
    }

    // The drawing over a slightly wider copy in a contrasting colour: keeps black reticles visible
    // in the dark and white ones on snow.
    function outlined() {
        const bright = 0.299 * tint.r + 0.587 * tint.g + 0.114 * tint.b > 0.5
        const contrast = bright ? "#000000" : "#ffffff"
        const start = drawing.indexOf(">", drawing.indexOf("<svg")) + 1
        const end = drawing.lastIndexOf("</svg>")
        const shapes = drawing.slice(start, end)
        const wider = shapes.replace(/stroke-width="([0-9.]+)"/g,
                                     (all, width) => `stroke-width="${Number(width) + 1.6}"`)
        return drawing.slice(0, start)
            + `<g opacity="0.45" stroke="${contrast}" stroke-width="1.6">`
            + wider.split(placeholder).join(contrast) + "</g>"
            + shapes.split(placeholder).join(tint) + "</svg>"
    }

    // Drawing takes a moment: the old picture stays until the new one is ready, so nothing
    // flickers.
    function redraw() {
        next.source = ""
        if (drawing === "") {
            shown.source = ""
            return
        }
        next.x = imageX
        next.y = imageY
        next.width = drawnWidth
        next.height = drawnHeight
        next.sourceSize = Qt.size(Math.round(drawnWidth), Math.round(drawnHeight))
        next.source = "data:image/svg+xml;utf8," + encodeURIComponent(outlined())
    }

    function swap() {
        [shown, next] = [next, shown]
        next.source = ""
    }

    Component.onCompleted: load()
    onPathChanged: Qt.callLater(load)
    onDrawingChanged: Qt.callLater(redraw)
    onTintChanged: Qt.callLater(redraw)
    onImageXChanged: Qt.callLater(redraw)
    onImageYChanged: Qt.callLater(redraw)
    onDrawnWidthChanged: Qt.callLater(redraw)
    onDrawnHeightChanged: Qt.callLater(redraw)

    component Layer: Image {
        cache: false
        fillMode: Image.PreserveAspectFit
        visible: root.shown === this
        onStatusChanged: {
            if (status === Image.Ready && root.next === this)
                root.swap()
        }
    }

    Layer { id: first }
    Layer { id: second }
}

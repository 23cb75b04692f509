// The on-screen display: reticle, red dot, status icons and the inset's frame over the thermal picture.
import QtQuick

Item {
    id: scene
    width: 1024
    height: 768

    readonly property int rim: 20

    // Updates are JSON objects; other texts are ignored.
    function parsed(text) {
        try {
            const update = JSON.parse(text)
            return update instanceof Object ? update : {}
        } catch (error) {
            return {}
        }
    }

    // The number in an update, as number or text; the current value without one.
    function numberOr(value, current) {
        const given = typeof value === "number" || (typeof value === "string" && value.trim() !== "")
        return given && isFinite(value) ? Number(value) : current
    }

    Item {
        objectName: "ReticleMenu"
        property string retProfParam

        onRetProfParamChanged: {
            const update = scene.parsed(retProfParam)
            reticle.visible = scene.numberOr(update.STATE, reticle.visible ? 1 : 0) !== 0
            reticle.imageX = scene.numberOr(update.X, reticle.imageX)
            reticle.imageY = scene.numberOr(update.Y, reticle.imageY)
            reticle.drawnWidth = scene.numberOr(update.WIDTH, reticle.drawnWidth)
            reticle.drawnHeight = scene.numberOr(update.HEIGHT, reticle.drawnHeight)
            reticle.opacity = scene.numberOr(update.BRIGHT_VAL, reticle.opacity)
            if (/^#[0-9a-f]{6}$/i.test(update.COLOR_HEX))
                reticle.tint = update.COLOR_HEX
            if (typeof update.SRC === "string")
                reticle.path = update.SRC
            redDot.centerX = scene.numberOr(update.RD_X, redDot.centerX)
            redDot.centerY = scene.numberOr(update.RD_Y, redDot.centerY)
            redDot.visible = scene.numberOr(update.RD_STATE, redDot.visible ? 1 : 0) !== 0
            inset.markOffsetX = scene.numberOr(update.Z_OFFSET_X, inset.markOffsetX)
            inset.markOffsetY = scene.numberOr(update.Z_OFFSET_Y, inset.markOffsetY)
        }
    }

    Item {
        objectName: "OffMenu"
        property string offMenuParams

        onOffMenuParamsChanged: {
            const update = scene.parsed(offMenuParams)
            switch (update.KEY) {
            case "ZOOM":
                zoom.step = scene.numberOr(update.VAL, zoom.step)
                break
            case "PIP_ZOOM":
                insetZoom.step = scene.numberOr(update.VAL, insetZoom.step)
                break
            case "LUM":
                luminance.level = scene.numberOr(update.VAL, luminance.level)
                break
            case "AUTO_NUC_ALRT":
                nucAlert.flash()
                break
            }
            // An alert is an event, not a state: clear the property so that it notices the same
            // text again.
            offMenuParams = ""
        }
    }

    Item {
        objectName: "FtrMenu"
        property string pipSt: "0"
        property string lvlSt: "0"
        readonly property bool insetShown: pipSt === "1"

        onInsetShownChanged: inset.visible = insetZoom.visible = insetShown
        onLvlStChanged: leveler.visible = lvlSt === "1"
    }

    InsetFrame {
        id: inset
        visible: false
        markVisible: reticle.visible
        markColor: reticle.tint
        markOpacity: reticle.opacity
    }

    Reticle {
        id: reticle
        anchors.fill: parent
    }

    RedDot {
        id: redDot
        centerX: 697
        centerY: 569
    }

    FactorIcon {
        id: zoom
        x: scene.rim
        y: scene.rim
        icon: "icons/zoom.svg"
    }

    FactorIcon {
        id: insetZoom
        visible: false
        anchors { right: parent.right; top: parent.top; margins: scene.rim }
        icon: "icons/inset.svg"
    }

    NucAlert {
        id: nucAlert
        x: scene.rim
        y: scene.rim + 60
    }

    LuminanceIcon {
        id: luminance
        anchors { left: parent.left; bottom: parent.bottom; margins: scene.rim }
    }

    Leveler {
        id: leveler
        visible: false
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: scene.rim }
    }
}

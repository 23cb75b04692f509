// Text that stays readable on hot and on cold ground: bright with a dark outline.
import QtQuick

Text {
    color: "#ffffff"
    style: Text.Outline
    styleColor: "#d0000000"
    font { family: "DejaVu Sans"; bold: true; pixelSize: 28 }
    verticalAlignment: Text.AlignVCenter
}

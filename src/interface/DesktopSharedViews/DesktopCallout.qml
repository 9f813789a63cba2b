import QtQuick
import QtQuick.Layouts
import Veskline.Drawing
import Veskline.SharedViews

// A sentence that is to be noticed, beside the symbol of its kind.
DesktopBox {
    id: root
    property string text
    property int kind: StatusPillKind.Muted

    Layout.fillWidth: true
    implicitWidth: label.x + Math.ceil(label.implicitWidth) + 16
    implicitHeight: Math.max(symbol.height, label.implicitHeight) + 32
    fill: DesktopPalette.ground(kind, 0.08)
    stroke: DesktopPalette.line(kind, 0.24, 0.18)

    SymbolImage {
        id: symbol
        x: 16
        y: 16
        name: ["sparkles", "check-circle", "warning", "cross-octagon", "info-circle"][root.kind]
        color: DesktopPalette.tone(root.kind)
    }
    DesktopText {
        id: label
        x: symbol.x + symbol.width + 12
        y: 16
        width: root.width - x - 16
        text: root.text
        weight: Font.Medium
        color: DesktopPalette.muted
        wrapMode: Text.Wrap
    }
}

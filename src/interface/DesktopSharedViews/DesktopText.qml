import QtQuick
import Veskline.Drawing
import Veskline.SharedViews

// Plain text in one of the window's two families.
Text {
    property int size: 14
    property int weight: Font.Normal
    property real tracking: 0
    property bool mono: false

    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignLeft
    color: DesktopPalette.text
    font.family: mono ? DesktopFonts.mono : DesktopFonts.sans
    font.pixelSize: size
    font.weight: weight
    font.letterSpacing: tracking
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// The small label over most blocks of content.
DesktopText {
    Layout.fillWidth: true
    mono: true
    size: 11
    weight: Font.Medium
    tracking: 2.2
    color: DesktopPalette.muted
    font.capitalization: Font.AllUppercase
    elide: Text.ElideRight
}

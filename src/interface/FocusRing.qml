import QtQuick
import Veskline.SharedViews

// Drawn by the window around whatever has the keyboard's focus; it moves and scrolls with it.
Rectangle {
    property Item target: null

    parent: target
    visible: target !== null
    anchors.fill: parent
    anchors.margins: -4
    z: 1
    color: "transparent"
    radius: 11
    border.width: 2
    border.color: DesktopPalette.accentDeep
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// A thin line between two blocks of content.
Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: DesktopPalette.border
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: DesktopPalette.border
}

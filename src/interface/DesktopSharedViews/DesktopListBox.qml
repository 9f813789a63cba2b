import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// The frame of a list of DesktopListRows.
DesktopBox {
    id: root
    default property alias rows: column.data

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 32
    fill: DesktopPalette.surface
    stroke: DesktopPalette.border

    Column {
        id: column
        x: 16
        y: 16
        width: root.width - 32
    }
}

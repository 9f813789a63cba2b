import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// A card: content with equal padding on a rounded ground. The content lies in one column of the card's width.
Rectangle {
    id: root
    enum Tone { Page, Surface, Strong, Accent }
    property int tone: DesktopSurface.Strong
    property real padding: 24
    property real minimumHeight: 0
    property alias spacing: column.spacing
    default property alias content: column.data

    Layout.fillWidth: true
    implicitWidth: column.implicitWidth + 2 * padding
    implicitHeight: Math.max(minimumHeight, column.implicitHeight + 2 * padding)
    radius: 10
    color: [DesktopPalette.page, DesktopPalette.surface, DesktopPalette.surfaceStrong, DesktopPalette.accentSoft][tone]
    border.width: 1
    border.color: tone === DesktopSurface.Accent ? DesktopPalette.faded(DesktopPalette.accentDeep, 0.36)
                                                 : DesktopPalette.border

    ColumnLayout {
        id: column
        x: root.padding
        y: root.padding
        width: root.width - 2 * root.padding
        spacing: 0
    }
}

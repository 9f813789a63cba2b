import QtQuick
import QtQuick.Layouts
import Veskline.Drawing
import Veskline.SharedViews

// A figure or a short text under its title, and what it means. One that is too long for the card is set smaller.
DesktopBox {
    id: root
    property string title
    property string value
    property string detail

    readonly property int valueSize: 28
    readonly property real valueTracking: -1.2

    implicitWidth: 180
    implicitHeight: Math.max(132, column.implicitHeight + 36)
    Layout.fillWidth: true
    fill: DesktopPalette.surface
    stroke: DesktopPalette.border

    ColumnLayout {
        id: column
        x: 18
        y: 18
        width: root.width - 36
        spacing: 10

        DesktopKicker { text: root.title }
        DesktopText {
            Layout.fillWidth: true
            text: root.value
            size: DesktopFonts.fittingPixelSize(text, wholeSize.font, column.width, maximumLineCount, 0.84)
            weight: Font.Black
            tracking: root.valueTracking * size / root.valueSize
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight

            DesktopText {
                id: wholeSize
                visible: false
                size: root.valueSize
                weight: Font.Black
                tracking: root.valueTracking
            }
        }
        DesktopParagraph {
            visible: text !== ""
            text: root.detail
            size: 14
        }
    }
}

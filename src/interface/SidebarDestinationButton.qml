import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Veskline.Drawing
import Veskline.SharedViews

// The way to one screen. It is a choice of one among all of them, and says which is shown.
T.RadioButton {
    id: root
    required property var destination
    property bool isSelected: false

    Layout.fillWidth: true
    implicitHeight: texts.implicitHeight + 32
    focusPolicy: Qt.StrongFocus
    checked: isSelected
    Accessible.name: destination.sidebarTitle
    Accessible.description: destination.sidebarDetail
    Accessible.checked: isSelected
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    background: Rectangle {
        radius: 8
        color: root.isSelected ? DesktopPalette.surfaceStrong : DesktopPalette.surface
        border.width: 1
        border.color: root.isSelected ? DesktopPalette.borderStrong : DesktopPalette.border
    }
    contentItem: Item {
        Rectangle {
            id: strip
            x: 16
            y: 16
            width: 4
            height: texts.implicitHeight
            color: root.isSelected ? DesktopPalette.accentDeep : DesktopPalette.border
        }
        SymbolImage {
            id: symbol
            x: strip.x + strip.width + 14
            y: 18
            name: root.destination.systemImage
            color: root.isSelected ? DesktopPalette.text : DesktopPalette.muted
        }
        ColumnLayout {
            id: texts
            x: symbol.x + symbol.width + 14
            y: 16
            width: root.width - x - 16
            spacing: 4

            DesktopText {
                Layout.fillWidth: true
                text: root.destination.sidebarTitle
                size: 16
                weight: Font.Bold
                elide: Text.ElideRight
                Accessible.ignored: true
            }
            DesktopParagraph {
                text: root.destination.sidebarDetail
                size: 13
                weight: Font.Medium
                maximumLineCount: 2
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
    }
}

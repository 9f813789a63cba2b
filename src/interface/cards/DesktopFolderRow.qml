import QtQuick
import QtQuick.Layouts
import Veskline.Drawing
import Veskline.SharedViews

// One chosen folder in a list.
DesktopListRow {
    id: root
    required property string modelData
    property int mostLines: 3

    RowLayout {
        spacing: 8

        SymbolImage {
            Layout.alignment: Qt.AlignTop
            name: "folder"
            color: DesktopPalette.text
        }
        DesktopSelectableText {
            text: root.modelData
            mono: true
            mostLines: root.mostLines
        }
    }
}

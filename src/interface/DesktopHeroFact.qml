import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// One fact of how the agent stands: its name over its value.
ColumnLayout {
    id: root
    property string label
    property string value

    spacing: 4

    DesktopKicker { text: root.label }
    DesktopText {
        Layout.fillWidth: true
        text: root.value
        size: 16
        weight: Font.Bold
        wrapMode: Text.Wrap
    }
}

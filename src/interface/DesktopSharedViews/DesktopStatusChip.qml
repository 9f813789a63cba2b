import QtQuick
import Veskline.SharedViews

// A state in a word or two, beside a dot in the colour of its kind.
Item {
    id: root
    property string text
    property int kind: StatusPillKind.Muted

    implicitWidth: Math.ceil(label.implicitWidth) + label.x + 12
    implicitHeight: 34
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    DesktopBox {
        anchors.fill: parent
        fill: DesktopPalette.ground(root.kind, 0.10)
        stroke: DesktopPalette.line(root.kind, 0.36, 0.20)
    }
    Rectangle {
        id: dot
        x: 12
        anchors.verticalCenter: parent.verticalCenter
        width: 7
        height: 7
        radius: 3.5
        color: DesktopPalette.tone(root.kind)
    }
    DesktopText {
        id: label
        x: dot.x + dot.width + 8
        anchors.verticalCenter: parent.verticalCenter
        width: root.width - x - 12
        text: root.text
        size: 12
        weight: Font.Bold
        color: root.kind === StatusPillKind.Muted ? DesktopPalette.muted : DesktopPalette.text
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}

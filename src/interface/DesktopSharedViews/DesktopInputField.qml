import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Veskline.Drawing
import Veskline.SharedViews

// A field for one line of text. Its hint is seen until something is typed.
T.TextField {
    id: root
    property string hint: placeholderText // what is seen of it

    Layout.fillWidth: true
    implicitWidth: 200
    implicitHeight: 46
    leftPadding: 14
    rightPadding: 14
    verticalAlignment: TextInput.AlignVCenter
    font.family: DesktopFonts.sans
    font.pixelSize: 15
    font.weight: Font.Medium
    color: DesktopPalette.text
    selectionColor: DesktopPalette.accent
    selectedTextColor: DesktopPalette.text
    selectByMouse: true
    activeFocusOnTab: true

    background: DesktopBox {
        fill: DesktopPalette.surfaceStrong
        stroke: DesktopPalette.border
    }

    DesktopText {
        x: root.leftPadding
        width: root.width - root.leftPadding - root.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: root.length === 0 && root.preeditText === ""
        text: root.hint
        size: 15
        weight: Font.Medium
        color: DesktopPalette.faded(DesktopPalette.muted, 0.7)
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}

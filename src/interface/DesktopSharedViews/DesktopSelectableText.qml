import QtQuick
import QtQuick.Layouts
import Veskline.Drawing
import Veskline.SharedViews

// Text that can be selected and copied, whole also where only its first `mostLines` lines are shown.
TextEdit {
    id: root
    property int size: 13
    property int weight: Font.Normal
    property bool mono: false
    property int mostLines: 0 // 0: all
    property color ground: DesktopPalette.surface

    readonly property bool isCut: mostLines > 0 && lineCount > mostLines

    Layout.fillWidth: true
    Layout.preferredHeight: isCut ? Math.ceil(contentHeight / lineCount * mostLines) : -1
    clip: isCut
    textFormat: TextEdit.PlainText
    horizontalAlignment: TextEdit.AlignLeft
    wrapMode: TextEdit.Wrap
    readOnly: true
    selectByMouse: true
    color: DesktopPalette.text
    selectionColor: DesktopPalette.accent
    selectedTextColor: DesktopPalette.text
    font.family: mono ? DesktopFonts.mono : DesktopFonts.sans
    font.pixelSize: size
    font.weight: weight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Rectangle {
        visible: root.isCut
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: ellipsis.implicitWidth
        height: ellipsis.implicitHeight
        color: root.ground

        DesktopText {
            id: ellipsis
            text: "\u2026"
            mono: root.mono
            size: root.size
            Accessible.ignored: true
        }
    }
}

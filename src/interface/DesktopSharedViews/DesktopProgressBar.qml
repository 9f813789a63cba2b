import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// How far something is: a share, a motion where the share is not known, a flat bar where nothing moves.
Item {
    id: root
    enum Form { Determinate, Indeterminate, Flat }
    property int form: DesktopProgressBar.Flat
    property real value: 0 // 0 to 1

    readonly property real normalHeight: 6

    Layout.fillWidth: true
    implicitHeight: form === DesktopProgressBar.Flat ? 10
                  : form === DesktopProgressBar.Determinate ? Math.round(normalHeight * 1.35) : normalHeight
    clip: form === DesktopProgressBar.Indeterminate
    Accessible.role: Accessible.ProgressBar
    Accessible.name: form === DesktopProgressBar.Determinate ? Math.round(value * 100) + " percent indexed"
                   : form === DesktopProgressBar.Indeterminate ? "Indexing" : "Not indexing"

    Rectangle {
        anchors.fill: parent
        radius: root.form === DesktopProgressBar.Flat ? 0 : height / 2
        color: DesktopPalette.border
        opacity: root.form === DesktopProgressBar.Flat ? 1 : 0.6
    }
    Rectangle {
        visible: root.form === DesktopProgressBar.Determinate && root.value > 0
        width: Math.max(height, Math.round(root.width * Math.min(1, root.value)))
        height: root.height
        radius: height / 2
        color: DesktopPalette.accentDeep
    }
    Rectangle {
        id: runner
        visible: root.form === DesktopProgressBar.Indeterminate
        width: root.width * 0.3
        height: root.height
        radius: height / 2
        color: DesktopPalette.accentDeep

        NumberAnimation on x {
            running: runner.visible
            loops: Animation.Infinite
            from: -runner.width
            to: root.width
            duration: 1400
            easing.type: Easing.InOutQuad
        }
    }
}

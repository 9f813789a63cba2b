import QtQuick
import Veskline.SharedViews

// What the window shows where the model could not be built: the name, what failed, and why.
Rectangle {
    id: root
    property list<string> lines

    color: DesktopPalette.page

    DesktopSurface {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 24
        tone: DesktopSurface.Surface
        spacing: 12

        DesktopKicker { text: root.lines[0] }
        DesktopHeading {
            title: root.lines[1]
            size: 34
            tracking: -1
        }
        DesktopSelectableText {
            text: root.lines[2]
            size: 14
            color: DesktopPalette.muted
        }
    }
}

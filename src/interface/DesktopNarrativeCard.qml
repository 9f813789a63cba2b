import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// One numbered step.
DesktopSurface {
    id: root
    required property var item

    tone: DesktopSurface.Surface
    padding: 18
    minimumHeight: 152
    spacing: 10

    DesktopKicker { text: root.item.label }
    DesktopHeading {
        title: root.item.title
        size: 22
        tracking: -0.6
    }
    DesktopParagraph {
        text: root.item.body
        size: 14
    }
}

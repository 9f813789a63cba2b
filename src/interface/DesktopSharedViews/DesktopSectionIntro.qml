import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// How a screen begins: its kicker, its title in large type, and a sentence about it.
ColumnLayout {
    id: root
    property string eyebrow
    property string title
    property string subtitle

    spacing: 12

    DesktopKicker { text: root.eyebrow }
    DesktopHeading {
        title: root.title
        size: 46
        tracking: -1.8
    }
    DesktopParagraph {
        text: root.subtitle
        size: 19
    }
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// What a screen is for, to a user who has yet to sign in.
DesktopSurface {
    id: root
    property string kicker
    property string title
    property string body

    spacing: 14

    DesktopKicker { text: root.kicker }
    DesktopHeading {
        title: root.title
        size: 30
        tracking: -0.8
    }
    DesktopParagraph { text: root.body }
}

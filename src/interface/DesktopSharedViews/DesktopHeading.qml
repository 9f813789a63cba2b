import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// Black type that wraps. A compound such as "chat-ready" is broken at its hyphen only where a line can't hold it.
DesktopText {
    property string title

    Layout.fillWidth: true
    text: title.replace(/(\w)-(?=\w)/g, "$1\u2060-\u2060") // word joiners
    weight: Font.Black
    wrapMode: Text.Wrap
    Accessible.role: Accessible.Heading
    Accessible.name: title
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// Muted text that takes the width it is offered and the height it needs.
DesktopText {
    Layout.fillWidth: true
    size: 15
    color: DesktopPalette.muted
    wrapMode: Text.Wrap
}

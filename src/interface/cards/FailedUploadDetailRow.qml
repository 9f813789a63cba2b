import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// One failed upload: the file, the reason, and when it last failed.
DesktopListRow {
    id: root
    required property failedUploadText modelData

    spacing: 8

    DesktopSelectableText {
        text: root.modelData.name
        mono: true
    }
    DesktopSelectableText {
        text: root.modelData.error
        size: 14
        weight: Font.Medium
        color: DesktopPalette.danger
    }
    DesktopText {
        Layout.fillWidth: true
        text: root.modelData.lastFailedLine
        mono: true
        size: 12
        weight: Font.Medium
        color: DesktopPalette.muted
        wrapMode: Text.Wrap
    }
}

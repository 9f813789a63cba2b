import QtQuick
import QtQuick.Templates as T
import Veskline.Drawing
import Veskline.SharedViews

// What both styles of button share. A disabled one is pale, and no press reaches it, be it by a screen reader.
T.Button {
    id: root
    property color fill
    property bool isRaised: false

    function press() {
        if (enabled) {
            clicked()
        }
    }

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: Math.max(44, Math.ceil(implicitContentHeight))
    leftPadding: 18
    rightPadding: 18
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.45
    scale: down ? 0.985 : 1
    Accessible.name: text
    Accessible.description: enabled ? "" : "Not available" // Qt 6.4 tells readers that it is enabled
    Accessible.onPressAction: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    Behavior on scale { NumberAnimation { duration: 140; easing.type: Easing.OutQuad } }

    background: Item {
        SoftShadow {
            visible: root.isRaised
            x: -radius
            y: 8 - radius
            width: root.width + 2 * radius
            height: root.height + 2 * radius
            radius: 12
            color: DesktopPalette.faded(DesktopPalette.ink, 0.08)
        }
        DesktopBox {
            anchors.fill: parent
            fill: root.fill
            stroke: DesktopPalette.borderStrong
        }
    }
    contentItem: DesktopText {
        text: root.text
        size: 13
        weight: Font.Bold
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
}

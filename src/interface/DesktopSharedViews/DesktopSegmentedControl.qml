import QtQuick
import QtQuick.Templates as T
import Veskline.SharedViews

// A choice of one among a few, all of them in sight.
Item {
    id: root
    property string label
    property var options: []
    property int currentIndex: 0
    signal chosen(int index)

    readonly property real segmentWidth: (width - 6) / Math.max(1, options.length)

    implicitWidth: 130 * options.length
    implicitHeight: 36
    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: DesktopPalette.surface
        border.width: 1
        border.color: DesktopPalette.border
    }
    Rectangle {
        x: 3 + root.currentIndex * root.segmentWidth
        y: 3
        width: root.segmentWidth
        height: root.height - 6
        radius: 6
        color: DesktopPalette.accent
        border.width: 1
        border.color: DesktopPalette.borderStrong

        Behavior on x { NumberAnimation { duration: 140; easing.type: Easing.OutQuad } }
    }
    Row {
        x: 3
        y: 3

        Repeater {
            model: root.options

            T.RadioButton {
                id: segment
                required property int index
                required property string modelData

                width: root.segmentWidth
                height: root.height - 6
                text: modelData
                focusPolicy: Qt.StrongFocus
                checked: index === root.currentIndex
                Accessible.name: text
                Accessible.checked: index === root.currentIndex
                Accessible.onPressAction: segment.clicked()
                Accessible.onToggleAction: segment.clicked()
                Keys.onReturnPressed: segment.clicked()
                Keys.onEnterPressed: segment.clicked()
                onClicked: root.chosen(index)

                contentItem: DesktopText {
                    text: segment.text
                    size: 13
                    weight: segment.index === root.currentIndex ? Font.Bold : Font.Medium
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    Accessible.ignored: true
                }
            }
        }
    }
}

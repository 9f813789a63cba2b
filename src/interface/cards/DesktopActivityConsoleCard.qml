import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// The log of the agent, as it goes.
DesktopSurface {
    id: root
    required property DesktopModelAdapter model
    property string title: "Activity stream"
    property real minHeight: 260
    property int lineLimit: 0 // 0: none

    spacing: 16

    RowLayout {
        spacing: 12

        ColumnLayout {
            spacing: 8

            DesktopKicker { text: root.title }
            DesktopParagraph {
                text: "Live local-agent output from this Mac. Use it to spot scans, uploads, and handoff errors quickly."
            }
        }
        DesktopStatusChip {
            Layout.alignment: Qt.AlignTop
            text: root.model.isRunning ? "Live" : "Idle"
            kind: root.model.isRunning ? StatusPillKind.Ok : StatusPillKind.Muted
        }
    }
    DesktopBox {
        Layout.fillWidth: true
        Layout.fillHeight: true
        implicitHeight: root.minHeight
        fill: DesktopPalette.surface
        stroke: DesktopPalette.border

        ListView {
            id: list
            objectName: "console"
            anchors.fill: parent
            anchors.margins: 1
            leftMargin: 17
            rightMargin: 17
            topMargin: 17
            bottomMargin: 17
            spacing: 10
            clip: true
            interactive: false
            activeFocusOnTab: true
            currentIndex: -1 // the list itself has the focus, and the keys that scroll
            reuseItems: true
            cacheBuffer: 0
            Accessible.role: Accessible.List
            Accessible.name: root.title
            Keys.onPressed: event => wheel.scrollByKey(event)

            DesktopScrollWheel {
                id: wheel
                area: list
            }
            model: LogLines {
                source: root.model
                lineLimit: root.lineLimit
                pause: root.lineLimit > 0 ? 100 : 0
            }
            delegate: DesktopSelectableText {
                required property string line

                width: list.width - list.leftMargin - list.rightMargin
                text: line
                mono: true
            }

            DesktopText {
                parent: list
                x: 17
                y: 17
                visible: list.count === 0
                text: "No activity yet."
                size: 15
                weight: Font.Medium
                color: DesktopPalette.muted
            }
        }
    }
}

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import QtQuick.Window

Window {
    id: root
    width: 1280
    height: 860
    visible: true
    color: "#F4F1E8"

    component Label: Text {
        Layout.fillWidth: true
        font.family: "Inter"
        font.pixelSize: 15
        color: "#5C5953"
        wrapMode: Text.Wrap
    }
    component Heading: Label {
        font.pixelSize: 46
        font.weight: Font.Black
        color: "#0F1011"
    }
    component Card: Rectangle {
        default property alias content: column.data
        Layout.fillWidth: true
        implicitHeight: column.implicitHeight + 48
        radius: 10
        border.color: "#D8D1C7"

        ColumnLayout {
            id: column
            x: 24
            y: 24
            width: parent.width - 48
        }
    }
    component Button: T.Button {
        id: button
        implicitWidth: implicitContentWidth + 36
        implicitHeight: 44
        background: Rectangle { border.width: 1; radius: 8 }
        contentItem: Label { text: button.text; verticalAlignment: Text.AlignVCenter }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.preferredWidth: 320
            Layout.maximumWidth: 320

            Repeater {
                model: 3
                Button { text: "Destination" }
            }
        }
        ColumnLayout {
            spacing: 24

            Repeater {
                model: 4

                Card {
                    Label { text: "PRIVATE CONTEXT INFRASTRUCTURE"; font.family: "JetBrains Mono"; font.pixelSize: 11 }
                    Heading { text: "Your files, searchable and chat-ready." }
                    Label { text: "Stay on top of sync health, indexing progress, and the handoff into the dashboard." }
                    RowLayout {
                        Button { text: "Log in" }
                        Button { text: "Create account" }
                        T.TextField { implicitWidth: 240; implicitHeight: 46; placeholderText: "you@example.com" }
                    }
                }
            }
        }
    }
}

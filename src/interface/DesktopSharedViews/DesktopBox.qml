import QtQuick

// A plain rectangular fill under a rounded line: the fill keeps its corners.
Rectangle {
    id: root
    property color fill: "transparent"
    property color stroke: "transparent"
    property real corner: 8

    color: fill

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.width: 1
        border.color: root.stroke
        radius: root.corner
    }
}

import QtQuick

// One row where it fits in `availableWidth`, else one column whose right edges meet; never a row that breaks into two.
// A child that is wider than all there is gets what there is.
Item {
    id: root
    property real spacing: 8
    property real availableWidth: width
    default property alias content: grid.data

    readonly property real rowWidth: {
        let sum = 0
        for (let i = 0; i < grid.children.length; ++i) {
            sum += grid.children[i].implicitWidth
        }
        return sum + Math.max(0, grid.children.length - 1) * spacing
    }
    readonly property bool isRow: rowWidth <= availableWidth

    implicitWidth: Math.min(isRow ? rowWidth : grid.implicitWidth, availableWidth)
    implicitHeight: grid.implicitHeight

    Grid {
        id: grid
        spacing: root.spacing
        columns: root.isRow ? Math.max(1, children.length) : 1
        horizontalItemAlignment: root.isRow ? Grid.AlignLeft : Grid.AlignRight
        verticalItemAlignment: Grid.AlignVCenter
    }

    Component.onCompleted: {
        for (let i = 0; i < grid.children.length; ++i) {
            const child = grid.children[i]
            child.width = Qt.binding(() => Math.min(child.implicitWidth, availableWidth))
        }
    }
}

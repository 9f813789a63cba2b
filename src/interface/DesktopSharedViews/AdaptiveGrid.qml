import QtQuick
import QtQuick.Layouts

// As many equal columns of at least `minimum` as fit. A column without a child keeps its place, so that the others keep
// their width; the children of a row are as high as its highest.
Grid {
    id: root
    property real minimum: 210

    readonly property real cellWidth: Math.floor((width - (columns - 1) * spacing) / columns)

    function rowHeight(index: int): real {
        const first = index - index % columns
        let height = 0
        for (let i = first; i < Math.min(first + columns, cells.length); ++i) {
            height = Math.max(height, cells[i].implicitHeight)
        }
        return height
    }

    // A Repeater is a child too, but no cell.
    readonly property var cells: Array.from(children).filter(child => !(child instanceof Repeater))

    Layout.fillWidth: true
    spacing: 14
    columns: Math.max(1, Math.floor((width + spacing) / (minimum + spacing)))

    Component.onCompleted: {
        cells.forEach((cell, index) => {
            cell.width = Qt.binding(() => cellWidth)
            cell.height = Qt.binding(() => rowHeight(index))
        })
    }
}

import QtQuick
import QtQuick.Layouts
import Veskline.SharedViews

// A row of a DesktopListBox: its content with space above and below, and a rule towards the row before.
Item {
    id: root
    required property int index
    property alias spacing: column.spacing
    default property alias content: column.data

    width: parent ? parent.width : 0
    implicitHeight: column.y + column.implicitHeight + 12

    DesktopRule {
        width: root.width
        visible: root.index > 0
    }
    ColumnLayout {
        id: column
        y: (root.index > 0 ? 1 : 0) + 12
        width: root.width
    }
}

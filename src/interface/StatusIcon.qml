import QtQuick
import Qt.labs.platform
import Veskline.Adapter

// The icon that the agent stands behind while its window is closed, where the desktop's panel shows such icons.
SystemTrayIcon {
    id: root
    required property DesktopModelAdapter model
    signal opened

    icon.name: "veskline"
    icon.source: "qrc:/qt/qml/Veskline/Drawing/icons/veskline.svg"
    tooltip: model.syncStatusLine
    onActivated: reason => {
        if (reason !== SystemTrayIcon.Context) {
            opened()
        }
    }
    menu: Menu {
        MenuItem {
            text: "Open Veskline"
            onTriggered: root.opened()
        }
        MenuItem {
            text: "Quit"
            onTriggered: Qt.exit(0)
        }
    }
}

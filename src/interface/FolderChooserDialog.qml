import QtQuick
import QtQuick.Dialogs
import Veskline.Adapter

// The desktop's own dialog for one folder, Qt's where the desktop has none. It is loaded when it is first asked for.
Loader {
    id: root
    required property FolderChooser chooser

    active: false

    Connections {
        target: root.chooser

        function onAsked() {
            root.active = true
            root.item.open()
        }
    }

    sourceComponent: FolderDialog {
        title: "Add Folder"
        acceptLabel: "Add Folder"
        currentFolder: root.chooser.firstFolder
        onAccepted: root.chooser.choose(selectedFolder)
        onRejected: root.chooser.cancel()
    }
}

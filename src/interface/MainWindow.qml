import QtQuick
import QtQuick.Window
import Veskline.Adapter
import Veskline.SharedViews

// The one window: the interface over a model, or why there is none.
Window {
    id: root
    property DesktopModelAdapter model: null
    property WindowState windowState: null
    property FolderChooser folderChooser: null
    property list<string> failureLines: []

    width: 1280
    height: 860
    minimumWidth: model ? 1120 : 640
    minimumHeight: model ? 760 : 320
    title: "Veskline"
    color: DesktopPalette.page

    Loader {
        anchors.fill: parent
        focus: true
        sourceComponent: root.model ? content : failure
    }
    Component {
        id: content

        ContentView {
            model: root.model
            windowState: root.windowState
            folderChooser: root.folderChooser
        }
    }
    Component {
        id: failure

        FailureContent { lines: root.failureLines }
    }
}

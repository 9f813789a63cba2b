import QtQuick
import QtQuick.Window
import Veskline.Adapter
import Veskline.SharedViews

// The one window: the interface over a model, or why there is none. Where the desktop shows status icons, the interface
// is closed to one of them and goes on behind it.
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

    // How it was when it was last in sight: of its usual size, maximized, or as large as the screen.
    property int lastVisibility: Window.Windowed

    onVisibilityChanged: now => {
        if (now !== Window.Hidden && now !== Window.Minimized) {
            lastVisibility = now
        }
    }

    function bringToFront() {
        visibility = lastVisibility
        raise()
        requestActivate()
    }

    onClosing: close => {
        if (model && !statusIcon.item) {
            statusIcon.setSource("StatusIcon.qml", { model: model })
        }
        if (statusIcon.item?.available) {
            close.accepted = false
            hide()
        }
    }

    Shortcut {
        sequence: "Ctrl+Q" // Qt.quit() would ask the window, which goes behind its icon instead
        onActivated: Qt.exit(0)
    }
    // Loaded by its name when the window is first closed: until then it costs nothing and needs no module of Qt, and the
    // desktop's panel has had its time.
    Loader {
        id: statusIcon
    }
    Binding {
        target: statusIcon.item
        property: "visible"
        value: !root.visible
    }
    Connections {
        target: statusIcon.item

        function onOpened() {
            root.bringToFront()
        }
    }
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

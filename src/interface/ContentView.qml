import QtQml
import QtQuick
import QtQuick.Window
import Veskline.Adapter
import Veskline.Drawing
import Veskline.SharedViews

// Sidebar and detail side by side on the paper ground.
Item {
    id: root
    required property DesktopModelAdapter model
    required property WindowState windowState
    required property FolderChooser folderChooser

    readonly property var selectedDestination: DesktopDestination.named(windowState.selectedDestinationRawValue)

    function open(destination: var) {
        windowState.selectedDestinationRawValue = destination.rawValue
    }

    Component.onCompleted: model.bootstrap()

    Instantiator {
        model: DesktopDestination.allCases
        delegate: Shortcut {
            required property var modelData
            required property int index

            sequence: `Ctrl+${index + 1}`
            enabled: !root.model.isConfirmationPending
            onActivated: root.open(modelData)
        }
    }
    Shortcut {
        sequence: "F5"
        enabled: root.model.isSignedIn
        onActivated: root.model.refreshStatus()
    }

    PaperBackground {
        anchors.fill: parent
        page: DesktopPalette.page
        glow: DesktopPalette.accent
    }
    DesktopSidebarView {
        id: sidebar
        width: 320
        height: root.height
        model: root.model
        selection: root.selectedDestination
        onSelected: destination => root.open(destination)
    }
    Rectangle {
        id: divider
        x: sidebar.width
        width: 1
        height: root.height
        color: DesktopPalette.border
    }
    DesktopDetailScaffold {
        id: scaffold
        x: divider.x + divider.width
        width: root.width - x
        height: root.height
        focus: true
        model: root.model
        destination: root.selectedDestination
    }
    DesktopConfirmationAlert {
        model: root.model
    }
    FolderChooserDialog {
        chooser: root.folderChooser
    }
    KeyboardFocus {
        id: keyboardFocus
        window: root.Window.window
        onItemChanged: scaffold.reveal(item)
    }
    FocusRing {
        target: keyboardFocus.item
    }
}

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

    Component.onCompleted: model.bootstrap()

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
        onSelected: destination => root.windowState.selectedDestinationRawValue = destination.rawValue
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

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Veskline.Adapter
import Veskline.Drawing
import Veskline.SharedViews

// Asks before a selection of folders is replaced. Any way of leaving it but the confirm button cancels.
T.Popup {
    id: root
    required property DesktopModelAdapter model

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) / 2) : 0
    width: 460
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: 24
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    visible: model.isConfirmationPending
    onOpened: confirm.forceActiveFocus()
    onClosed: {
        if (model.isConfirmationPending) {
            model.cancelPendingFolderSelection()
        }
        visible = Qt.binding(() => model.isConfirmationPending)
    }

    T.Overlay.modal: Rectangle { color: DesktopPalette.faded(DesktopPalette.ink, 0.28) }

    background: Item {
        SoftShadow {
            x: -radius
            y: 14 - radius
            width: root.width + 2 * radius
            height: root.height + 2 * radius
            radius: 32
            color: DesktopPalette.faded(DesktopPalette.ink, 0.22)
        }
        Rectangle {
            anchors.fill: parent
            radius: 10
            color: DesktopPalette.surfaceStrong
            border.width: 1
            border.color: DesktopPalette.borderStrong
        }
    }
    contentItem: ColumnLayout {
        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.model.confirmationTitle
        Accessible.description: root.model.confirmationMessage

        DesktopHeading {
            title: root.model.confirmationTitle
            size: 20
            tracking: -0.5
        }
        DesktopParagraph {
            text: root.model.confirmationMessage
            size: 14
        }
        RowLayout {
            Layout.topMargin: 8
            Layout.alignment: Qt.AlignRight
            spacing: 10

            DesktopPrimaryButton {
                id: confirm
                text: root.model.confirmationButtonTitle
                onClicked: root.model.confirmPendingFolderSelection()
            }
            DesktopSecondaryButton {
                text: "Cancel"
                onClicked: root.model.cancelPendingFolderSelection()
            }
        }
    }
}

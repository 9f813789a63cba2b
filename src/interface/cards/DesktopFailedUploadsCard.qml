import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// The uploads that the hosted side could not take in, each with its reason, and the button to try them again.
DesktopSurface {
    id: root
    required property DesktopModelAdapter model
    property string title
    property bool showsRetryButton: true

    spacing: 16

    RowLayout {
        spacing: 12

        ColumnLayout {
            spacing: 8

            DesktopKicker { text: root.title }
            DesktopParagraph {
                text: "Review the files that need another pass through the hosted upload or ingest pipeline."
            }
        }
        DesktopSecondaryButton {
            Layout.alignment: Qt.AlignTop
            visible: root.showsRetryButton
            text: "Retry failed uploads"
            onClicked: root.model.retryFailedUploads()
        }
    }
    DesktopCallout {
        visible: text !== ""
        text: root.model.retryStatus
        kind: StatusPillKind.Accent
    }
    DesktopParagraph {
        visible: failed.count === 0
        text: "No failed uploads right now."
        weight: Font.Medium
    }
    DesktopListBox {
        visible: failed.count > 0

        Repeater {
            id: failed
            model: root.model.failedUploads

            FailedUploadDetailRow {}
        }
    }
}

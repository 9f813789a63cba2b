import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// The name, the way to each screen, and whom this machine is signed in as.
Rectangle {
    id: root
    required property DesktopModelAdapter model
    required property var selection // a destination
    signal selected(destination: var)

    color: DesktopPalette.surface

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.margins: 24
            spacing: 18

            RowLayout {
                spacing: 14

                Rectangle {
                    implicitWidth: 44
                    implicitHeight: 44
                    radius: 8
                    color: DesktopPalette.surfaceStrong
                    border.width: 1
                    border.color: DesktopPalette.borderStrong

                    DesktopText {
                        anchors.centerIn: parent
                        text: "Vesk"
                        size: 15
                        weight: Font.Bold
                    }
                }
                DesktopText {
                    text: "Veskline"
                    mono: true
                    size: 18
                    weight: Font.Medium
                    tracking: 2.2
                    font.capitalization: Font.AllUppercase
                    color: DesktopPalette.muted
                }
            }
            DesktopParagraph {
                text: "Keep local sync, hosted indexing, and dashboard readiness aligned from one native window."
                size: 14
            }
        }
        DesktopRule {}
        ColumnLayout {
            Layout.margins: 24
            spacing: 16

            DesktopKicker { text: "Workspace" }
            ColumnLayout {
                spacing: 10

                Repeater {
                    model: DesktopDestination.allCases

                    SidebarDestinationButton {
                        required property var modelData
                        destination: modelData
                        isSelected: root.selection.rawValue === modelData.rawValue
                        onClicked: root.selected(modelData)
                    }
                }
            }
        }
        Item { Layout.fillHeight: true }
        DesktopSurface {
            Layout.margins: 24
            Layout.topMargin: 28
            padding: 20
            spacing: 14

            DesktopKicker { text: "This Mac" }
            DesktopText {
                Layout.fillWidth: true
                text: root.model.isSignedIn ? root.model.userLabel : "Not signed in"
                size: 18
                weight: Font.Bold
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
            DesktopParagraph {
                visible: root.model.isSignedIn
                text: root.model.folderCountText
                size: 14
                weight: Font.Medium
            }
            FlowLayout {
                Layout.fillWidth: true
                visible: root.model.isSignedIn

                DesktopStatusChip {
                    text: root.model.runPresentation.text
                    kind: root.model.runPresentation.kind
                }
            }
            DesktopParagraph {
                visible: !root.model.isSignedIn
                text: "Sign in to connect this Mac to your Vesk workspace and keep selected folders in sync."
                size: 14
            }
            DesktopSecondaryButton {
                visible: !root.model.isSignedIn
                text: "Open dashboard"
                onClicked: root.model.openDashboard()
            }
        }
    }
}

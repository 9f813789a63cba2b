import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.Cards
import Veskline.SharedViews

// Where the user chooses what to sync, and runs it.
ColumnLayout {
    id: root
    required property DesktopModelAdapter model

    readonly property bool isRegular: model.mode === DesktopModelAdapter.Regular
    readonly property string speedCaption: isRegular ? "Balanced speed, lighter on CPU and bandwidth."
                                                     : "Fastest indexing, higher CPU and network usage."

    spacing: 24

    DesktopAuthCard {
        visible: !root.model.isSignedIn
        model: root.model
    }
    SignedOutNotice {
        visible: !root.model.isSignedIn
        kicker: "Sync setup"
        title: "Sync setup unlocks after sign-in"
        body: "Once this Mac has a session, you can select folders, choose a speed profile, and keep sync running in the background."

        DesktopCallout {
            text: "The native agent and the web dashboard share the same Vesk account and hosted corpus."
            kind: StatusPillKind.Accent
        }
    }
    DesktopSurface {
        visible: root.model.isSignedIn
        spacing: 20

        RowLayout {
            spacing: 16

            ColumnLayout {
                spacing: 8

                DesktopKicker { text: "Folder workspace" }
                DesktopParagraph {
                    text: "Choose the local sources Vesk should watch, then control the native sync engine from the same surface."
                }
            }
            DesktopStatusChip {
                Layout.alignment: Qt.AlignTop
                text: root.model.runPresentation.text
                kind: root.model.runPresentation.kind
            }
        }
        AdaptiveGrid {
            minimum: 220

            DesktopMetricCard {
                title: "Selected folders"
                value: root.model.folderCountText
                detail: root.model.folderSelectionSummary
            }
            DesktopMetricCard {
                title: "Speed profile"
                value: root.isRegular ? "Regular" : "Ultra"
                detail: root.speedCaption
            }
        }
        DesktopRule {}
        ColumnLayout {
            spacing: 10

            DesktopKicker { text: "Chosen folders" }
            DesktopParagraph {
                visible: folders.count === 0
                text: "No folders selected yet."
                weight: Font.Medium
            }
            DesktopListBox {
                visible: folders.count > 0

                Repeater {
                    id: folders
                    model: root.model.folderLabels

                    DesktopFolderRow {}
                }
            }
        }
        DesktopRule {}
        ColumnLayout {
            spacing: 12

            DesktopKicker { text: "Selection controls" }
            RowLayout {
                spacing: 10

                DesktopSecondaryButton {
                    text: "Add folder..."
                    onClicked: root.model.addFolder()
                }
                DesktopSecondaryButton {
                    text: "Use Home"
                    onClicked: root.model.chooseHomeFolder()
                }
                DesktopSecondaryButton {
                    text: "Use full disk"
                    onClicked: root.model.chooseRootFolder()
                }
            }
        }
        ColumnLayout {
            spacing: 12

            DesktopKicker { text: "Run controls" }
            RowLayout {
                spacing: 10

                DesktopSecondaryButton {
                    text: "Clear selection"
                    onClicked: root.model.clearFolders()
                }
                DesktopPrimaryButton {
                    enabled: folders.count > 0
                    text: "Start sync"
                    onClicked: root.model.startSync()
                }
                DesktopSecondaryButton {
                    text: "Stop"
                    onClicked: root.model.stopSync()
                }
            }
        }
        ColumnLayout {
            spacing: 12

            DesktopKicker { text: "Speed" }
            DesktopSegmentedControl {
                label: "Speed"
                options: ["Regular", "Ultra"]
                currentIndex: root.model.mode
                onChosen: index => root.model.mode = index
            }
            DesktopParagraph {
                text: root.speedCaption
                size: 14
            }
        }
        DesktopCallout {
            text: root.model.syncStatusLine
            kind: root.model.isRunning ? StatusPillKind.Ok : StatusPillKind.Muted
        }
    }
    DesktopIndexingStatusCard {
        visible: root.model.isSignedIn
        model: root.model
    }
    DesktopFailedUploadsCard {
        visible: root.model.isSignedIn
        model: root.model
        title: "Failed uploads and retries"
    }
}

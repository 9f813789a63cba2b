import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.Cards
import Veskline.SharedViews

// A welcome to a user who has yet to sign in, the control centre to one who has.
ColumnLayout {
    id: root
    required property DesktopModelAdapter model

    readonly property var signedOutNarrative: [
        {
            id: "sources",
            label: "01",
            title: "Choose the files",
            body: "Start with the folders you actually return to instead of syncing everything at once."
        },
        {
            id: "index",
            label: "02",
            title: "Build a private index",
            body: "Vesk turns uploaded content into searchable summaries and chunks without changing ownership."
        },
        {
            id: "chat",
            label: "03",
            title: "Ground the answers",
            body: "The same hosted corpus powers dashboard chat, retrieval, and contextual answers."
        },
        {
            id: "mcp",
            label: "04",
            title: "Reuse it anywhere",
            body: "Once the corpus is ready, MCP-connected tools can query the same private context."
        }
    ]

    spacing: 24

    DesktopAuthCard {
        visible: !root.model.isSignedIn
        model: root.model
    }
    DesktopHeroPanel { model: root.model }
    AdaptiveGrid {
        visible: !root.model.isSignedIn

        Repeater {
            model: root.signedOutNarrative

            DesktopNarrativeCard {
                required property var modelData
                item: modelData
            }
        }
    }
    AdaptiveGrid {
        visible: root.model.isSignedIn

        DesktopMetricCard {
            title: "Folders"
            value: root.model.folderCountText
            detail: root.model.folderSelectionSummary
        }
        DesktopMetricCard {
            readonly property bool isRegular: root.model.mode === DesktopModelAdapter.Regular
            title: "Sync mode"
            value: isRegular ? "Regular" : "Ultra"
            detail: isRegular ? "Balanced CPU and bandwidth" : "Fastest indexing and uploads"
        }
        DesktopMetricCard {
            title: "Run state"
            value: root.model.isRunning ? "Running" : "Stopped"
            detail: root.model.syncStatusLine
        }
    }
    DesktopIndexingStatusCard {
        visible: root.model.isSignedIn
        model: root.model
    }
    RowLayout {
        visible: root.model.isSignedIn
        spacing: 16

        DesktopSurface {
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            spacing: 16

            DesktopKicker { text: "Current workspace" }
            DesktopParagraph {
                text: "The native app keeps folder choice, hosted status, and dashboard readiness in one place."
            }
            DesktopCallout {
                visible: folders.count === 0
                text: "No folders are selected yet. Head to Sync Setup to choose what this Mac should watch."
                kind: StatusPillKind.Warn
            }
            DesktopListBox {
                visible: folders.count > 0

                Repeater {
                    id: folders
                    model: root.model.folderLabels.slice(0, 3)

                    DesktopFolderRow { mostLines: 2 }
                }
            }
        }
        DesktopActivityConsoleCard {
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            model: root.model
            title: "Recent activity"
            minHeight: 220
            lineLimit: 8
        }
    }
    DesktopFailedUploadsCard {
        visible: root.model.isSignedIn && (root.model.failedUploads.length > 0 || root.model.retryStatus !== "")
        model: root.model
        title: "Failed uploads"
    }
}

import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Veskline.Drawing
import Veskline.SharedViews

// One screen of fixed words out of the agent's own components, over nothing.
Window {
    id: root
    width: 1280
    height: 860
    visible: true

    PaperBackground {
        anchors.fill: parent
        page: DesktopPalette.page
        glow: DesktopPalette.accent
    }
    RowLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 24

        ColumnLayout {
            Layout.preferredWidth: 296
            Layout.alignment: Qt.AlignTop

            Repeater {
                model: ["grid", "sync", "activity"]

                RowLayout {
                    required property string modelData

                    SymbolImage { name: modelData }
                    DesktopSecondaryButton { text: "Destination" }
                }
            }
            DesktopSurface {
                DesktopKicker { text: "This Mac" }
                DesktopParagraph { text: "Sign in to connect this Mac and keep selected folders in sync." }
            }
        }
        ColumnLayout {
            Layout.alignment: Qt.AlignTop
            spacing: 24

            DesktopSurface {
                tone: DesktopSurface.Surface

                DesktopSectionIntro {
                    eyebrow: "A page of cards"
                    title: "Your files, searchable and chat-ready."
                    subtitle: "Stay on top of sync health, indexing progress, and the handoff into the dashboard."
                }
            }
            DesktopSurface {
                spacing: 18

                RowLayout {
                    DesktopInputField { placeholderText: "you@example.com" }
                    DesktopPasswordField {}
                }
                RowLayout {
                    DesktopPrimaryButton { text: "Log in" }
                    DesktopSecondaryButton { text: "Create account" }
                    DesktopStatusChip { text: "Required"; kind: StatusPillKind.Accent }
                }
            }
            AdaptiveGrid {
                DesktopMetricCard { title: "Folders"; value: "4 folders"; detail: "4 folders selected" }
                DesktopMetricCard { title: "Sync mode"; value: "Regular"; detail: "Balanced CPU and bandwidth" }
                DesktopMetricCard { title: "Run state"; value: "Running"; detail: "Running" }
            }
            DesktopProgressBar { form: DesktopProgressBar.Determinate; value: 0.6 }
            DesktopSegmentedControl { options: ["Regular", "Ultra"] }
            DesktopCallout { text: "The agent and the dashboard share one account."; kind: StatusPillKind.Ok }
            DesktopListBox {
                Repeater {
                    model: ["~/Documents", "~/Research", "~/Notes"]

                    DesktopListRow {
                        id: row
                        required property string modelData

                        DesktopSelectableText { text: row.modelData; mono: true }
                    }
                }
            }
        }
    }
}

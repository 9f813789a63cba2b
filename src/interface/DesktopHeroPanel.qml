import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// What the agent is for, beside where to begin or how it stands.
DesktopSurface {
    id: root
    required property DesktopModelAdapter model

    readonly property var signedOutBullets: [
        "Client folders and project workspaces that need grounded answers.",
        "Research PDFs, notes, and reference libraries you revisit often.",
        "Internal docs and personal knowledge bases you want searchable in one place.",
        "Code, specs, and runbooks you want ready for MCP-connected tools."
    ]

    padding: 0

    // Bindings place the two halves. A RowLayout would keep the height that the left column had before its title
    // wrapped, whenever this panel is not part of the first screen.
    Item {
        Layout.fillWidth: true
        implicitHeight: Math.max(pitch.implicitHeight, notes.implicitHeight) + 56

        ColumnLayout {
            id: pitch
            x: 28
            y: 28
            width: divider.x - 56
            spacing: 16

            DesktopKicker { text: "Private context infrastructure" }
            DesktopHeading {
                title: root.model.isSignedIn ? "Your files, searchable and chat-ready."
                                             : "Private Context Infrastructure. Intelligent by default."
                size: 50
                tracking: -1.8
            }
            DesktopParagraph {
                text: root.model.isSignedIn
                    ? "Stay on top of sync health, indexing progress, and the handoff into the dashboard."
                    : "Sign in, point the agent at the folders that matter, and let Vesk prepare them for chat, search, and retrieval."
                size: 17
            }
            FlowLayout {
                Layout.fillWidth: true
                spacing: 10

                DesktopStatusChip { text: root.model.supportedTypesText }
                DesktopStatusChip {
                    text: root.model.isSignedIn ? root.model.folderCountText : "Native desktop build"
                    kind: StatusPillKind.Accent
                }
            }
        }
        Rectangle {
            id: divider
            anchors.right: side.left
            width: 1
            height: parent.height
            color: DesktopPalette.border
        }
        Item {
            id: side
            anchors.right: parent.right
            width: 340
            height: parent.height

            Rectangle {
                // Inside the card's own line, and round where the card is.
                anchors.fill: parent
                anchors.topMargin: 1
                anchors.bottomMargin: 1
                anchors.rightMargin: 1
                radius: 9
                color: DesktopPalette.surface

                Rectangle {
                    width: parent.radius
                    height: parent.height
                    color: parent.color
                }
            }
            ColumnLayout {
                id: notes
                x: 28
                y: 28
                width: parent.width - 56
                spacing: 16

                DesktopKicker { text: root.model.isSignedIn ? "Operating notes" : "Good first fits" }
                DesktopHeading {
                    visible: !root.model.isSignedIn
                    title: "Start with the files you already return to."
                    size: 24
                    tracking: -0.8
                }
                DesktopParagraph {
                    visible: !root.model.isSignedIn
                    text: "The site explains how Vesk works. Up here, keep it practical:"
                }
                ColumnLayout {
                    visible: !root.model.isSignedIn
                    spacing: 10

                    Repeater {
                        model: root.signedOutBullets

                        RowLayout {
                            id: bullet
                            required property string modelData
                            spacing: 8

                            DesktopText {
                                Layout.alignment: Qt.AlignTop
                                text: "-"
                                weight: Font.Bold
                                color: DesktopPalette.muted
                                Accessible.ignored: true
                            }
                            DesktopParagraph {
                                text: bullet.modelData
                                size: 14
                                weight: Font.Medium
                            }
                        }
                    }
                }
                ColumnLayout {
                    visible: root.model.isSignedIn
                    spacing: 12

                    DesktopHeroFact {
                        label: "Run state"
                        value: root.model.isRunning ? "Running" : "Stopped"
                    }
                    DesktopHeroFact {
                        label: "Hosted destination"
                        value: "Vesk dashboard + MCP"
                    }
                    DesktopHeroFact {
                        label: "Selection"
                        value: root.model.folderSelectionSummary
                    }
                }
            }
        }
    }
}

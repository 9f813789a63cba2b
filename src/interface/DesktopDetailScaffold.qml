import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// The column beside the sidebar: the header that all screens share, and the screen.
Flickable {
    id: root
    required property DesktopModelAdapter model
    required property var destination

    readonly property var screens: ({ overview: overview, sync: sync, activity: activity })

    objectName: "scaffold"
    contentWidth: width
    contentHeight: column.implicitHeight + 56
    interactive: false
    clip: true
    pixelAligned: true
    onDestinationChanged: contentY = 0
    Keys.onPressed: event => wheel.scrollByKey(event)

    // Scrolls as little as it takes to show all of `item`, where it lies in here.
    function reveal(item: Item) {
        for (let ancestor = item; ancestor; ancestor = ancestor.parent) {
            if (ancestor === column) {
                const top = item.mapToItem(column, 0, 0).y + column.y
                const above = top - 28 - contentY
                const below = top + item.height + 28 - (contentY + height)
                wheel.scroll(above < 0 ? above : Math.max(0, Math.min(below, above)))
                return
            }
        }
    }

    DesktopScrollWheel {
        id: wheel
        area: root
    }
    ColumnLayout {
        id: column
        x: 28
        y: 28
        width: root.width - 56
        spacing: 24

        DesktopSurface {
            id: header
            tone: DesktopSurface.Surface

            RowLayout {
                spacing: 24

                DesktopSectionIntro {
                    Layout.fillWidth: true
                    Layout.alignment: Qt.AlignTop
                    eyebrow: root.destination.eyebrow
                    title: root.destination.title
                    subtitle: root.destination.subtitle
                }
                ColumnLayout {
                    Layout.alignment: Qt.AlignTop
                    Layout.fillWidth: false
                    Layout.maximumWidth: 430
                    spacing: 14

                    FlowLayout {
                        Layout.alignment: Qt.AlignRight
                        visible: root.model.isSignedIn
                        spacing: 10
                        // The title keeps enough for its longest word.
                        availableWidth: Math.max(controls.implicitWidth, Math.min(430, header.width - 48 - 24 - 340))

                        DesktopStatusChip {
                            text: root.model.runPresentation.text
                            kind: root.model.runPresentation.kind
                        }
                        DesktopStatusChip {
                            text: root.model.ingestPresentation.text
                            kind: root.model.ingestPresentation.kind
                        }
                    }
                    RowLayout {
                        id: controls
                        Layout.alignment: Qt.AlignRight
                        spacing: 10

                        DesktopSecondaryButton {
                            visible: root.model.isSignedIn
                            text: "Refresh"
                            onClicked: root.model.refreshStatus()
                        }
                        DesktopPrimaryButton {
                            text: "Open dashboard"
                            onClicked: root.model.openDashboard()
                        }
                        DesktopSecondaryButton {
                            visible: root.model.isSignedIn
                            text: "Sign out"
                            onClicked: root.model.signOut()
                        }
                    }
                }
            }
        }
        Loader {
            Layout.fillWidth: true
            sourceComponent: root.screens[root.destination.rawValue]
        }
    }
    Component {
        id: overview
        DesktopOverviewView { model: root.model }
    }
    Component {
        id: sync
        DesktopSyncView { model: root.model }
    }
    Component {
        id: activity
        DesktopActivityView { model: root.model }
    }
}

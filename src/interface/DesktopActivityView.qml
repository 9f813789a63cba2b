import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.Cards
import Veskline.SharedViews

// What the agent is doing, what failed, and how the hosted side sees it.
ColumnLayout {
    id: root
    required property DesktopModelAdapter model

    spacing: 24

    DesktopAuthCard {
        visible: !root.model.isSignedIn
        model: root.model
    }
    SignedOutNotice {
        visible: !root.model.isSignedIn
        kicker: "Activity"
        title: "Activity appears after the app is connected"
        body: "The console, retry queue, and ingest warnings all light up once this Mac is signed in and scanning real folders."
    }
    DesktopActivityConsoleCard {
        visible: root.model.isSignedIn
        model: root.model
        minHeight: 360
    }
    RowLayout {
        visible: root.model.isSignedIn
        spacing: 16

        DesktopFailedUploadsCard {
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            model: root.model
            title: "Recent failed uploads"
        }
        DesktopSurface {
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            spacing: 16

            DesktopKicker { text: "Remote snapshot" }
            DesktopParagraph {
                text: "A quick cross-check of what the hosted side thinks is happening with this account."
            }
            DesktopMetricCard {
                title: "Ingestion"
                value: root.model.ingestPresentation.text
                detail: root.model.ingestLastText === "--" ? "No completed ingest yet"
                                                           : "Last completed " + root.model.ingestLastText
            }
            DesktopMetricCard {
                readonly property int count: root.model.failedUploads.length
                title: "Retry queue"
                value: count === 0 ? "Clear" : count + " item(s)"
                detail: root.model.retryStatus === "" ? "Retry from here when uploads fail." : root.model.retryStatus
            }
        }
    }
}

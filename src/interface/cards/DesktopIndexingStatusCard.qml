import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// How far the documents have come: the scan here, then the worker on the hosted side.
DesktopSurface {
    id: root
    required property DesktopModelAdapter model

    spacing: 18

    ColumnLayout {
        spacing: 8

        DesktopKicker { text: "Indexing status" }
        DesktopParagraph {
            text: "Track whether local uploads, hosted ingestion, and the worker handoff are staying healthy."
        }
    }
    ColumnLayout {
        id: progress
        readonly property bool isCounted: root.model.indexingFraction >= 0

        spacing: 10

        DesktopProgressBar {
            form: progress.isCounted ? DesktopProgressBar.Determinate
                : root.model.isIndexing ? DesktopProgressBar.Indeterminate : DesktopProgressBar.Flat
            value: root.model.indexingFraction
        }
        DesktopParagraph {
            text: progress.isCounted ? root.model.indexedFilesText + " files indexed"
                : root.model.isIndexing ? "Indexing has started. Waiting for a full scan count."
                : "Waiting for the next scan or remote ingest snapshot."
            mono: true
            size: 12
            weight: Font.Medium
        }
    }
    AdaptiveGrid {
        minimum: 180

        DesktopMetricCard {
            title: "Indexed so far"
            value: root.model.indexedFilesText
            detail: root.model.ingestLastText === "--" ? "No completed ingest yet"
                                                       : "Last ingest " + root.model.ingestLastText
        }
        DesktopMetricCard {
            title: "Remaining"
            value: root.model.indexRemainingText
            detail: root.model.indexEtaText === "--" ? "ETA unavailable" : "ETA " + root.model.indexEtaText
        }
        DesktopMetricCard {
            title: "Worker queue"
            value: root.model.ingestQueuedText
            detail: root.model.ingestRunningText === "--" ? "Running unknown"
                                                          : root.model.ingestRunningText + " currently running"
        }
        DesktopMetricCard {
            title: "Errors"
            value: root.model.ingestErrorsText
            detail: root.model.unsupportedFilesCount > 0
                ? root.model.unsupportedFilesCount + " unsupported files skipped locally"
                : "No unsupported file warnings"
        }
    }
    DesktopCallout {
        visible: kind === StatusPillKind.Warn || kind === StatusPillKind.Error
        text: root.model.ingestPresentation.text
        kind: root.model.ingestPresentation.kind
    }
    DesktopCallout {
        visible: text !== ""
        text: root.model.unsupportedIndicatorText
        kind: StatusPillKind.Warn
    }
}

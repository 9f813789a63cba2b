pragma Singleton
import QtQml

// The screens in the order of the sidebar, with their words. `rawValue` is what the window remembers.
QtObject {
    readonly property var overview: ({
        rawValue: "overview",
        eyebrow: "PRIVATE CONTEXT INFRASTRUCTURE",
        title: "Your files, searchable and chat-ready.",
        subtitle: "Stay on top of sync health, indexing progress, and the handoff into the dashboard.",
        sidebarTitle: "Control center",
        sidebarDetail: "Run state and indexing progress",
        systemImage: "grid"
    })
    readonly property var sync: ({
        rawValue: "sync",
        eyebrow: "LOCAL SYNC WORKSPACE",
        title: "Choose what this Mac should keep moving.",
        subtitle: "Pick folders, adjust throughput, and start or stop the local sync worker without losing context.",
        sidebarTitle: "Sync setup",
        sidebarDetail: "Folders, speed, and controls",
        systemImage: "sync"
    })
    readonly property var activity: ({
        rawValue: "activity",
        eyebrow: "RUNTIME + HANDOFF",
        title: "Track what the native agent is doing.",
        subtitle: "Review live logs, failed uploads, and ingestion warnings in one place.",
        sidebarTitle: "Activity",
        sidebarDetail: "Logs, retries, and warnings",
        systemImage: "activity"
    })
    readonly property var allCases: [overview, sync, activity]

    // The overview for a name that no screen has.
    function named(rawValue: string): var {
        return allCases.find(destination => destination.rawValue === rawValue) ?? overview
    }
}

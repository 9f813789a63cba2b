#include "screenshots/Scenes.h"

#include "screenshots/Stage.h"

#include <fmt/format.h>

#include <QQuickWindow>
#include <QVariant>

namespace veskline {

namespace fs = std::filesystem;

namespace {

constexpr QSize defaultSize(1280, 860);
constexpr QSize leastSize(1120, 760);

const std::string longName =
    "Correspondence with the Northwind Traders procurement office about framework agreement 2026-0117, annexes A to F, "
    "second revision after the meeting in March, final and countersigned copy for the archive";

// Stays on to the end of the process, with all that its window shows.
Stage& newStage(const fs::path& folder, const std::string& email = "maria.example@northwind.test") {
    static std::unique_ptr<Stage> stage;
    stage = std::make_unique<Stage>(folder, email);
    return *stage;
}

// Reaches the screen from another one, as a user does who has been there before.
QQuickWindow* shown(Stage& stage, const QString& destination) {
    QQuickWindow* const window = stage.window().window();
    const auto state = window->property("windowState").value<QObject*>();
    state->setProperty("selectedDestinationRawValue", destination == "sync" ? "activity" : "sync");
    window->grabWindow();
    state->setProperty("selectedDestinationRawValue", destination);
    return window;
}

QQuickWindow* signedOut(const fs::path& folder, const QString& destination) {
    Stage& stage = newStage(folder);
    stage.launch();
    return shown(stage, destination);
}

QQuickWindow* refused(const fs::path& folder) {
    Stage& stage = newStage(folder);
    stage.launch();
    stage.model()->setEmail(stage.email());
    stage.model()->setPassword("a wrong guess");
    stage.run(&DesktopAppModel::login);
    return shown(stage, "overview");
}

Stage& signedIn(const fs::path& folder) {
    Stage& stage = newStage(folder);
    stage.launch();
    stage.signIn();
    return stage;
}

void writeDocuments(Stage& stage) {
    for (const char* const topic : {"Contracts/Master services agreement", "Contracts/Annex A", "Minutes/2026-03",
                                    "Minutes/2026-04", "Offers/Roof garden", "Notes/Reading list"}) {
        stage.writeDocument(fmt::format("Documents/{}.txt", topic), topic);
        stage.writeDocument(fmt::format("Research/{}.md", topic), topic);
    }
    stage.writeDocument("Documents/Pictures/Site.png", "\x89PNG");
    stage.writeDocument("Documents/Pictures/Plan.dwg", "AC1032");
}

// Everything uploaded and ingested, and the agent on watch.
Stage& running(const fs::path& folder) {
    Stage& stage = signedIn(folder);
    writeDocuments(stage);
    stage.choose({"Documents", "Research", "Work/clients/northwind", "Notes"});
    stage.model()->setMode(SyncMode::ultra);
    stage.run(&DesktopAppModel::startSync);
    stage.untilIngested();
    return stage;
}

// In the midst of the first scan: an upload that does not end.
Stage& scanning(const fs::path& folder) {
    Stage& stage = signedIn(folder);
    writeDocuments(stage);
    stage.choose({"Documents", "Research"});
    stage.model()->setMode(SyncMode::ultra);
    stage.project().faults().add({.kind = local_project::FaultKind::stall, .path = "/storage/*", .skip = 7});
    stage.start(&DesktopAppModel::startSync);
    stage.until("the eighth file", [&stage] { return stage.model()->indexingProgress().scannedFiles == 7; });
    stage.run(&DesktopAppModel::refreshStatus);
    return stage;
}

// Files that the hosted worker could not read, with names of all kinds.
Stage& failing(const fs::path& folder, int count) {
    Stage& stage = signedIn(folder);
    stage.writeDocument("Documents/" + longName + ".pdf", "no PDF");
    stage.writeDocument("Documents/契約書 第二版 最終稿.pdf", "no PDF");
    stage.writeDocument("Documents/דו״ח שנתי 2026.pdf", "no PDF");
    stage.writeDocument("Documents/تقرير المشروع.pdf", "no PDF");
    for (int i = 4; i < count; ++i) {
        stage.writeDocument(fmt::format("Documents/Scans/Delivery note {:03}.pdf", i), "no PDF");
    }
    stage.choose({"Documents"});
    stage.model()->setMode(SyncMode::ultra);
    stage.run(&DesktopAppModel::startSync);
    stage.untilIngested();
    return stage;
}

// All that is long at once: an e-mail, paths, 300 log lines.
Stage& overflowing(const fs::path& folder) {
    Stage& stage =
        newStage(folder, "maximiliane-alexandra.von-und-zu-hohenlohe@procurement.northwind-traders-international.test");
    stage.launch();
    stage.signIn();
    for (int i = 0; i < 320; ++i) {
        stage.writeDocument(fmt::format("Documents/{}/{:03}.txt", longName, i), fmt::format("{}", i));
    }
    stage.choose({fs::path("Documents") / longName, "Documents/研究資料/日本語の論文", "Documents/מסמכים"});
    stage.model()->setMode(SyncMode::ultra);
    stage.run(&DesktopAppModel::startSync);
    stage.untilIngested();
    return stage;
}

QQuickWindow* asking(const fs::path& folder) {
    Stage& stage = signedIn(folder);
    stage.choose({"Documents"});
    stage.model()->chooseHomeFolder();
    return shown(stage, "sync");
}

QQuickWindow* failed(const fs::path& folder) {
    static std::unique_ptr<DesktopWindow> window;
    window = std::make_unique<DesktopWindow>(QString::fromStdString((folder / "window.ini").string()));
    window->showFailure({"Veskline", "Native app initialization failed.",
                         "The file \"public-config.json\" couldn't be opened because there is no such file."});
    return window->window();
}

} // namespace

const std::vector<Scene>& allScenes() {
    static const std::vector<Scene> scenes{
        {"overview-signed-out", defaultSize, 0, [](const fs::path& at) { return signedOut(at, "overview"); }},
        {"overview-signed-out-end", defaultSize, 1, [](const fs::path& at) { return signedOut(at, "overview"); }},
        {"overview-sign-in-failed", defaultSize, 0, refused},
        {"sync-signed-out", defaultSize, 0, [](const fs::path& at) { return signedOut(at, "sync"); }},
        {"activity-signed-out", defaultSize, 0, [](const fs::path& at) { return signedOut(at, "activity"); }},
        {"overview-signed-in", defaultSize, 0, [](const fs::path& at) { return shown(signedIn(at), "overview"); }},
        {"sync-signed-in", defaultSize, 0, [](const fs::path& at) { return shown(signedIn(at), "sync"); }},
        {"activity-signed-in", defaultSize, 0, [](const fs::path& at) { return shown(signedIn(at), "activity"); }},
        {"overview-running", defaultSize, 0, [](const fs::path& at) { return shown(running(at), "overview"); }},
        {"overview-running-end", defaultSize, 1, [](const fs::path& at) { return shown(running(at), "overview"); }},
        {"sync-running", defaultSize, 0, [](const fs::path& at) { return shown(running(at), "sync"); }},
        {"sync-running-middle", defaultSize, 0.5, [](const fs::path& at) { return shown(running(at), "sync"); }},
        {"activity-running", defaultSize, 0, [](const fs::path& at) { return shown(running(at), "activity"); }},
        {"overview-scanning", defaultSize, 0.6, [](const fs::path& at) { return shown(scanning(at), "overview"); }},
        {"sync-scanning", defaultSize, 1, [](const fs::path& at) { return shown(scanning(at), "sync"); }},
        {"activity-errors", defaultSize, 1, [](const fs::path& at) { return shown(failing(at, 6), "activity"); }},
        {"overview-errors", defaultSize, 0.75, [](const fs::path& at) { return shown(failing(at, 6), "overview"); }},
        {"activity-100-errors", defaultSize, 0.3,
         [](const fs::path& at) { return shown(failing(at, 100), "activity"); }},
        {"sync-long", defaultSize, 0, [](const fs::path& at) { return shown(overflowing(at), "sync"); }},
        {"activity-long", defaultSize, 0, [](const fs::path& at) { return shown(overflowing(at), "activity"); }},
        {"overview-long-least", leastSize, 1, [](const fs::path& at) { return shown(overflowing(at), "overview"); }},
        {"overview-least", leastSize, 0, [](const fs::path& at) { return shown(running(at), "overview"); }},
        {"overview-signed-out-least", leastSize, 0, [](const fs::path& at) { return signedOut(at, "overview"); }},
        {"sync-least", leastSize, 0.4, [](const fs::path& at) { return shown(running(at), "sync"); }},
        {"activity-least", leastSize, 0, [](const fs::path& at) { return shown(running(at), "activity"); }},
        {"activity-errors-least", leastSize, 1, [](const fs::path& at) { return shown(failing(at, 6), "activity"); }},
        {"alert", defaultSize, 0, asking},
        {"failure", defaultSize, 0, failed},
        {"failure-least", QSize(640, 320), 0, failed},
    };
    return scenes;
}

} // namespace veskline

#include "app/VesklineNativeApp.h"
#include "interface/InterfaceFixture.h"

#include <QSettings>

#include <chrono>
#include <cstdlib>

namespace veskline::testing {

namespace {

using namespace std::chrono_literals;

class Flow : public InterfaceFixture {
protected:
    void chooseFolder() {
        stage.pickNext(stage.home() / "Documents");
        screen.press("Add folder...");
        untilSays("1 folder");
    }
    void launchOnSyncScreen() {
        stage.writeDocument("Documents/a.txt", "alpha");
        stage.writeDocument("Documents/b.txt", "beta");
        launchSignedIn();
        open("Sync setup");
        chooseFolder();
    }
    [[nodiscard]] QString documents() const { return QString::fromStdString((stage.home() / "Documents").string()); }
};

} // namespace

TEST_F(Flow, SignsInByTypingAndOut) {
    launch();
    screen.type("Email", "maria.example@northwind.test");
    screen.type("Password", "a wrong guess");
    screen.press("Log in");
    untilSays("Supabase request failed with status 400");
    EXPECT_TRUE(screen.says("Not signed in"));

    screen.type("Password", Stage::password);
    EXPECT_EQ(stage.model()->password(), Stage::password);
    screen.key(Qt::Key_Return);
    untilSays("maria.example@northwind.test");
    EXPECT_FALSE(screen.says("Sign in on this Mac"));
    stage.until("the password's end", [&] { return stage.model()->password().empty(); });

    screen.press("Sign out");
    untilSays("Not signed in");
    EXPECT_EQ(screen.find(QAccessible::Button, "Refresh"), nullptr);
    screen.press("Open dashboard");
    ASSERT_EQ(stage.openedAddresses().size(), 1U);
    EXPECT_EQ(stage.openedAddresses().front(), stage.project().baseUrl() + "/");
}

TEST_F(Flow, AsksBeforeItReplacesTheSelection) {
    launchOnSyncScreen();
    const QString question = "Replace folder selection with Home?";
    const auto asksAgain = [&] {
        screen.press("Use Home");
        stage.until("the alert", [&] { return screen.find(QAccessible::Button, "Cancel") != nullptr; });
        EXPECT_NE(screen.find(QAccessible::Heading, question), nullptr);
    };
    const auto isKept = [&] {
        stage.until("the end of the alert", [&] { return screen.find(QAccessible::Button, "Cancel") == nullptr; });
        return !stage.model()->pendingFolderSelectionConfirmation() && screen.says(documents());
    };
    asksAgain();
    screen.key(Qt::Key_Escape);
    EXPECT_TRUE(isKept());
    asksAgain();
    screen.press("Cancel");
    EXPECT_TRUE(isKept());
    asksAgain();
    screen.key(Qt::Key_Return);
    untilSays("All folders selected (home directory).");
    EXPECT_FALSE(screen.says(documents()));
}

TEST_F(Flow, StartsShowsItsProgressAndStops) {
    launchOnSyncScreen();
    stage.project().faults().add({.kind = local_project::FaultKind::stall, .path = "/storage/*", .skip = 1});
    screen.choose("Ultra");
    untilSays("Fastest indexing, higher CPU and network usage.");
    screen.press("Start sync");
    untilSays("1 / 2 files indexed");
    EXPECT_FALSE(screen.says("Running"));
    stage.until("the second upload", [&] { return stage.project().faults().waitForStalled(1, 0ms); });
    stage.project().faults().release(); // what stands still by now, and nothing later
    untilSays("Running");
    EXPECT_TRUE(screen.says("2 / 2 files indexed"));
    open("Activity");
    untilSays("Summary: uploaded 2, skipped 0, deleted 0, failed 0.");
    EXPECT_TRUE(screen.says("Live"));
    open("Sync setup");
    screen.press("Stop");
    untilSays("Stopped");
    untilGone("Running");
    screen.press("Clear selection");
    untilSays("No folders selected yet.");
    EXPECT_FALSE(screen.find(QAccessible::Button, "Start sync")->isEnabled());
}

TEST_F(Flow, ShowsWhatFailedAndRetries) {
    stage.writeDocument("Documents/Scan.pdf", "no PDF");
    launchSignedIn();
    open("Sync setup");
    chooseFolder();
    stage.run(&DesktopAppModel::startSync);
    stage.until("the worker", [&] { return stage.project().state().at("jobs").at(0).at("status") == "error"; });
    screen.press("Refresh");
    untilSays("Error: The content is no pdf document");
    EXPECT_TRUE(screen.says("Scan.pdf"));
    stage.until("the count of the errors", [&] {
        stage.run(&DesktopAppModel::refreshStatus); // the poll that began with the sync may have counted earlier
        return screen.says("Ingestion: Errors (1)");
    });
    screen.press("Retry failed uploads");
    stage.until("the retry", [&] { return !stage.model()->retryStatus().empty(); });
    untilSays(QString::fromStdString(stage.model()->retryStatus()));
}

TEST_F(Flow, ComesBackToTheScreenThatWasLeft) {
    launch();
    open("Activity");
    untilSays("Activity appears after the app is connected");
    launch();
    EXPECT_NE(screen.find(QAccessible::Heading, "Track what the native agent is doing."), nullptr);

    QSettings settings(QString::fromStdString(folder.at("window.ini")), QSettings::IniFormat);
    settings.setValue("desktop.destination", "tomorrow");
    settings.sync();
    launch();
    EXPECT_NE(screen.find(QAccessible::Heading, "Your files, searchable and chat-ready."), nullptr);
    settings.sync();
    EXPECT_EQ(settings.value("desktop.destination"), "tomorrow");
}

TEST_F(Flow, IsSteeredByKeys) {
    launchSignedIn();
    const auto isOpen = [&](const char* screenName) {
        const QQuickItem* const item = screen.find(QAccessible::RadioButton, screenName);
        return item != nullptr && item->property("checked").toBool();
    };
    const std::pair<Qt::Key, const char*> rows[] = {
        {Qt::Key_3, "Activity"}, {Qt::Key_2, "Sync setup"}, {Qt::Key_1, "Control center"}, {Qt::Key_2, "Sync setup"}};
    for (const auto& [key, screenName] : rows) {
        screen.key(key, Qt::ControlModifier);
        EXPECT_TRUE(isOpen(screenName)) << screenName;
    }
    stage.run(&DesktopAppModel::refreshStatus);
    stage.project().journal().clear();
    screen.key(Qt::Key_F5);
    stage.until("the refreshed status", [&] { return stage.project().journal().entries().size() == 6; });

    chooseFolder();
    screen.press("Use Home");
    stage.until("the alert", [&] { return screen.find(QAccessible::Button, "Cancel") != nullptr; });
    screen.key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(isOpen("Sync setup")) << "below an open question";
}

TEST_F(Flow, ShowsWhyItCanNotStart) {
    ::unsetenv("SUPABASE_URL");
    const VesklineNativeApp app(stage.surroundings());
    DesktopWindow window(QString::fromStdString(folder.at("failed.ini")));
    window.showFailure(app.failureContent());
    const Screen failed(window.window());
    EXPECT_NE(failed.find(QAccessible::Heading, "Native app initialization failed."), nullptr);
    EXPECT_TRUE(failed.says(QString::fromStdString(*app.initializationError())));
    EXPECT_TRUE(stage.project().journal().entries().empty());
}

} // namespace veskline::testing

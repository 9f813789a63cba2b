#include "model/ModelFixture.h"
#include "support/OtherConnection.h"

#include <algorithm>

using namespace veskline;
using veskline::testing::InProcessProject;

namespace {

class SignIn : public veskline::testing::ModelFixture {
protected:
    void launchSignedIn(std::vector<std::string> folders = {}) {
        folder.write("documents/a.txt", "a");
        project.signIn("ann");
        storeSession();
        if (!folders.empty()) {
            storeSelection(std::move(folders), SyncMode::ultra);
        }
        launch();
    }
    [[nodiscard]] bool hasLogged(std::string_view line) const {
        return std::ranges::find(model->logLines(), line) != model->logLines().end();
    }
};

} // namespace

TEST_F(SignIn, BootstrapRestoresAndStartsOnceWhereUserAndFoldersAreThere) {
    struct Row {
        const char* name;
        bool isSignedIn, hasFolders, isRunning;
    };
    const Row rows[] = {{"fresh", false, false, false},
                        {"no folders", true, false, false},
                        {"no user", false, true, false},
                        {"both", true, true, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(folder.at("state"));
        folder.write("documents/a.txt", "a");
        project.signIn("ann");
        if (row.isSignedIn) {
            storeSession();
        }
        if (row.hasFolders) {
            storeSelection({folder.at("documents")}, SyncMode::ultra);
        }
        launch();
        run(&DesktopAppModel::bootstrap);
        EXPECT_EQ(model->currentUser().has_value(), row.isSignedIn);
        EXPECT_EQ(model->folders().size(), row.hasFolders ? 1U : 0U);
        EXPECT_EQ(model->mode(), row.hasFolders ? SyncMode::ultra : SyncMode::regular);
        EXPECT_EQ(model->isRunning(), row.isRunning);
        EXPECT_EQ(hasLogged("Initial scan complete"), row.isRunning);
        EXPECT_EQ(model->authStatus() + model->syncStatus(), "");
        const std::size_t lines = model->logLines().size();
        run(&DesktopAppModel::bootstrap);
        EXPECT_EQ(model->logLines().size(), lines) << "a second call does nothing";
    }
}

TEST_F(SignIn, BootstrapTellsOfAStartThatFailed) {
    launchSignedIn({folder.at("documents")});
    veskline::testing::OtherConnection(folder.at("state/state.sqlite3")).run("drop table files");
    run(&DesktopAppModel::bootstrap);
    EXPECT_FALSE(model->isRunning());
    EXPECT_NE(model->syncStatus().find("no such table: files"), std::string::npos);
    EXPECT_TRUE(hasLogged("Auto-start failed: " + model->syncStatus()));
}

TEST_F(SignIn, LoginShowsTheUserOrTheFailure) {
    launch();
    model->setEmail("ann@example.com");
    model->setPassword("secret");
    project.setFaults([](std::string_view) { return std::optional(InProcessProject::Fault{.status = 400}); });
    run(&DesktopAppModel::login);
    EXPECT_EQ(model->authStatus(), "Supabase request failed with status 400");
    EXPECT_EQ(model->password(), "secret");
    EXPECT_EQ(model->currentUser(), std::nullopt);
    EXPECT_TRUE(model->logLines().empty());

    project.setFaults({});
    project.signIn("ann");
    run(&DesktopAppModel::login);
    EXPECT_EQ(model->authStatus(), "Signed in");
    EXPECT_EQ(model->currentUser()->id, "ann");
    EXPECT_EQ(model->password(), "");
    EXPECT_TRUE(hasLogged("Logged in as ann@example.com"));
    EXPECT_FALSE(model->isRunning()) << "signing in starts nothing";
    EXPECT_EQ(storedSession()->accessToken, project.accessToken());
}

TEST_F(SignIn, SignOutDuringTheInitialScanLeavesAStoppedModel) {
    launchSignedIn({folder.at("documents")});
    project.hold("POST /storage/v1/object");
    const async::TaskHandle bootstrap = begin(&DesktopAppModel::bootstrap);
    thread.settle();
    ASSERT_EQ(project.heldCount(), 1U);
    run(&DesktopAppModel::signOut);
    project.release();
    thread.settle();
    EXPECT_TRUE(bootstrap.hasEnded());
    EXPECT_FALSE(model->isRunning()) << "the start was overtaken";
    EXPECT_EQ(model->authStatus(), "Signed out");
    EXPECT_EQ(model->currentUser(), std::nullopt);
    EXPECT_EQ(model->folders().size(), 1U) << "the selection survives";
    EXPECT_EQ(storedSession(), std::nullopt);
    EXPECT_FALSE(hasLogged("Initial scan complete"));
}

TEST_F(SignIn, SignupWithoutASessionLeavesTheOldOneAndKeepsThePassword) {
    launchSignedIn({folder.at("documents")});
    run(&DesktopAppModel::bootstrap);
    ASSERT_TRUE(model->isRunning());
    model->setPassword("secret");
    project.answerSignups(R"({"user":{"id":"new"}})");
    run(&DesktopAppModel::signup);
    EXPECT_EQ(model->authStatus(), "Check your email to confirm your account, then log in.");
    EXPECT_FALSE(model->isRunning());
    EXPECT_TRUE(hasLogged("Sync stopped."));
    EXPECT_EQ(storedSession(), std::nullopt);
    EXPECT_EQ(model->password(), "secret");
    EXPECT_EQ(model->currentUser(), std::nullopt);

    project.answerSignups(
        R"({"session":{"access_token":"a","refresh_token":"r"},"user":{"id":"new","email":"n@example.com"}})");
    run(&DesktopAppModel::signup);
    EXPECT_EQ(model->authStatus(), "Account created");
    EXPECT_TRUE(hasLogged("Signup complete. Logged in as n@example.com"));
    EXPECT_EQ(model->password(), "");
    EXPECT_EQ(storedSession()->accessToken, "a");
}

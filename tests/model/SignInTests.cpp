#include "model/AuthFlowResolver.h"
#include "model/ModelFixture.h"
#include "support/OtherConnection.h"

using namespace veskline;

namespace {

class SignIn : public veskline::testing::ModelFixture {};

} // namespace

TEST_F(SignIn, BootstrapRestoresAndStartsOnceWhereUserAndFoldersAreThere) {
    struct Row {
        bool isSignedIn, hasFolders;
    };
    for (const auto& [isSignedIn, hasFolders] : {Row{false, false}, {true, false}, {false, true}, {true, true}}) {
        const bool isRunning = isSignedIn && hasFolders;
        quit();
        std::filesystem::remove_all(folder.at("state"));
        isSignedIn ? storeSession() : void();
        hasFolders ? storeSelection() : void();
        launch();
        run(&DesktopAppModel::bootstrap);
        EXPECT_EQ(model->currentUser().has_value(), isSignedIn);
        EXPECT_EQ(model->folders().size(), hasFolders ? 1U : 0U);
        EXPECT_EQ(model->mode(), hasFolders ? SyncMode::ultra : SyncMode::regular);
        EXPECT_EQ(model->isRunning(), isRunning);
        EXPECT_EQ(timesLogged("Initial scan complete"), isRunning ? 1 : 0);
        EXPECT_EQ(model->authStatus() + model->syncStatus(), "");
        project.forgetJournal();
        run(&DesktopAppModel::bootstrap);
        EXPECT_TRUE(project.journal().empty()) << "a second call does nothing";
    }
}

TEST_F(SignIn, BootstrapTellsOfAStartThatFailed) {
    storeSession();
    storeSelection();
    launch();
    veskline::testing::OtherConnection(folder.at("state/state.sqlite3")).run("drop table files");
    run(&DesktopAppModel::bootstrap);
    EXPECT_FALSE(model->isRunning());
    EXPECT_TRUE(model->syncStatus().contains("no such table: files")) << model->syncStatus();
    EXPECT_EQ(timesLogged("Auto-start failed: " + model->syncStatus()), 1);
}

TEST_F(SignIn, LoginShowsTheUserOrTheFailureAndClearsThePasswordAfterTheRefresh) {
    launch();
    model->setEmail("ann@example.com");
    model->setPassword("secret");
    failAt("", 400);
    run(&DesktopAppModel::login);
    EXPECT_EQ(model->authStatus(), "Supabase request failed with status 400");
    EXPECT_EQ(model->authPresentation().kind, StatusPillKind::error);
    EXPECT_EQ(model->password(), "secret");
    EXPECT_EQ(model->currentUser(), std::nullopt);
    EXPECT_TRUE(model->logLines().empty());

    heal();
    project.signIn("ann");
    project.hold("GET /rest/v1/");
    const async::TaskHandle login = begin(&DesktopAppModel::login);
    thread.settle();
    EXPECT_EQ(model->authStatus(), "Signed in");
    EXPECT_EQ(model->authPresentation().kind, StatusPillKind::muted);
    EXPECT_EQ(model->currentUser()->id, "ann");
    EXPECT_EQ(model->password(), "secret");
    letGo();
    EXPECT_TRUE(login.hasEnded());
    EXPECT_EQ(model->password(), "");
    EXPECT_EQ(timesLogged("Logged in as ann@example.com"), 1);
    EXPECT_FALSE(model->isRunning()) << "signing in starts nothing";
    EXPECT_EQ(storedSession()->accessToken, project.accessToken());
}

TEST_F(SignIn, SignOutDuringTheInitialScanLeavesAStoppedModel) {
    storeSession();
    storeSelection();
    launch();
    project.hold("POST /storage/v1/object");
    const async::TaskHandle bootstrap = begin(&DesktopAppModel::bootstrap);
    thread.settle();
    ASSERT_EQ(project.heldCount(), 1U);
    run(&DesktopAppModel::signOut);
    letGo();
    EXPECT_TRUE(bootstrap.hasEnded());
    EXPECT_FALSE(model->isRunning()) << "the start was overtaken";
    EXPECT_EQ(model->authStatus(), "Signed out");
    EXPECT_EQ(model->currentUser(), std::nullopt);
    EXPECT_EQ(model->folders().size(), 1U) << "the selection survives";
    EXPECT_EQ(storedSession(), std::nullopt);
    EXPECT_EQ(timesLogged("Initial scan complete"), 0);
}

TEST_F(SignIn, SignupWithoutASessionLeavesTheOldOneAndKeepsThePassword) {
    launchRunning();
    ASSERT_TRUE(model->isRunning());
    model->setPassword("secret");
    project.answerSignups(R"({"user":{"id":"new"}})");
    run(&DesktopAppModel::signup);
    EXPECT_EQ(model->authStatus(), "Check your email to confirm your account, then log in.");
    EXPECT_FALSE(model->isRunning());
    EXPECT_EQ(timesLogged("Sync stopped."), 1);
    EXPECT_EQ(storedSession(), std::nullopt);
    EXPECT_EQ(model->password(), "secret");
    EXPECT_EQ(model->currentUser(), std::nullopt);

    project.answerSignups(
        R"({"session":{"access_token":"a","refresh_token":"r"},"user":{"id":"new","email":"n@example.com"}})");
    run(&DesktopAppModel::signup);
    EXPECT_EQ(model->authStatus(), "Account created");
    EXPECT_EQ(timesLogged("Signup complete. Logged in as n@example.com"), 1);
    EXPECT_EQ(model->password(), "");
    EXPECT_EQ(storedSession()->accessToken, "a");
}

TEST(AuthFlowResolver, TakesTheSessionsUserThenTheOneBesideItThenNobody) {
    const StoredUser inside{.id = "u1", .email = ""};
    const StoredUser beside{.id = "u2", .email = std::nullopt};
    const auto resolved = [&](const std::optional<StoredUser>& ofSession, const std::optional<StoredUser>& user) {
        return AuthFlowResolver::resolveSignup(StoredSession{"a", "r", ofSession}, user);
    };
    EXPECT_EQ(resolved(inside, beside).currentUser, inside);
    EXPECT_EQ(resolved(inside, beside).logLine, "Signup complete. Logged in as ") << "an empty address is an address";
    EXPECT_EQ(resolved({}, beside).currentUser, beside);
    EXPECT_EQ(resolved({}, beside).logLine, "Signup complete. Logged in as u2");
    EXPECT_EQ(resolved({}, {}).logLine, "Signup complete. Logged in as user");
}

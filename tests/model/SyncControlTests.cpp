#include "model/ModelFixture.h"

#include <algorithm>

using namespace veskline;
using namespace std::chrono_literals;
using veskline::testing::InProcessProject;

namespace {

class SyncControl : public veskline::testing::ModelFixture {
protected:
    // Signed in, with one folder selected and nothing started.
    void launchSignedIn() {
        folder.write("documents/a.txt", "a");
        project.signIn("ann");
        storeSession();
        storeSelection({folder.at("documents")}, SyncMode::ultra);
        LocalDatabase database(thread.executor());
        thread.run([&] { return database.setPreference("false", "auto_index"); });
        launch();
        run(&DesktopAppModel::bootstrap);
        project.forgetJournal();
    }
    [[nodiscard]] std::string texts() const {
        return std::string(model->isRunning() ? "running" : "stopped") + " [" + model->syncStatus() + "]";
    }
    void failAt(std::string part) {
        project.setFaults([part = std::move(part)](std::string_view request) {
            return request.find(part) != std::string_view::npos ? std::optional(InProcessProject::Fault{.status = 500})
                                                                : std::nullopt;
        });
    }
};

} // namespace

TEST_F(SyncControl, StartTellsOfItsEndAndStopAnswersAlsoWhenIdle) {
    launchSignedIn();
    run(&DesktopAppModel::stopSync);
    EXPECT_EQ(texts(), "stopped [Stopped]");
    project.hold("POST /storage/v1/object");
    const async::TaskHandle starting = begin(&DesktopAppModel::startSync);
    thread.settle();
    EXPECT_EQ(texts(), "stopped []") << "during the initial scan";
    EXPECT_TRUE(model->indexingProgress().isActive);
    project.release();
    thread.settle();
    EXPECT_TRUE(starting.hasEnded());
    EXPECT_EQ(texts(), "running [Running]");
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(texts(), "running [Running]") << "a start that is answered at once writes both as well";
    run(&DesktopAppModel::stopSync);
    EXPECT_EQ(texts(), "stopped [Stopped]");
    EXPECT_FALSE(model->indexingProgress().isActive);
}

TEST_F(SyncControl, AStartThatAStopHasOvertakenSaysNothingOfRunning) {
    launchSignedIn();
    project.hold("POST /storage/v1/object");
    const async::TaskHandle first = begin(&DesktopAppModel::startSync);
    thread.settle();
    run(&DesktopAppModel::stopSync);
    EXPECT_EQ(texts(), "stopped [Stopped]");
    const async::TaskHandle second = begin(&DesktopAppModel::startSync);
    thread.settle();
    project.release();
    thread.settle();
    EXPECT_TRUE(first.hasEnded() && second.hasEnded());
    EXPECT_EQ(texts(), "running [Running]") << "the second start's words";
}

TEST_F(SyncControl, AStartThatFailedShowsWhyAndReadsNothing) {
    launchSignedIn();
    failAt("GET /auth/v1/user");
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(texts(), "stopped [Supabase request failed with status 500]");
    EXPECT_EQ(project.requestsWith("/rest/v1/"), 0U);
    project.setFaults({});
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(texts(), "running [Running]");
}

TEST_F(SyncControl, PollsEveryMinuteFromTheEndOfEachReadWhileSignedIn) {
    launchSignedIn();
    const auto polls = [this] { return project.requestsWith("GET /rest/v1/jobs?status=eq.running"); };
    thread.advance(59s);
    EXPECT_EQ(polls(), 0U);
    thread.advance(1s);
    EXPECT_EQ(polls(), 1U);
    failAt("/rest/v1/");
    thread.advance(60s);
    EXPECT_EQ(model->ingestStatus(), std::nullopt) << "an outage blanks both fields and ends no polling";
    project.setFaults({});
    thread.advance(60s);
    EXPECT_TRUE(model->ingestStatus());
    EXPECT_EQ(polls(), 3U);
    run(&DesktopAppModel::signOut);
    project.forgetJournal();
    thread.advance(10min);
    EXPECT_TRUE(project.journal().empty());
    EXPECT_FALSE(thread.hasTimers());
}

TEST_F(SyncControl, AStalledPollDelaysNothingAndASignOutEndsIt) {
    launchSignedIn();
    project.hold("GET /rest/v1/jobs");
    thread.advance(60s);
    EXPECT_GT(project.heldCount(), 0U);
    run(&DesktopAppModel::signOut);
    EXPECT_EQ(project.heldCount(), 0U) << "the reads were cancelled on the wire";
    EXPECT_EQ(model->ingestStatus(), std::nullopt);
    EXPECT_FALSE(thread.hasTimers());
}

TEST_F(SyncControl, ARefreshThatOutlivesTheUserShowsNothing) {
    launchSignedIn();
    project.hold("GET /rest/v1/files");
    const async::TaskHandle refresh = begin(&DesktopAppModel::refreshStatus);
    thread.settle();
    run(&DesktopAppModel::signOut);
    project.forgetJournal();
    project.release();
    thread.settle();
    EXPECT_TRUE(refresh.hasEnded());
    EXPECT_EQ(model->ingestStatus(), std::nullopt);
    EXPECT_TRUE(project.journal().empty()) << "nothing sends the old token any more";
}

TEST_F(SyncControl, ReplacesBothFieldsTogetherAndCountsRetries) {
    launchSignedIn();
    run(&DesktopAppModel::refreshStatus);
    EXPECT_TRUE(model->ingestStatus());
    failAt("kind=eq.ingest");
    run(&DesktopAppModel::refreshStatus);
    EXPECT_EQ(model->ingestStatus(), std::nullopt) << "the other read's failure loses this one as well";
    run(&DesktopAppModel::retryFailedUploads);
    EXPECT_EQ(model->retryStatus(), "Supabase request failed with status 500");
    project.setFaults({});
    run(&DesktopAppModel::retryFailedUploads);
    EXPECT_EQ(model->retryStatus(), "Retried 0 upload(s).");
    EXPECT_TRUE(model->ingestStatus());
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(model->retryStatus(), "");
}

TEST_F(SyncControl, ClearsThePasswordAfterTheRefresh) {
    launch();
    project.signIn("ann");
    model->setPassword("secret");
    project.hold("GET /rest/v1/");
    const async::TaskHandle login = begin(&DesktopAppModel::login);
    thread.settle();
    EXPECT_EQ(model->authStatus(), "Signed in");
    EXPECT_EQ(model->password(), "secret");
    project.release();
    thread.settle();
    EXPECT_TRUE(login.hasEnded());
    EXPECT_EQ(model->password(), "");
}

TEST_F(SyncControl, PollsForNobodyWithoutAUser) {
    launch();
    run(&DesktopAppModel::refreshStatus);
    run(&DesktopAppModel::startSync);
    EXPECT_TRUE(project.journal().empty());
    EXPECT_FALSE(thread.hasTimers());
}

#include "model/ModelFixture.h"

using namespace veskline;
using namespace std::chrono_literals;

namespace {

class SyncControl : public veskline::testing::ModelFixture {
protected:
    // Signed in, with one folder selected and nothing started.
    void launchSignedIn() {
        storeSession();
        storeSelection();
        LocalDatabase database(thread.executor());
        thread.run([&] { return database.setPreference("false", "auto_index"); });
        launch();
        run(&DesktopAppModel::bootstrap);
        project.forgetJournal();
    }
    // Up to the first request whose text holds `part`.
    template <class Operation>
    async::TaskHandle beginHeldAt(std::string part, Operation operation) {
        project.hold(std::move(part));
        const async::TaskHandle task = begin(operation);
        thread.settle();
        return task;
    }
    [[nodiscard]] std::string texts() const {
        return std::string(model->isRunning() ? "running" : "stopped") + " [" + model->syncStatus() + "]";
    }
};

} // namespace

TEST_F(SyncControl, StartTellsOfItsEndAndStopAnswersAlsoWhenIdle) {
    launchSignedIn();
    run(&DesktopAppModel::stopSync);
    EXPECT_EQ(texts(), "stopped [Stopped]");
    const async::TaskHandle starting = beginHeldAt("POST /storage/v1/object", &DesktopAppModel::startSync);
    EXPECT_EQ(texts(), "stopped []") << "during the initial scan";
    EXPECT_TRUE(model->indexingProgress().isActive);
    letGo();
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
    const async::TaskHandle first = beginHeldAt("POST /storage/v1/object", &DesktopAppModel::startSync);
    run(&DesktopAppModel::stopSync);
    letGo();
    EXPECT_TRUE(first.hasEnded());
    EXPECT_EQ(texts(), "stopped [Stopped]");
}

TEST_F(SyncControl, AStartThatFailedShowsWhyAndReadsNothing) {
    launchSignedIn();
    failAt("GET /auth/v1/user", 500);
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(texts(), "stopped [Supabase request failed with status 500]");
    EXPECT_EQ(project.requestsWith("/rest/v1/"), 0U);
}

TEST_F(SyncControl, PollsEveryMinuteFromTheEndOfEachReadWhileSignedIn) {
    launchSignedIn();
    const auto polls = [this] { return project.requestsWith("GET /rest/v1/jobs?status=eq.running"); };
    thread.advance(59s);
    EXPECT_EQ(polls(), 0U);
    thread.advance(1s);
    EXPECT_EQ(polls(), 1U);
    failAt("/rest/v1/", 500);
    thread.advance(60s);
    EXPECT_EQ(model->ingestStatus(), std::nullopt) << "an outage blanks both fields and ends no polling";
    heal();
    thread.advance(60s);
    EXPECT_TRUE(model->ingestStatus());
    EXPECT_EQ(polls(), 3U);
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
    const async::TaskHandle refresh = beginHeldAt("GET /rest/v1/files", &DesktopAppModel::refreshStatus);
    run(&DesktopAppModel::signOut);
    project.forgetJournal();
    letGo();
    EXPECT_TRUE(refresh.hasEnded());
    EXPECT_EQ(model->ingestStatus(), std::nullopt);
    EXPECT_TRUE(project.journal().empty()) << "nothing sends the old token any more";
    run(&DesktopAppModel::refreshStatus);
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(project.requestsWith("/rest/v1/"), 0U) << "nobody is polled for";
    EXPECT_FALSE(thread.hasTimers());
}

TEST_F(SyncControl, ReplacesBothFieldsTogetherAndCountsRetries) {
    launchSignedIn();
    EXPECT_TRUE(model->ingestStatus());
    failAt("kind=eq.ingest", 500);
    run(&DesktopAppModel::refreshStatus);
    EXPECT_EQ(model->ingestStatus(), std::nullopt) << "the other read's failure loses this one as well";
    run(&DesktopAppModel::retryFailedUploads);
    EXPECT_EQ(model->retryStatus(), "Supabase request failed with status 500");
    heal();
    run(&DesktopAppModel::retryFailedUploads);
    EXPECT_EQ(model->retryStatus(), "Retried 0 upload(s).");
    EXPECT_TRUE(model->ingestStatus());
    run(&DesktopAppModel::startSync);
    EXPECT_EQ(model->retryStatus(), "");
}

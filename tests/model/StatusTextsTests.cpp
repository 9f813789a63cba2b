#include "model/DesktopPresentationFormatter.h"
#include "model/DesktopStatusFormatter.h"
#include "model/ModelFixture.h"

#include <cmath>
#include <limits>
#include <utility>

using namespace veskline;
using namespace std::chrono_literals;
using veskline::testing::EnvironmentVariable;

namespace {

constexpr Time now{std::chrono::seconds(1'700'000'000)};

// A service with five waiting jobs, of which the oldest came 599 seconds before the tests' time.
platform::HttpResponse answerTo(const std::string& url) {
    platform::HttpResponse response{.status = 200, .body = "[]"};
    if (url.ends_with("/auth/v1/user")) {
        response.body = R"({"id":"ann"})";
    } else if (url.contains("select=created_at")) {
        response.body = R"([{"created_at":"2023-11-14T22:03:21Z"}])";
    } else if (url.contains("select=ingested_at")) {
        response.body = R"([{"ingested_at":"2023-11-14T21:07:00Z"}])";
    } else if (url.contains("status=eq.queued")) {
        response.headers.push_back({"Content-Range", "0-0/5"});
    }
    return response;
}

const platform::HttpTransport::Operations waitingQueue{
    .start = [](void*,
                platform::PendingExchange& exchange) noexcept { exchange.succeed(answerTo(exchange.request.url)); },
    .abort = [](void*, platform::PendingExchange&) noexcept {},
};

class StatusTexts : public veskline::testing::ModelFixture {
protected:
    [[nodiscard]] std::string counts() const {
        return model->ingestQueuedText() + " " + model->ingestRunningText() + " " + model->ingestErrorsText();
    }
};

} // namespace

TEST_F(StatusTexts, WordTheIngestQueueByTheFirstRuleThatFits) {
    using Kind = StatusPillKind;
    using Ingest = IngestStatusSnapshot;
    const auto waiting = [](auto age) { return Ingest{.queued = 5, .oldestQueuedAt = now - age}; };
    const std::pair<std::optional<Ingest>, StatusPillPresentation> rows[] = {
        {std::nullopt, {"Ingestion: Unknown", Kind::muted}},
        {Ingest{.oldestQueuedAt = now - 1h}, {"Ingestion: Idle", Kind::muted}},
        {Ingest{.queued = 100, .errors = 3, .oldestQueuedAt = now - 1h}, {"Ingestion: Errors (3)", Kind::error}},
        {waiting(599'999'999us), {"Ingestion: Active (5 queued)", Kind::ok}},
        {waiting(600s), {"Ingestion: Worker not running (5 queued, 10m)", Kind::warn}},
        {waiting(3h + 59s), {"Ingestion: Worker not running (5 queued, 180m)", Kind::warn}},
        {waiting(-1h), {"Ingestion: Active (5 queued)", Kind::ok}},
        {Ingest{.queued = 5000}, {"Ingestion: Active (5000 queued)", Kind::ok}},
        {Ingest{.queued = 2, .running = 1, .oldestQueuedAt = now - 1h},
         {"Ingestion: Active (1 running, 2 queued)", Kind::ok}},
        {Ingest{.running = 4}, {"Ingestion: Active (4 running)", Kind::ok}},
    };
    for (const auto& [status, expected] : rows) {
        EXPECT_EQ(DesktopStatusFormatter::ingestPresentation(status, now), expected) << expected.text;
    }
    const Ingest ancient{.queued = 1, .oldestQueuedAt = Time::min() + 24h};
    EXPECT_EQ(DesktopStatusFormatter::ingestPresentation(ancient, now).kind, Kind::warn) << "over 292 years old";
}

TEST_F(StatusTexts, NameHomeBeforeRootAndSumUpTheSelection) {
    using namespace DesktopPresentationFormatter;
    using DesktopStatusFormatter::folderLabel;
    EXPECT_EQ(folderLabel("/home/a", "/home/a", "/"), "Home (all folders) - /home/a");
    EXPECT_EQ(folderLabel("/", "/home/a", "/"), "All files (full disk) - /");
    EXPECT_EQ(folderLabel("/", "/", "/"), "Home (all folders) - /");
    EXPECT_EQ(folderLabel("/", std::nullopt, std::nullopt), "/");
    EXPECT_EQ(folderSelectionSummary({}, "/home/a", "/"), "No folders selected");
    EXPECT_EQ(folderSelectionSummary({"/home/a"}, "/home/a", "/"), "Home (all folders) - /home/a");
    EXPECT_EQ(folderSelectionSummary({"/home/a", "/p"}, "/home/a", "/"), "2 folders selected");
    EXPECT_EQ(folderCountText(0) + ", " + folderCountText(1) + ", " + folderCountText(2),
              "0 folders, 1 folder, 2 folders");
}

TEST_F(StatusTexts, ShowProgressInEveryForm) {
    const auto shown = [](std::optional<std::int64_t> total, std::int64_t scanned) {
        const IndexingProgressSnapshot progress{.totalFiles = total, .scannedFiles = scanned};
        const std::optional<double> fraction = DesktopPresentationFormatter::indexingFraction(progress);
        return DesktopPresentationFormatter::indexedFilesText(progress) + "; " +
               DesktopAppModel::indexRemainingText(progress) + (fraction ? "; " + std::to_string(*fraction) : "");
    };
    EXPECT_EQ(shown(std::nullopt, 0), "--; --");
    EXPECT_EQ(shown(std::nullopt, 7), "7; --");
    EXPECT_EQ(shown(0, 0), "0 / 0; 0 of 0");
    EXPECT_EQ(shown(12000, 3000), "3000 / 12000; 9000 of 12000; 0.250000");
    EXPECT_EQ(shown(4, 9), "4 / 4; 0 of 4; 1.000000");
}

TEST_F(StatusTexts, EstimateTheEndOfAScan) {
    const std::pair<IndexingProgressSnapshot, const char*> rows[] = {
        {{std::nullopt, 5, true, now - 10s}, "--"}, // no total
        {{0, 0, false, std::nullopt}, "Done"},      // none of none
        {{3, 5, false, std::nullopt}, "Done"},      // beyond the total
        {{10, 5, false, now - 10s}, "--"},          // ended half-way
        {{10, 5, true, std::nullopt}, "--"},        // no start
        {{10, 1, true, now - 10s}, "--"},           // one file
        {{10, 2, true, now - 10s}, "40s"},          // two
        {{10, 7, true, now - 10s}, "5s"},           // rounded up
        {{10, 10, true, now - 10s}, "0s"},          // still active
        {{6, 2, true, now - 1ms}, "2s"},            // took a second at least
        {{10, 2, true, now + 1h}, "4s"},            // also where the clock was set back
        {{20000, 1000, true, now - 10min}, "3h 10m"},
    };
    for (const auto& [progress, expected] : rows) {
        EXPECT_EQ(DesktopAppModel::indexEtaText(progress, now), expected) << "after " << progress.scannedFiles;
    }
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, std::string> durations[] = {
        {59.5, "1m 0s"}, {3599, "59m 59s"}, {3599.2, "1h 0m"},    {7325, "2h 2m"},
        {-0.1, "--"},    {infinity, "--"},  {std::nan(""), "--"}, {1e19, "--"},
    };
    for (const auto& [seconds, expected] : durations) {
        EXPECT_EQ(DesktopAppModel::formatDuration(seconds), expected) << seconds;
    }
}

TEST_F(StatusTexts, SpeakOfAFreshModelAndOfARunningSync) {
    launch();
    EXPECT_EQ(model->userLabel() + ", " + model->syncStatusLine(), "Not logged in, Stopped");
    EXPECT_EQ(model->runPresentation(), (StatusPillPresentation{"Stopped", StatusPillKind::muted}));
    EXPECT_EQ(counts(), "-- -- --");
    EXPECT_EQ(model->ingestLastText() + model->indexRemainingText() + model->indexEtaText(), "------");
    EXPECT_EQ(model->unsupportedIndicatorText(), std::nullopt);
    model->chooseRootFolder();
    EXPECT_EQ(model->syncStatusLine(), "All files selected (full disk).");
    folder.write("documents/b.png", "b");
    launchRunning();
    EXPECT_EQ(model->userLabel() + ", " + model->syncStatusLine(), "ann@example.com, Running");
    EXPECT_EQ(model->runPresentation(), (StatusPillPresentation{"Running", StatusPillKind::ok}));
    EXPECT_EQ(model->unsupportedIndicatorText(), "Unsupported file types skipped: 1. See Activity for details.");
    EXPECT_EQ(model->indexRemainingText() + ", " + model->indexEtaText(), "0 of 1, Done");
}

TEST_F(StatusTexts, TurnAStalledQueueIntoAWarningAsTimePasses) {
    const EnvironmentVariable locale("LC_ALL", "en_GB.UTF-8");
    const EnvironmentVariable zone("TZ", "UTC");
    storeSession();
    AppSurroundings stalled = surroundings();
    stalled.urlSession = {waitingQueue, nullptr};
    model = DesktopAppModel::create(stalled);
    run(&DesktopAppModel::bootstrap);
    EXPECT_EQ(model->userLabel(), "ann") << "no address is known";
    EXPECT_EQ(counts(), "5 0 0");
    EXPECT_EQ(model->ingestLastText(), "14 Nov 2023, 21:07");
    EXPECT_EQ(model->ingestPresentation().text, "Ingestion: Active (5 queued)");
    thread.advance(1s);
    EXPECT_EQ(model->ingestPresentation().text, "Ingestion: Worker not running (5 queued, 10m)");
}

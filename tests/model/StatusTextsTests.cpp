#include "model/DesktopPresentationFormatter.h"
#include "model/DesktopStatusFormatter.h"
#include "model/ModelFixture.h"

#include <cmath>
#include <limits>
#include <string>
#include <utility>

using namespace veskline;
using namespace std::chrono_literals;

namespace {

constexpr Time now{std::chrono::seconds(1'700'000'000)};

// A service with five waiting jobs, of which the oldest came 599 seconds before the tests' time.
platform::HttpResponse answerTo(const std::string& url) {
    platform::HttpResponse response;
    response.status = 200;
    response.body = "[]";
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

class StatusTexts : public veskline::testing::ModelFixture {};

} // namespace

TEST(DesktopStatusFormatter, WordsTheIngestQueueByTheFirstRuleThatFits) {
    using Kind = StatusPillKind;
    using Ingest = IngestStatusSnapshot;
    const auto waiting = [](auto age) { return Ingest{.queued = 5, .oldestQueuedAt = now - age}; };
    const std::pair<std::optional<Ingest>, StatusPillPresentation> rows[] = {
        {std::nullopt, {"Unknown", Kind::muted}},
        {Ingest{.oldestQueuedAt = now - 1h}, {"Idle", Kind::muted}},
        {Ingest{.queued = 100, .errors = 3, .oldestQueuedAt = now - 1h}, {"Errors (3)", Kind::error}},
        {waiting(599s), {"Active (5 queued)", Kind::ok}},
        {waiting(599'999'999us), {"Active (5 queued)", Kind::ok}},
        {waiting(600s), {"Worker not running (5 queued, 10m)", Kind::warn}},
        {waiting(3h + 59s), {"Worker not running (5 queued, 180m)", Kind::warn}},
        {waiting(-1h), {"Active (5 queued)", Kind::ok}},
        {Ingest{.queued = 5000}, {"Active (5000 queued)", Kind::ok}},
        {Ingest{.queued = 2, .running = 1, .oldestQueuedAt = now - 1h}, {"Active (1 running, 2 queued)", Kind::ok}},
        {Ingest{.running = 4}, {"Active (4 running)", Kind::ok}},
    };
    for (const auto& [status, expected] : rows) {
        const StatusPillPresentation shown = DesktopStatusFormatter::ingestPresentation(status, now);
        EXPECT_EQ(shown.text, "Ingestion: " + expected.text);
        EXPECT_EQ(shown.kind, expected.kind) << shown.text;
    }
    const Ingest ancient{.queued = 1, .oldestQueuedAt = Time::min() + 24h};
    EXPECT_EQ(DesktopStatusFormatter::ingestPresentation(ancient, now).kind, Kind::warn) << "over 292 years old";
}

TEST(DesktopStatusFormatter, NamesHomeBeforeRoot) {
    using DesktopStatusFormatter::folderLabel;
    EXPECT_EQ(folderLabel("/home/a", "/home/a", "/"), "Home (all folders) - /home/a");
    EXPECT_EQ(folderLabel("/", "/home/a", "/"), "All files (full disk) - /");
    EXPECT_EQ(folderLabel("/", "/", "/"), "Home (all folders) - /");
    EXPECT_EQ(folderLabel("/", std::nullopt, std::nullopt), "/");
}

TEST(DesktopPresentationFormatter, SumsUpTheSelection) {
    using namespace DesktopPresentationFormatter;
    EXPECT_EQ(folderSelectionSummary({}, "/home/a", "/"), "No folders selected");
    EXPECT_EQ(folderSelectionSummary({"/home/a"}, "/home/a", "/"), "Home (all folders) - /home/a");
    EXPECT_EQ(folderSelectionSummary({"/home/a", "/p"}, "/home/a", "/"), "2 folders selected");
    EXPECT_EQ(folderCountText(0) + ", " + folderCountText(1) + ", " + folderCountText(2),
              "0 folders, 1 folder, 2 folders");
}

TEST(DesktopPresentationFormatter, ShowsProgressInEveryForm) {
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

TEST(DesktopAppModel, EstimatesTheEndOfAScan) {
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
        {{6, 2, true, now + 1h}, "2s"},             // began in the future
        {{20000, 1000, true, now - 10min}, "3h 10m"},
    };
    for (const auto& [progress, expected] : rows) {
        EXPECT_EQ(DesktopAppModel::indexEtaText(progress, now), expected) << "after " << progress.scannedFiles;
    }
}

TEST(DesktopAppModel, FormatsDurations) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, std::string> rows[] = {
        {0, "0s"},         {0.2, "1s"},     {59, "59s"},  {59.5, "1m 0s"},  {61, "1m 1s"},        {3599, "59m 59s"},
        {3599.2, "1h 0m"}, {7325, "2h 2m"}, {-0.1, "--"}, {infinity, "--"}, {std::nan(""), "--"}, {1e19, "--"},
    };
    for (const auto& [seconds, expected] : rows) {
        EXPECT_EQ(DesktopAppModel::formatDuration(seconds), expected) << seconds;
    }
}

TEST_F(StatusTexts, SpeakOfAFreshModel) {
    launch();
    EXPECT_EQ(model->userLabel(), "Not logged in");
    EXPECT_EQ(model->runPresentation(), (StatusPillPresentation{"Stopped", StatusPillKind::muted}));
    EXPECT_EQ(model->ingestPresentation().text, "Ingestion: Unknown");
    EXPECT_EQ(model->unsupportedIndicatorText(), std::nullopt);
    EXPECT_EQ(model->ingestQueuedText() + model->ingestRunningText() + model->ingestErrorsText(), "------");
    EXPECT_EQ(model->ingestLastText() + model->indexRemainingText() + model->indexEtaText(), "------");
    EXPECT_EQ(model->supportedTypesText(),
              "Supported file types: pdf, docx, txt, md, csv, rtf, epub. Other files are skipped.");
    EXPECT_EQ(model->folderLabel(model->homeFolder()), "Home (all folders) - " + folder.string());
    EXPECT_EQ(model->folderLabel("/"), "All files (full disk) - /");
    EXPECT_EQ(model->syncStatusLine(), "Stopped");
    model->chooseRootFolder();
    EXPECT_EQ(model->syncStatusLine(), "All files selected (full disk).");
}

TEST_F(StatusTexts, SpeakOfARunningSync) {
    folder.write("documents/a.txt", "a");
    folder.write("documents/b.png", "b");
    project.signIn("ann");
    storeSession();
    storeSelection({folder.at("documents")}, SyncMode::ultra);
    launch();
    run(&DesktopAppModel::bootstrap);
    EXPECT_EQ(model->userLabel(), "ann@example.com");
    EXPECT_EQ(model->runPresentation(), (StatusPillPresentation{"Running", StatusPillKind::ok}));
    EXPECT_EQ(model->syncStatusLine(), "Running");
    EXPECT_EQ(model->unsupportedIndicatorText(), "Unsupported file types skipped: 1. See Activity for details.");
    EXPECT_EQ(model->indexRemainingText(), "0 of 1");
    EXPECT_EQ(model->indexEtaText(), "Done");
    run(&DesktopAppModel::signOut);
}

TEST_F(StatusTexts, TurnAStalledQueueIntoAWarningAsTimePasses) {
    const veskline::testing::EnvironmentVariable locale("LC_ALL", "en_GB.UTF-8");
    const veskline::testing::EnvironmentVariable zone("TZ", "UTC");
    project.signIn("ann");
    storeSession();
    AppSurroundings stalled = surroundings();
    stalled.urlSession = {waitingQueue, nullptr};
    model = DesktopAppModel::create(stalled);
    run(&DesktopAppModel::bootstrap);
    EXPECT_EQ(model->userLabel(), "ann") << "no address is known";
    EXPECT_EQ(model->ingestQueuedText() + model->ingestRunningText() + model->ingestErrorsText(), "500");
    EXPECT_EQ(model->ingestLastText(), "14 Nov 2023, 21:07");
    EXPECT_EQ(model->ingestPresentation().text, "Ingestion: Active (5 queued)");
    thread.advance(1s);
    EXPECT_EQ(model->ingestPresentation().text, "Ingestion: Worker not running (5 queued, 10m)");
    run(&DesktopAppModel::signOut);
}
